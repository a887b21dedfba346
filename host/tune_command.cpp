#include "host/commands.hpp"
#include "host/failure.hpp"
#include "host/frequency.hpp"
#include "host/interrupt.hpp"
#include "host/radio_options.hpp"
#include "host/terminal_waterfall.hpp"
#include "host/transmit_options.hpp"
#include "host/transmitter.hpp"

#include <algorithm>
#include <cmath>
#include <ferrowcore/modes.h>
#include <fmt/format.h>
#include <memory>
#include <nlohmann/json.hpp>

namespace ferrow {
namespace {

using namespace std::chrono_literals;
using Clock = Transmitter::Clock;

constexpr int kTuneDrive = 64;
constexpr int kFilterWidth = 3000; // Hz on either side; a carrier does not pass it
constexpr auto kStatusPause = 500ms;

struct Options {
    RadioArguments radio;
    TransmitArguments transmit{{kTuneDrive, false, false}, 3};
    std::string frequency;
    int offset = 0;
    double seconds = 10;
    bool json = false;
};

void showStatus(const Options& options, const TransmitReadings& readings, double seconds) {
    if (options.json) {
        nlohmann::json line = readingsJson(readings);
        line["seconds"] = std::round(seconds * 1000) / 1000;
        fmt::print("{}\n", line.dump());
    } else {
        const bool screen = stdoutIsTerminal();
        fmt::print("{}{:4.1f} s  {}{}", screen ? "\r\x1b[K" : "", seconds, showReadings(readings),
                   screen ? "" : "\n");
    }
    std::fflush(stdout);
}

void sendCarrier(const Options& options, Library& library, Transmitter& transmitter) {
    const auto length = std::chrono::duration<double>(options.seconds);
    transmitter.transceiver().setTune(true);
    transmitter.press();
    const auto began = Clock::now();
    auto next = began + kStatusPause;
    const auto elapsed = [&] { return std::chrono::duration<double>(Clock::now() - began); };
    while (!interrupted() && elapsed() < length) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(length - elapsed());
        library.pumpUntil([] { return false; }, std::min<std::chrono::milliseconds>(20ms, left));
        transmitter.check();
        if (Clock::now() >= next) {
            next += kStatusPause;
            showStatus(options, transmitter.session().readings(), elapsed().count());
        }
    }
    if (!options.json && stdoutIsTerminal())
        fmt::print("\n");
    transmitter.release();
    transmitter.transceiver().setTune(false);
}

int tune(const Options& options) {
    const long long frequency = parseFrequency(options.frequency);
    const RadioAddress address = options.radio.address(true);
    const FoundRadio found = findRadio(address);
    TransmitGuard guard(found.address, options.transmit.watchdog());
    Library library(options.radio.library);
    watchInterrupts();
    RadioSession session(library, found, options.radio.session());
    Transceiver& transceiver = session.add(frequency);
    // A mode, though it sends nothing, gives the carrier its falling edge.
    transceiver.setMode(Object(ssbModDemod_create()), -kFilterWidth, kFilterWidth);
    transceiver.setTransmitOffset(options.offset);
    session.setPower(options.transmit.power);
    Transmitter transmitter(library, session, transceiver, guard);
    session.start();
    sendCarrier(options, library, transmitter);
    session.stop();
    return kExitDone;
}

} // namespace

void addTuneCommand(CLI::App& program, Action& chosen) {
    const auto options = std::make_shared<Options>();
    CLI::App* command = program.add_subcommand("tune", "sends a carrier for a time, to tune an antenna");
    addRadioArguments(*command, options->radio)->required();
    command->add_option("--frequency", options->frequency, "of the carrier, e.g. 14.2M")->required();
    command
        ->add_option("--offset", options->offset, "Hz that the carrier stands above the receiver's frequency")
        ->check(CLI::Range(-100000, 100000));
    command->add_option("--seconds", options->seconds, "length; Ctrl-C ends it before")
        ->check(CLI::Range(0.1, 600.0))
        ->capture_default_str();
    addTransmitArguments(*command, options->transmit);
    command->add_flag("--atu", options->transmit.power.tuner, "start the radio's antenna tuner");
    command->add_flag("--json", options->json, "print what the radio tells as JSON lines");
    command->callback([options, &chosen] { chosen = [options] { return tune(*options); }; });
}

} // namespace ferrow
