// What the commands that use a radio have in common on the command line.
#pragma once

#include "host/library.hpp"
#include "host/radio_address.hpp"
#include "host/radio_session.hpp"

#include <CLI/CLI.hpp>

namespace ferrow {

struct RadioArguments {
    std::string radio; // as given
    std::optional<int> rateKhz;
    std::optional<int> gain;
    bool takeOver = false;
    LibraryOptions library;

    // Where the radio is. Throws UsageError if that cannot be read, or if its kind cannot do what is asked of
    // it; nothing has been opened by then.
    RadioAddress address(bool transmit = false) const;
    RadioOptions session() const;
};

// Returns the option --radio.
CLI::Option* addRadioArguments(CLI::App& command, RadioArguments& arguments);

} // namespace ferrow
