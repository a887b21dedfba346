#include "host/transmit_options.hpp"

namespace ferrow {

CLI::Option* addTransmitArguments(CLI::App& command, TransmitArguments& arguments) {
    CLI::Option* drive = command.add_option("--drive", arguments.power.drive, "drive of the transmitter")
                             ->check(CLI::Range(0, 255))
                             ->capture_default_str();
    command.add_flag("--pa", arguments.power.amplifier, "turn the radio's power amplifier on");
    command
        .add_option("--watchdog", arguments.watchdogSeconds,
                    "seconds without a sign of life of this program after which the radio is stopped")
        ->check(CLI::Range(0.2, 60.0))
        ->capture_default_str();
    return drive;
}

} // namespace ferrow
