#include "host/commands.hpp"
#include "host/failure.hpp"
#include "host/frequency.hpp"
#include "host/interrupt.hpp"
#include "host/radio_options.hpp"
#include "host/text_modes.hpp"
#include "host/transmit_options.hpp"
#include "host/transmitter.hpp"

#include <cmath>
#include <ferrowcore/keyboard.h>
#include <ferrowcore/modes.h>
#include <fmt/format.h>
#include <memory>
#include <nlohmann/json.hpp>

namespace ferrow {
namespace {

using namespace std::chrono_literals;
using Clock = Transmitter::Clock;

constexpr std::size_t kMostText = 1000; // fits into every mode's ring

struct Options {
    RadioArguments radio;
    TransmitArguments transmit;
    std::string mode, tune, text;
    double wpm = 20;
    double limit = 600;
    bool json = false;
};

void checkText(const TextMode& mode, const std::string& text) {
    if (text.empty() || text.size() > kMostText)
        throw UsageError(fmt::format("the text has 1 to {} characters", kMostText));
    if (const int place = firstUnknown(mode, text); place >= 0)
        throw UsageError(fmt::format("{} has no code for character {} of the text", mode.name, place + 1));
}

void send(const Options& options, const TextMode& mode, Library& library, Transmitter& transmitter) {
    const auto began = Clock::now();
    queueText(transmitter.transceiver().mode(), mode, options.text + std::string(endMark(mode)));
    transmitter.press();
    while (transmitter.busy() && !interrupted()) {
        library.pumpUntil([&] { return !transmitter.busy(); }, 20ms);
        transmitter.check();
        if (Clock::now() - began > std::chrono::duration<double>(options.limit)) {
            transmitter.release();
            throw Failure(fmt::format("the transmission has reached its limit of {:g} s", options.limit));
        }
    }
    transmitter.release();
    const double seconds = std::chrono::duration<double>(Clock::now() - began).count();
    if (options.json)
        fmt::print("{}\n",
                   nlohmann::json{{"event", "done"}, {"seconds", std::round(seconds * 10) / 10}}.dump());
    else
        fmt::print("\nsent in {:.1f} s\n", seconds);
}

int sendText(const Options& options) {
    const TextMode& mode = textMode(options.mode);
    checkText(mode, options.text);
    const long long vfo = parseFrequency(options.tune) - mode.sendAt;
    const RadioAddress address = options.radio.address(true);
    const FoundRadio found = findRadio(address);
    TransmitGuard guard(found.address, options.transmit.watchdog());
    Library library(options.radio.library);
    watchInterrupts();
    RadioSession session(library, found, options.radio.session());
    Transceiver& transceiver = session.add(vfo);
    Object object = makeTextMode(mode);
    if (mode.family == TextFamily::Cw)
        cwModDemod_setwpm(object.get(), options.wpm);
    std::size_t left = options.text.size(); // the end mark is not shown
    if (mode.family == TextFamily::Rtty)
        left = 0; // the library itself prints what it hears there
    bindSentText(object, mode, [&](const std::string& text) {
        if (left == 0)
            return;
        left -= std::min(left, text.size());
        if (options.json)
            fmt::print("{}\n", nlohmann::json{{"sent", text}}.dump());
        else
            fmt::print("{}", text);
        std::fflush(stdout);
    });
    transceiver.setMode(std::move(object), mode.receiveAt + mode.lowest, mode.receiveAt + mode.highest);
    transceiver.setTransmitFilter(mode.sendAt + mode.lowest, mode.sendAt + mode.highest);
    session.setPower(options.transmit.power);
    Transmitter transmitter(library, session, transceiver, guard);
    session.start();
    send(options, mode, library, transmitter);
    session.stop();
    return kExitDone;
}

} // namespace

void addSendCommand(CLI::App& program, Action& chosen) {
    const auto options = std::make_shared<Options>();
    CLI::App* command = program.add_subcommand("send", "sends a text in a keyboard mode");
    addRadioArguments(*command, options->radio)->required();
    command->add_option("--mode", options->mode, "how")->required()->check(CLI::IsMember(textModeNames()));
    command
        ->add_option(
            "--tune", options->tune,
            "frequency of the signal, e.g. 14.0715M; of RTTY mark, the upper tone, of hell the top row")
        ->required();
    command->add_option("--wpm", options->wpm, "cw: words a minute")
        ->check(CLI::Range(5.0, 60.0))
        ->capture_default_str();
    command->add_option("--limit", options->limit, "seconds that the transmission may last")
        ->check(CLI::Range(1.0, 3600.0))
        ->capture_default_str();
    addTransmitArguments(*command, options->transmit);
    command->add_flag("--json", options->json, "JSON lines in place of plain text");
    command->add_option("text", options->text, "what to send")->required();
    command->callback([options, &chosen] { chosen = [options] { return sendText(*options); }; });
}

} // namespace ferrow
