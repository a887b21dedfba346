#include "host/audio_devices.hpp"
#include "host/commands.hpp"
#include "host/detector_board.hpp"
#include "host/failure.hpp"
#include "host/frequency.hpp"
#include "host/interrupt.hpp"
#include "host/radio_options.hpp"
#include "host/terminal_waterfall.hpp"
#include "host/text_modes.hpp"

#include <ferrowcore/keyboard.h>
#include <ferrowcore/modes.h>
#include <ferrowcore/vtrx.h>
#include <fmt/format.h>
#include <memory>
#include <nlohmann/json.hpp>

namespace ferrow {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr int kWholeLow = 100, kWholeHigh = 3000; // Hz, the passband of --all
constexpr int kAudioTop = 3100;                   // Hz
constexpr auto kTablePause = 1s;

struct Options {
    RadioArguments radio;
    std::string mode, tune, device = "none";
    int width = 0;
    double duration = 0;
    bool all = false, json = false;
};

// Text as it comes: as it is, or as JSON lines.
class TextPrinter {
public:
    TextPrinter(const Options& options, long long vfo) : options_(options), vfo_(vfo) {}

    void plain(const std::string& text) {
        if (options_.json)
            fmt::print("{}\n", nlohmann::json{{"text", text}}.dump(-1, ' ', false,
                                                                   nlohmann::json::error_handler_t::replace));
        else
            fmt::print("{}", text);
        std::fflush(stdout);
    }

    void line(const DetectorBoard::Row& row) {
        const long long frequency = vfo_ + row.frequency;
        if (options_.json)
            fmt::print("{}\n",
                       nlohmann::json{{"frequency", frequency}, {"mode", row.mode}, {"text", row.text}}.dump(
                           -1, ' ', false, nlohmann::json::error_handler_t::replace));
        else
            fmt::print("{}  {:<7} {}\n", showFrequency(frequency), row.mode, row.text);
        std::fflush(stdout);
    }

    // In place of what the last call has drawn.
    void table(const std::vector<DetectorBoard::Row>& rows) {
        const int columns = terminalColumns();
        std::string page = drawn_ > 0 ? fmt::format("\x1b[{}A", drawn_) : "";
        for (const auto& row : rows) {
            const std::string head =
                fmt::format("{:>14}  {:<7} ", showFrequency(vfo_ + row.frequency), row.mode);
            const auto room =
                static_cast<std::size_t>(std::max(columns - static_cast<int>(head.size()) - 1, 8));
            const std::string_view text(row.text);
            page +=
                fmt::format("\x1b[2K{}{}\n", head, text.substr(text.size() > room ? text.size() - room : 0));
        }
        const int lines = static_cast<int>(rows.size());
        for (int i = lines; i < drawn_; ++i)
            page += "\x1b[2K\n";
        drawn_ = std::max(drawn_, lines);
        fmt::print("{}", page);
        std::fflush(stdout);
    }

private:
    const Options& options_;
    long long vfo_;
    int drawn_ = 0;
};

void setFilter(Transceiver& transceiver, Object object, const TextMode& mode, const Options& options) {
    int low = mode.receiveAt + mode.lowest, high = mode.receiveAt + mode.highest;
    if (options.all) {
        low = kWholeLow;
        high = kWholeHigh;
    } else if (options.width > 0) {
        // RTTY's other tone lies 170 Hz above.
        const int middle = mode.receiveAt + (mode.family == TextFamily::Rtty ? 85 : 0);
        low = middle - options.width / 2;
        high = middle + options.width / 2;
    }
    transceiver.setMode(std::move(object), low, high);
}

int readText(const Options& options) {
    const TextMode& mode = textMode(options.mode);
    if (!mode.receives)
        throw UsageError(fmt::format("{} is sent only: it is read by eye, in a waterfall", mode.name));
    if (options.all && mode.family != TextFamily::Psk)
        throw UsageError("--all is for the PSK modes");
    if (options.json && mode.family == TextFamily::Rtty)
        throw UsageError("--json is not for rtty: the library itself prints what it reads");
    const long long frequency = parseFrequency(options.tune);
    const long long vfo = frequency - mode.receiveAt;
    const RadioAddress address = options.radio.address();
    AudioChoice audio = parseAudioChoice(options.device);
    const FoundRadio found = findRadio(address);
    Library library(options.radio.library);
    if (audio.kind != AudioChoice::Kind::None)
        audio = listAudioDevices(library).usableOutput(audio);
    watchInterrupts();
    const bool screen = options.all && !options.json && stdoutIsTerminal();
    TextPrinter printer(options, vfo);
    std::unique_ptr<DetectorBoard> board;
    RadioSession session(library, found, options.radio.session());
    Transceiver& transceiver = session.add(vfo);
    Object object = makeTextMode(mode);
    if (options.all)
        board = std::make_unique<DetectorBoard>(object, [&](const DetectorBoard::Row& row) {
            if (!screen)
                printer.line(row);
        });
    else
        bindReceivedText(object, mode, [&](const std::string& text) { printer.plain(text); });
    setFilter(transceiver, std::move(object), mode, options);
    transceiver.setAudio(audio);
    session.start();
    const auto began = Clock::now();
    auto next = began;
    while (!interrupted() && (options.duration <= 0 ||
                              Clock::now() - began < std::chrono::duration<double>(options.duration))) {
        library.pumpUntil([] { return false; }, 20ms);
        session.checkSamples();
        if (!board || Clock::now() < next)
            continue;
        next += kTablePause;
        if (screen)
            printer.table(board->rows());
        else
            board->poll();
    }
    if (board && !screen)
        board->poll(true);
    else if (!options.json && !screen)
        fmt::print("\n");
    if (board)
        board->release();
    session.stop();
    return kExitDone;
}

} // namespace

void addTextCommand(CLI::App& program, Action& chosen) {
    const auto options = std::make_shared<Options>();
    CLI::App* command = program.add_subcommand("text", "prints what the keyboard modes read");
    addRadioArguments(*command, options->radio)->required();
    std::vector<std::string> names;
    for (const std::string& name : textModeNames())
        if (textMode(name).receives)
            names.push_back(name);
    command->add_option("--mode", options->mode, "of the signal")->required()->check(CLI::IsMember(names));
    command
        ->add_option(
            "--tune", options->tune,
            "frequency of the signal, e.g. 14.0715M; of RTTY the lower tone, which it takes for mark")
        ->required();
    command->add_option("--width", options->width, "of the filter around the signal, Hz")
        ->check(CLI::Range(50, 2 * kAudioTop));
    command->add_flag("--all", options->all,
                      "psk modes: every signal within about 1400 Hz on either side, each with its frequency");
    command
        ->add_option("--device", options->device,
                     "output device to listen along: \"none\", \"default\", or a number of `ferrow devices`")
        ->capture_default_str();
    command->add_option("--duration", options->duration, "seconds; 0: until Ctrl-C")
        ->check(CLI::NonNegativeNumber)
        ->capture_default_str();
    command->add_flag("--json", options->json, "JSON lines in place of plain text");
    command->callback([options, &chosen] { chosen = [options] { return readText(*options); }; });
}

} // namespace ferrow
