#include "host/radio_options.hpp"

#include "host/failure.hpp"

#include <algorithm>
#include <fmt/format.h>
#include <fmt/ranges.h>

namespace ferrow {

RadioAddress RadioArguments::address(bool transmit) const {
    const RadioAddress where = parseRadioAddress(radio);
    const RadioTraits& traits = traitsOf(where.kind);
    if (transmit && !traits.transmits)
        throw UsageError(fmt::format("{} is {}, which receives only", where.url(), traits.name));
    if (rateKhz && std::ranges::find(traits.rates, *rateKhz) == traits.rates.end())
        throw UsageError(fmt::format("--rate {}: {} is {}, whose rates are {}", *rateKhz, where.url(),
                                     traits.name, fmt::join(traits.rates, ", ")));
    if (gain && !traits.hasGain)
        throw UsageError(fmt::format("--gain: {} is {}, which has none to set", where.url(), traits.name));
    return where;
}

RadioOptions RadioArguments::session() const {
    const int khz = rateKhz.value_or(traitsOf(parseRadioAddress(radio).kind).usualRate);
    return {khz * 1000, gain, takeOver};
}

CLI::Option* addRadioArguments(CLI::App& command, RadioArguments& arguments) {
    CLI::Option* radio = command.add_option(
        "--radio", arguments.radio,
        "the radio: an IPv4 address or hpsdr://ADDRESS, hpsdr2://ADDRESS, sdrplay://SERIAL (no SERIAL: the "
        "first), ws://HOST:PORT/PATH[?id=N]; `ferrow discover` lists them");
    command.add_option("--rate", arguments.rateKhz,
                       "kHz that a hardware receiver covers: hpsdr 48 to 384 (192), hpsdr2 48 to 1536 (192), "
                       "sdrplay 768, 1536, 2000, 6144, 8000 or 10000 (768), ws 48");
    command.add_option("--gain", arguments.gain, "RF gain in dB; sdrplay: a step, 0 to the model's highest");
    command.add_flag("--take-over", arguments.takeOver, "start the radio even if it serves another program");
    command.add_option("--log", arguments.library.logFile, "the library's log file");
    command.add_flag("--verbose", arguments.library.verbose, "log more, and show what sound drivers say");
    return radio;
}

} // namespace ferrow
