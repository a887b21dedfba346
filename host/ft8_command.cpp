#include "host/commands.hpp"
#include "host/failure.hpp"
#include "host/frequency.hpp"
#include "host/ft8_pack.hpp"
#include "host/ft8_recorder.hpp"
#include "host/ft8_sender.hpp"
#include "host/interrupt.hpp"
#include "host/radio_options.hpp"
#include "host/terminal_waterfall.hpp"
#include "host/transmit_options.hpp"

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

    std::string send, slot = "next";
    double frequency = 1500;
    int times = 1;
    bool plain = false;
    TransmitArguments transmit;

    SlotMode mode() const { return ft4 ? SlotMode::Ft4 : SlotMode::Ft8; }
};

// The message as receivers show it, and its order. Throws UsageError.
struct Sending {
    explicit Sending(const Options& options)
        : order{packFt8Message(options.send), options.frequency, parseSlotParity(options.slot), options.times,
                options.plain} {
        CallTable known;
        for (std::size_t at = 0; at < options.send.size();) { // calls that only go as hashes are known here
            const std::size_t end = std::min(options.send.find_first_of(" <>", at), options.send.size());
            known.add(upperCase(options.send.substr(at, end - at)));
            at = end + 1;
        }
        text = unpackFt8Message(order.message, known).value_or(options.send);
    }

    static std::string upperCase(std::string text) {
        for (char& c : text)
            if (c >= 'a' && c <= 'z')
                c = static_cast<char>(c - 'a' + 'A');
        return text;
    }

    SlotOrder order;
    std::string text;
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

    void slot(const DecodedSlot& slot, const std::string& sent) const {
        clearCountdown();
        if (slot.sent && options_.json)
            fmt::print("{}\n", nlohmann::json({{"utc", slot.time.iso},
                                               {"mode", formatOf(options_.mode()).name},
                                               {"dial", slot.dial},
                                               {"frequency", options_.frequency},
                                               {"sent", sent}})
                                   .dump());
        else if (slot.sent)
            fmt::print("{} sent        {:5.0f}  {}\n", slot.time.clock, options_.frequency, sent);
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

// The loop of reception, and of transmission where something is to be sent.
class Receiver {
public:
    Receiver(const Options& options, std::size_t dials, Library& library, RadioSession& session,
             SlotDecoder& decoder)
        : options_(options), library_(library), session_(session), decoder_(decoder),
          printer_(options, dials > 1), wanted_(static_cast<std::size_t>(options.slots) * dials) {
        for (const auto& transceiver : session.transceivers())
            gate_.add(*transceiver);
    }

    void run(SlotSender* sender, const std::string& text) {
        const auto longest = std::chrono::milliseconds(3 * formatOf(options_.mode()).periodMs);
        lastSlot_ = Clock::now();
        auto nextCount = lastSlot_;
        printer_.heading();
        while (!interrupted() && !over(sender)) {
            library_.pumpUntil([] { return false; }, 20ms);
            session_.checkSamples();
            gate_.poll(options_.mode());
            if (sender)
                sender->poll();
            takeSlots(sender, text);
            if (Clock::now() >= nextCount) {
                printer_.countdown();
                nextCount += 500ms;
            }
            if (Clock::now() - lastSlot_ > longest)
                throw Failure("no period has been recorded");
        }
        printer_.clearCountdown();
        if (sender)
            sender->cancel();
    }

private:
    // Without a number of slots a sender listens for one more after its last transmission.
    bool over(const SlotSender* sender) const {
        if (options_.slots > 0)
            return got_ >= wanted_;
        return sender && sender->done() && heardSince_ > 0;
    }

    void takeSlots(const SlotSender* sender, const std::string& text) {
        while (const auto slot = decoder_.take()) {
            printer_.slot(*slot, text);
            lastSlot_ = Clock::now();
            ++got_;
            if (sender && sender->done() && !slot->sent)
                ++heardSince_;
        }
    }

    const Options& options_;
    Library& library_;
    RadioSession& session_;
    SlotDecoder& decoder_;
    SlotGate gate_;
    Printer printer_;
    std::size_t wanted_;
    std::size_t got_ = 0;
    int heardSince_ = 0;
    Clock::time_point lastSlot_;
};

int receiveSlots(const Options& options) {
    const auto dials = dialsOf(options);
    std::optional<Sending> sending;
    if (!options.send.empty()) {
        sending.emplace(options);
        if (dials.size() > 1)
            throw UsageError("--send takes one --band or --dial frequency");
    }
    const RadioAddress address = options.radio.address(sending.has_value());
    const RecordingFolder folder(options.keep);
    const FoundRadio found = findRadio(address);
    std::optional<TransmitGuard> guard;
    if (sending)
        guard.emplace(found.address, options.transmit.watchdog());
    Library library(options.radio.library);
    watchInterrupts();
    SlotDecoder decoder(options.mode(), folder.temporary());
    RadioSession session(library, found, options.radio.session());
    for (const long long dial : dials)
        recordSlots(session.add(dial), options.mode(), folder.subfolder(std::to_string(dial)), decoder);
    std::optional<Transmitter> transmitter;
    std::optional<SlotSender> sender;
    if (sending) {
        session.setPower(options.transmit.power);
        transmitter.emplace(library, session, *session.transceivers().front(), *guard);
        sender.emplace(options.mode(), sending->order, *transmitter);
        sender->prepare();
    }
    session.start();
    Receiver(options, dials.size(), library, session, decoder)
        .run(sender ? &*sender : nullptr, sending ? sending->text : "");
    session.stop();
    return kExitDone;
}

} // namespace

void addFt8Command(CLI::App& program, Action& chosen) {
    const auto options = std::make_shared<Options>();
    CLI::App* command =
        program.add_subcommand("ft8", "decodes and sends FT8 or FT4, from a radio or from files");
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
    CLI::Option* send =
        command->add_option("--send", options->send, "a message to send, e.g. \"CQ K1ABC FN42\"");
    for (CLI::Option* option :
         {command->add_option("--freq", options->frequency, "audio frequency of the lowest tone, Hz")
              ->check(CLI::Range(100.0, 3200.0))
              ->capture_default_str(),
          command->add_option("--slot", options->slot, "even, odd or next")->capture_default_str(),
          command->add_option("--times", options->times, "so many transmissions; 0: until Ctrl-C")
              ->check(CLI::NonNegativeNumber)
              ->capture_default_str(),
          command->add_flag("--plain", options->plain, "tones without smoothing and ramps, to compare"),
          addTransmitArguments(*command, options->transmit)})
        option->needs(send);
    send->excludes(files);
    files->excludes(radio);
    command->callback([options, &chosen] {
        chosen = [options] {
            if (!options->files.empty())
                return decodeFiles(*options);
            if (options->radio.radio.empty())
                throw UsageError("give a --radio, or files to decode");
            return receiveSlots(*options);
        };
    });
}

} // namespace ferrow
