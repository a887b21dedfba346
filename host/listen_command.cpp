#include "host/audio_devices.hpp"
#include "host/commands.hpp"
#include "host/failure.hpp"
#include "host/frequency.hpp"
#include "host/interrupt.hpp"
#include "host/neighbours/listen_rig.hpp"
#include "host/neighbours/neighbours.hpp"
#include "host/radio_options.hpp"
#include "host/s_meter.hpp"
#include "host/sound_file.hpp"
#include "host/terminal_waterfall.hpp"
#include "host/voice_mode.hpp"

#include <filesystem>
#include <fmt/chrono.h>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <set>

namespace ferrow {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr int kAudioRate = 48000;
constexpr Clock::duration kStatusPause = 250ms, kJsonPause = 500ms, kLinePause = 2s;
constexpr int kLinesPerAxis = 24;
constexpr std::size_t kMostWaiting = 50; // waterfall lines
constexpr int kBarWidth = 16;

struct Options {
    RadioArguments radio;
    VoiceOptions voice;
    NeighbourOptions neighbours;
    std::vector<std::string> tunes;
    std::string device;
    std::string wavFolder;
    std::optional<double> audioGain;
    std::optional<double> noiseReduction; // percent
    double duration = 0;
    double zoom = 1;
    double s9 = -73;
    bool waterfall = false, noWaterfall = false;
    bool json = false;
};

AudioChoice readDevice(const Options& options) {
    if (options.device.empty())
        return {options.wavFolder.empty() ? AudioChoice::Kind::Default : AudioChoice::Kind::None, -1};
    return parseAudioChoice(options.device);
}

// Waterfall lines on their way from the render thread to the screen.
class LineQueue {
public:
    void add(std::string line) {
        const std::lock_guard lock(mutex_);
        if (lines_.size() < kMostWaiting)
            lines_.push_back(std::move(line));
    }
    std::vector<std::string> take() {
        const std::lock_guard lock(mutex_);
        return std::exchange(lines_, {});
    }

private:
    std::mutex mutex_;
    std::vector<std::string> lines_;
};

// Has the library's pump run an io_context too, for as long as this lives.
class PumpedBy {
public:
    PumpedBy(Library& library, boost::asio::io_context& io) : library_(library) {
        library_.onPump = [&io] { io.poll(); };
    }
    ~PumpedBy() { library_.onPump = nullptr; }
    PumpedBy(const PumpedBy&) = delete;
    PumpedBy& operator=(const PumpedBy&) = delete;

private:
    Library& library_;
};

class Listener {
public:
    Listener(const Options& options, std::vector<Tuning> tunings)
        : options_(options), tunings_(std::move(tunings)),
          waterfallOn_(!options.json && !options.noWaterfall && (options.waterfall || stdoutIsTerminal())),
          waterfall_(terminalColumns()) {}

    int run() {
        const RadioAddress address = options_.radio.address();
        AudioChoice audio = readDevice(options_);
        openFiles();
        const FoundRadio found = findRadio(address);
        Library library(options_.radio.library);
        if (audio.kind != AudioChoice::Kind::None)
            audio = listAudioDevices(library).usableOutput(audio);
        watchInterrupts();
        RadioSession session(library, found, options_.radio.session());
        for (std::size_t i = 0; i < tunings_.size(); ++i)
            addTransceiver(library, session, i, audio);
        session.start();
        warnOfTuning(library, session);
        boost::asio::io_context io;
        ListenRig rig = rigOf(library, session, found);
        const Neighbours neighbours(io, rig, options_.neighbours);
        const PumpedBy pumped(library, io);
        loop(library, session);
        session.stop();
        finish(session);
        return kExitDone;
    }

private:
    void openFiles() {
        if (options_.wavFolder.empty())
            return;
        std::error_code error;
        std::filesystem::create_directories(options_.wavFolder, error);
        if (error)
            throw Failure(fmt::format("cannot make {}: {}", options_.wavFolder, error.message()));
        std::set<std::string> names;
        for (const Tuning& tuning : tunings_) {
            std::string name = tuning.slug();
            for (int n = 2; !names.insert(name).second; ++n)
                name = fmt::format("{}_{}", tuning.slug(), n);
            const auto path = std::filesystem::path(options_.wavFolder) / (name + ".wav");
            files_.push_back(std::make_unique<WavWriter>(path.string(), kAudioRate));
        }
    }

