// What the commands that transmit have in common on the command line.
#pragma once

#include "host/radio_session.hpp"

#include <chrono>
#include <CLI/CLI.hpp>

namespace ferrow {

struct TransmitArguments {
    TransmitPower power;
    double watchdogSeconds = 3;

    std::chrono::milliseconds watchdog() const {
        return std::chrono::milliseconds(static_cast<long long>(1000 * watchdogSeconds));
    }
};

// `arguments` holds the defaults. Returns the option --drive.
CLI::Option* addTransmitArguments(CLI::App& command, TransmitArguments& arguments);

} // namespace ferrow
