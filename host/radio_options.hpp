// What the commands that use a radio have in common on the command line.
#pragma once

#include "host/library.hpp"
#include "host/radio_session.hpp"

#include <CLI/CLI.hpp>

namespace ferrow {

struct RadioArguments {
    std::string address;
    int rateKhz = 192;
    std::optional<int> gain;
    bool takeOver = false;
    LibraryOptions library;

    RadioOptions session() const { return {rateKhz * 1000, gain, takeOver}; }
};

// Returns the option --radio.
CLI::Option* addRadioArguments(CLI::App& command, RadioArguments& arguments);

} // namespace ferrow