    void addTransceiver(Library& library, RadioSession& session, std::size_t index,
                        const AudioChoice& audio) {
        Transceiver& one = session.add(tunings_[index].vfo());
        setMode(library, one, tunings_[index]);
        one.setAudio(audio);
        if (options_.audioGain)
            one.setManualGain(*options_.audioGain);
        if (!files_.empty())
            one.onAudio = [this, index](std::span<const float> samples) { record(index, samples); };
        if (index == 0 && waterfallOn_) {
            one.setSpectrum(false, options_.zoom, 0);
            one.onSpectrum = [this](const Spectrum& spectrum) { draw(spectrum); };
        }
    }

    void setMode(Library& library, Transceiver& one, const Tuning& tuning) const {
        setVoiceMode(library, one, tuning, options_.voice);
        if (options_.noiseReduction)
            one.setNoiseReduction(*options_.noiseReduction);
    }

    // The first transceiver, for rig control.
    ListenRig rigOf(Library& library, const RadioSession& session, const FoundRadio& found) {
        Transceiver& one = *session.transceivers().front();
        Tuning& tuning = tunings_.front();
        return ListenRig(tuning, {.description = "ferrow listening with " + found.url(),
                                  .tune =
                                      [this, &library, &one, &tuning](bool newMode) {
                                          one.setVfo(tuning.vfo());
                                          if (newMode)
                                              setMode(library, one, tuning);
                                      },
                                  .strength = [&one] { return one.signalStrength(); },
                                  .s9 = options_.s9});
    }

    // Exceptions end in the library's pump, so the loop is told otherwise.
    void record(std::size_t index, std::span<const float> samples) {
        try {
            if (diskError_.empty())
                files_[index]->write(samples);
        } catch (const Failure& failure) {
            diskError_ = failure.what();
        }
    }

    void draw(const Spectrum& spectrum) {
        if (linesDrawn_++ % kLinesPerAxis == 0) {
            waterfall_.setColumns(terminalColumns());
            lines_.add(waterfall_.axis(spectrum));
        }
        lines_.add(waterfall_.line(spectrum));
    }

    void warnOfTuning(Library& library, const RadioSession& session) {
        library.pumpUntil([] { return false; }, 300ms);
        for (std::size_t i = 0; i < tunings_.size(); ++i)
            if (!session.transceivers()[i]->tuningValid())
                fmt::print(stderr, "ferrow: {} lies outside of the radio's receivers; try a higher --rate\n",
                           showFrequency(tunings_[i].frequency));
    }

    void loop(Library& library, RadioSession& session) {
        const auto began = Clock::now();
        const bool screen = !options_.json && stdoutIsTerminal();
        const auto pause = options_.json ? kJsonPause : screen ? kStatusPause : kLinePause;
        auto next = began;
        while (!interrupted()) {
            const auto now = Clock::now();
            if (options_.duration > 0 && now - began >= std::chrono::duration<double>(options_.duration))
                break;
            library.pumpUntil([] { return false; }, 20ms);
            session.checkSamples();
            if (!diskError_.empty())
                throw Failure(diskError_);
            for (const std::string& line : lines_.take())
                fmt::print("{}{}\n", screen ? "\r\x1b[K" : "", line);
            if (now >= next) {
                next += pause;
                showMeters(session, screen);
            }
        }
        if (screen)
            fmt::print("\r\x1b[K");
    }

