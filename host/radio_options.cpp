#include "host/radio_options.hpp"

namespace ferrow {

CLI::Option* addRadioArguments(CLI::App& command, RadioArguments& arguments) {
    CLI::Option* radio = command.add_option("--radio", arguments.address,
                                            "IPv4 address of the radio; `ferrow discover` lists them");
    command.add_option("--rate", arguments.rateKhz, "kHz that a hardware receiver covers")
        ->check(CLI::IsMember({48, 96, 192, 384}))
        ->capture_default_str();
    command.add_option("--gain", arguments.gain, "RF gain in dB");
    command.add_flag("--take-over", arguments.takeOver, "start the radio even if it serves another program");
    command.add_option("--log", arguments.library.logFile, "the library's log file");
    command.add_flag("--verbose", arguments.library.verbose, "log more, and show what sound drivers say");
    return radio;
}

} // namespace ferrow
