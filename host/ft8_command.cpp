#include "host/commands.hpp"
#include "host/failure.hpp"
#include "host/frequency.hpp"
#include "host/ft8_recorder.hpp"
#include "host/interrupt.hpp"
#include "host/radio_options.hpp"
#include "host/terminal_waterfall.hpp"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <memory>
#include <nlohmann/json.hpp>

namespace ferrow {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

struct Options {
    RadioArguments radio;
    std::vector<std::string> files, bands, dials;
    std::string keep;
    int slots = 0;
    bool ft4 = false;
    bool json = false;

    SlotMode mode() const { return ft4 ? SlotMode::Ft4 : SlotMode::Ft8; }
};

// Puts decodes on stdout.
class Printer {
public:
    Printer(const Options& options, bool severalDials)
        : options_(options), severalDials_(severalDials), screen_(!options.json && stdoutIsTerminal()) {}

    bool screen() const { return screen_; }

    void heading() const {
        if (!options_.json)
            fmt::print("{}\n", ft8Heading());
    }

    void slot(const DecodedSlot& slot) const {
        clearCountdown();
        if (!slot.error.empty())
            fmt::print(stderr, "ferrow: {}\n", slot.error);
        for (const Ft8Line& line : slot.lines) {
            if (options_.json) {
                auto json = lineJson(slot.time, line, options_.mode());
                json["dial"] = slot.dial;
                fmt::print("{}\n", json.dump());
            } else {
                fmt::print("{}\n", showLine(slot.time, line));
            }
        }
        if (options_.json)
            fmt::print(
                "{}\n",
                nlohmann::json({{"slot", slot.time.iso}, {"dial", slot.dial}, {"decoded", slot.lines.size()}})
                    .dump());
        else
            fmt::print("{} {}---- {} decoded\n", slot.time.clock,
                       severalDials_ ? showFrequency(slot.dial) + " " : "", slot.lines.size());
        std::fflush(stdout);
    }

    void countdown() const {
        if (!screen_)
            return;
        fmt::print("\r\x1b[Knext period in {} s", (millisecondsToNextSlot(options_.mode()) + 999) / 1000);
        std::fflush(stdout);
    }

    void clearCountdown() const {
        if (screen_)
            fmt::print("\r\x1b[K");
    }

private:
    const Options& options_;
    bool severalDials_;
    bool screen_;
};

int decodeFiles(const Options& options) {
    Ft8Reader reader(options.mode());
    const Printer printer(options, false);
    printer.heading();
    bool failed = false;
    for (const std::string& path : options.files) {
        try {
            const SlotTime time = slotTimeOf(path);
            const auto lines = reader.read(path);
            for (const Ft8Line& line : lines) {
                if (options.json) {
                    auto json = lineJson(time, line, options.mode());
                    json["file"] = path;
                    fmt::print("{}\n", json.dump());
                } else {
                    fmt::print("{}\n", showLine(time, line));
                }
            }
            if (!options.json)
                fmt::print("{}: {} decoded\n", path, lines.size());
        } catch (const Failure& failure) {
            fmt::print(stderr, "ferrow: {}\n", failure.what());
            failed = true;
        }
    }
    return failed ? kExitFailed : kExitDone;
}

std::vector<long long> dialsOf(const Options& options) {
    std::vector<long long> dials;
    for (const std::string& band : options.bands)
        dials.push_back(dialFrequency(band, options.mode()));
    for (const std::string& text : options.dials)
        dials.push_back(parseFrequency(text));
    if (dials.empty())
        throw UsageError("give a --band or a --dial frequency, or files to decode");
    return dials;
}

void receive(const Options& options, const std::vector<long long>& dials, Library& library,
             RadioSession& session, SlotDecoder& decoder) {
    SlotGate gate;
    for (const auto& transceiver : session.transceivers())
        gate.add(*transceiver);
    const Printer printer(options, dials.size() > 1);
    const int period = formatOf(options.mode()).periodMs;
    const std::size_t wanted = static_cast<std::size_t>(options.slots) * dials.size();
    std::size_t got = 0;
    auto lastSlot = Clock::now();
    auto nextCount = lastSlot;
    printer.heading();
    while (!interrupted() && (options.slots == 0 || got < wanted)) {
        library.pumpUntil([] { return false; }, 20ms);
        session.checkSamples();
        gate.poll(options.mode());
        while (const auto slot = decoder.take()) {
            printer.slot(*slot);
            lastSlot = Clock::now();
            ++got;
        }
        if (Clock::now() >= nextCount) {
            printer.countdown();
            nextCount += 500ms;
        }
        if (Clock::now() - lastSlot > std::chrono::milliseconds(3 * period))
            throw Failure("no period has been recorded");
    }
    printer.clearCountdown();
}

int receiveSlots(const Options& options) {
    const auto dials = dialsOf(options);
    const RecordingFolder folder(options.keep);
    const FoundRadio found = findRadio(options.radio.address);
    Library library(options.radio.library);
    watchInterrupts();
    SlotDecoder decoder(options.mode(), folder.temporary());
    RadioSession session(library, found, options.radio.session());
    for (const long long dial : dials)
        recordSlots(session.add(dial), options.mode(), folder.subfolder(std::to_string(dial)), decoder);
    session.start();
    receive(options, dials, library, session, decoder);
    session.stop();
    return kExitDone;
}

} // namespace

void addFt8Command(CLI::App& program, Action& chosen) {
    const auto options = std::make_shared<Options>();
    CLI::App* command = program.add_subcommand("ft8", "decodes FT8 or FT4, from a radio or from files");
    command->footer(fmt::format("FT8 bands: {}\nFT4 bands: {}", fmt::join(bandsOf(SlotMode::Ft8), " "),
                                fmt::join(bandsOf(SlotMode::Ft4), " ")));
    CLI::Option* files = command->add_option(
        "FILE", options->files, "recordings of a period: WAV, 12000 samples a second, mono, 16 bit");
    CLI::Option* radio = addRadioArguments(*command, options->radio);
    command->add_option("--band", options->bands, "a band, e.g. 20m; repeat it for more");
    command->add_option("--dial", options->dials, "a dial frequency, e.g. 14.074M; repeat it for more");
    command->add_flag("--ft4", options->ft4, "FT4 in place of FT8");
    command->add_option("--slots", options->slots, "end after so many periods; 0: go on until Ctrl-C")
        ->check(CLI::NonNegativeNumber);
    command->add_option("--keep", options->keep, "leave the recordings in this folder");
    command->add_flag("--json", options->json, "print JSON lines");
    files->excludes(radio);
    command->callback([options, &chosen] {
        chosen = [options] {
            if (!options->files.empty())
                return decodeFiles(*options);
            if (options->radio.address.empty())
                throw UsageError("give a --radio, or files to decode");
            return receiveSlots(*options);
        };
    });
}

} // namespace ferrow