    void showMeters(const RadioSession& session, bool screen) {
        std::string status;
        for (std::size_t i = 0; i < tunings_.size(); ++i) {
            const Tuning& tuning = tunings_[i];
            const auto level = session.transceivers()[i]->signalStrength();
            if (options_.json) {
                if (level)
                    printJson(i, *level, session);
                continue;
            }
            status +=
                fmt::format("{}{} {} ", i ? " | " : "", showFrequency(tuning.frequency), nameOf(tuning.mode));
            status += level ? fmt::format("{} {:6.1f} dB {}", meterBar(*level, options_.s9, kBarWidth),
                                          *level, sUnits(*level, options_.s9))
                            : std::string("...");
        }
        if (options_.json)
            return;
        if (screen)
            fmt::print("\r\x1b[K{}", status.substr(0, static_cast<std::size_t>(terminalColumns() - 1)));
        else
            fmt::print("{}\n", status);
        std::fflush(stdout);
    }

    void printJson(std::size_t index, double level, const RadioSession& session) {
        const auto now =
            std::chrono::time_point_cast<std::chrono::milliseconds>(std::chrono::system_clock::now());
        const nlohmann::json line = {
            {"time", fmt::format("{:%FT%T}Z", now)},
            {"transceiver", index},
            {"frequency", tunings_[index].frequency},
            {"mode", nameOf(tunings_[index].mode)},
            {"signal_db", std::round(level * 10) / 10},
            {"tuning_valid", session.transceivers()[index]->tuningValid()},
        };
        fmt::print("{}\n", line.dump());
        std::fflush(stdout);
    }

    void finish(const RadioSession& session) {
        if (session.sequenceErrors() > 0)
            fmt::print(stderr, "ferrow: {} gaps in the radio's stream\n", session.sequenceErrors());
        for (const auto& file : files_) {
            file->close();
            if (!options_.json)
                fmt::print("{}: {:.1f} s\n", file->path(), static_cast<double>(file->samples()) / kAudioRate);
        }
    }

    const Options& options_;
    std::vector<Tuning> tunings_;
    bool waterfallOn_;
    TerminalWaterfall waterfall_; // of the render thread
    int linesDrawn_ = 0;
    LineQueue lines_;
    std::vector<std::unique_ptr<WavWriter>> files_;
    std::string diskError_;
};

int listen(const Options& options) {
    std::vector<Tuning> tunings;
    for (const std::string& text : options.tunes)
        tunings.push_back(parseTuning(text));
    return Listener(options, std::move(tunings)).run();
}

} // namespace

void addListenCommand(CLI::App& program, Action& chosen) {
    const auto options = std::make_shared<Options>();
    CLI::App* command = program.add_subcommand("listen", "receives any number of signals at once");
    addRadioArguments(*command, options->radio)->required();
    command
        ->add_option(
            "--tune", options->tunes,
            "FREQUENCY[:MODE[LOW:HIGH]], e.g. 14.200M:usb, 7100k:am, 14.2M:usb[200:2900]; repeat it for "
            "more. Modes: usb, lsb, am, fm, and cw, which for now is upper sideband, 500 Hz wide around a "
            "pitch of 600 Hz")
        ->required();
    addDeviationOption(*command, options->voice);
    addRigctlOptions(*command, options->neighbours);
    command->add_option(
        "--device", options->device,
        "sound: a number of `ferrow devices`, default, or none (with --wav: none, else: default)");
    command->add_option("--wav", options->wavFolder, "record a WAV file for each --tune in this folder");
    command->add_option("--audio-gain", options->audioGain, "plain gain in dB in place of the automatic one")
        ->check(CLI::Range(-60.0, 160.0));
    addNoiseReductionOption(*command, options->noiseReduction);
    command->add_option("--duration", options->duration, "seconds; 0: until Ctrl-C")
        ->check(CLI::NonNegativeNumber);
    command->add_flag("--waterfall", options->waterfall,
                      "draw one, around the first --tune, even if stdout is no terminal");
    command->add_flag("--no-waterfall", options->noWaterfall, "draw none");
    command->add_option("--zoom", options->zoom, "a power of two: the waterfall shows the rate divided by it")
        ->check(CLI::Range(1.0, 512.0))
        ->capture_default_str();
    command->add_option("--s9", options->s9, "level in dB that reads as S9")->capture_default_str();
    command->add_flag("--json", options->json, "print signal strengths as JSON lines, and nothing else");
    command->callback([options, &chosen] { chosen = [options] { return listen(*options); }; });
}

} // namespace ferrow
