#include "host/commands.hpp"
#include "host/demo_results.hpp"
#include "host/failure.hpp"
#include "host/interrupt.hpp"
#include "host/radio_session.hpp"
#include "host/sim_process.hpp"
#include "host/sound_file.hpp"
#include "host/terminal_waterfall.hpp"
#include "host/voice_mode.hpp"

#include <atomic>
#include <cmath>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <memory>
#include <nlohmann/json.hpp>

namespace ferrow {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr int kAudioRate = 48000;
constexpr int kSampleRate = 384000;
constexpr long long kBandEdge = 10'000'000; // Hz: between the two bands of the scene
constexpr auto kLongest = 50s;
constexpr auto kRowTime = 100ms;
constexpr double kMargin = 8000;  // Hz beside the outermost stations of a picture
constexpr double kPeakLevel = -5; // dB of full scale that a station's sound is brought to, about
constexpr double kFt8Zoom = 64;   // 6 kHz
constexpr int kFt8Centre = 1500;  // Hz above the dial
constexpr double kFt8Low = 100, kFt8High = 2900;
constexpr int kVoiceLow = 200, kVoiceHigh = 2800;
constexpr double kCompareLow = 400, kCompareHigh = 2600; // inside the filters' edges

struct Options {
    std::string folder = "demo-out";
    LibraryOptions library;
    bool json = false;
};

// A station's sound, on disk and in memory.
struct VoiceRecorder {
    VoiceRecorder(const SceneStation& sender, const std::string& path)
        : station(sender), file(path, kAudioRate) {}

    const SceneStation& station;
    WavWriter file;
    std::vector<float> sound;
    std::string error;

    void take(std::span<const float> samples) {
        sound.insert(sound.end(), samples.begin(), samples.end());
        try {
            if (error.empty())
                file.write(samples);
        } catch (const Failure& failure) {
            error = failure.what();
        }
    }
};

// A waterfall of a transceiver's spectrum. Frames count once the display stands where it should.
struct Watcher {
    Watcher(const std::string& title, double low, double high) : panel(title, low, high, kRowTime) {}

    WaterfallPanel panel;
    std::atomic<double> centre{0}; // Hz; 0: not known yet

    void take(const Spectrum& spectrum) {
        const double wanted = centre.load(std::memory_order_acquire);
        if (wanted != 0 && std::abs((spectrum.low + spectrum.high) / 2 - wanted) < 1)
            panel.add(spectrum);
    }
};

class Demo {
public:
    explicit Demo(const Options& options) : options_(options), folder_(options.folder) {}

    int run() {
        const std::string simulator = findSimulator();
        stations_ = readScene(outputOf(simulator, {"--list-scene"}));
        prepareFolder(simulator);
        const std::string address = freeLoopbackAddress();
        const SimProcess radio(simulator, address);
        say(fmt::format("a simulated radio is on the air at {}", address));
        Library library(options_.library);
        watchInterrupts();
        const RecordingFolder recordings("");
        SlotDecoder ft8(SlotMode::Ft8, true), ft4(SlotMode::Ft4, true);
        RadioSession session(library, findRadio({RadioKind::Hpsdr, address, 0}),
                             {kSampleRate, std::nullopt, false});
        addSlots(session, SlotMode::Ft8, recordings, ft8);
        addSlots(session, SlotMode::Ft4, recordings, ft4);
        addVoices(library, session);
        session.start();
        receive(library, session, ft8, ft4);
        results_.sequenceErrors = session.sequenceErrors();
        session.stop();
        if (interrupted())
            throw Failure("interrupted");
        finish();
        return results_.good() ? kExitDone : kExitFailed;
    }

private:
    void say(const std::string& text) const { fmt::print(stderr, "{}\n", text); }

    void prepareFolder(const std::string& simulator) {
        std::error_code error;
        fs::create_directories(folder_, error);
        if (error)
            throw Failure(fmt::format("cannot make {}: {}", folder_.string(), error.message()));
        outputOf(simulator, {"--write-sources", (folder_ / "source").string()});
    }

    void addSlots(RadioSession& session, SlotMode mode, const RecordingFolder& recordings,
                  SlotDecoder& decoder) {
        const std::string kind = mode == SlotMode::Ft8 ? "ft8" : "ft4";
        for (const SceneStation& station : stations_) {
            if (station.kind != kind)
                continue;
            const auto dial = std::llround(station.frequency);
            Transceiver& one = session.add(dial);
            recordSlots(one, mode, recordings.subfolder(kind), decoder);
            (mode == SlotMode::Ft8 ? ft8Gate_ : ft4Gate_).add(one);
            if (mode == SlotMode::Ft8)
                watchFt8(one);
            return; // one dial for all of them
        }
    }

    void watchFt8(Transceiver& transceiver) {
        const auto dial = static_cast<double>(transceiver.vfo());
        ft8Watcher_ = std::make_unique<Watcher>(fmt::format("FT8 AT {} MHZ", dial / 1e6), dial + kFt8Low,
                                                dial + kFt8High);
        ft8Watcher_->panel.setMarks(marksWhere([](const SceneStation& one) { return one.kind == "ft8"; }));
        ft8Watcher_->centre.store(dial + kFt8Centre, std::memory_order_release);
        transceiver.setSpectrum(true, kFt8Zoom, kFt8Centre);
        transceiver.onSpectrum = [this](const Spectrum& spectrum) { ft8Watcher_->take(spectrum); };
    }

    // The first voice of each band also shows the band.
    void addVoices(Library& library, RadioSession& session) {
        for (const SceneStation& station : stations_) {
            if (!station.voice())
                continue;
            Tuning tuning = tuningOf(station);
            Transceiver& one = session.add(tuning.vfo());
            setVoiceMode(library, one, tuning);
            const double depth = 0.8; // of AM; what is missing or too much matters little
            one.setManualGain(kPeakLevel - station.level -
                              (station.kind == "am" ? 20 * std::log10(depth) : 0));
            voices_.push_back(
                std::make_unique<VoiceRecorder>(station, (folder_ / station.fileName()).string()));
            one.onAudio = [voice = voices_.back().get()](std::span<const float> sound) {
                voice->take(sound);
            };
            const bool upperBand = tuning.frequency > kBandEdge;
            if (auto& watcher = bandWatchers_[upperBand ? 0 : 1]; !watcher)
                watchBand(one, watcher, upperBand);
        }
    }

    static Tuning tuningOf(const SceneStation& station) {
        Tuning tuning;
        tuning.frequency = std::llround(station.frequency);
        tuning.mode = station.kind == "am" ? Mode::Am : station.upper ? Mode::Usb : Mode::Lsb;
        tuning.low = tuning.mode == Mode::Usb ? kVoiceLow : -kVoiceHigh;
        tuning.high = tuning.mode == Mode::Lsb ? -kVoiceLow : kVoiceHigh;
        return tuning;
    }

    void watchBand(Transceiver& transceiver, std::unique_ptr<Watcher>& watcher, bool upperBand) {
        const auto inBand = [upperBand](const SceneStation& one) {
            return one.kind != "ft8" && one.kind != "ft4" &&
                   (upperBand ? one.frequency > 13e6 && one.frequency < 15e6
                              : one.frequency > 6e6 && one.frequency < 8e6);
        };
        double low = 1e12, high = 0;
        for (const SceneStation& station : stations_) {
            if (inBand(station)) {
                low = std::min(low, station.frequency);
                high = std::max(high, station.frequency);
            }
        }
        watcher = std::make_unique<Watcher>(upperBand ? "20 M BAND, MHZ" : "40 M BAND, MHZ", low - kMargin,
                                            high + kMargin);
        auto marks = marksWhere(inBand);
        for (const SceneStation& station : stations_) // one mark for all that share a dial
            if (upperBand && (station.kind == "ft8" || station.kind == "ft4") &&
                marks.back().frequency != station.frequency)
                marks.push_back({station.frequency, station.kind});
        watcher->panel.setMarks(std::move(marks));
        transceiver.onSpectrum = [one = watcher.get()](const Spectrum& spectrum) { one->take(spectrum); };
        watched_.push_back({&transceiver, watcher.get()});
    }

    template <typename Condition>
    std::vector<Mark> marksWhere(Condition condition) const {
        std::vector<Mark> marks;
        for (const SceneStation& station : stations_) {
            const bool slot = station.kind == "ft8" || station.kind == "ft4";
            if (condition(station))
                marks.push_back({station.onAir(), slot ? station.name.substr(4) : station.name});
        }
        return marks;
    }

    // Puts the display of a band in the middle of the hardware receiver: then every bin holds data, and
    // stands exactly at its frequency.
    void centreDisplays() {
        for (auto& [transceiver, watcher] : watched_) {
            if (!transceiver->centre() || watcher->centre.load(std::memory_order_acquire) != 0)
                continue;
            const double centre = *transceiver->centre();
            transceiver->setSpectrum(true, 1, std::llround(centre) - transceiver->vfo());
            watcher->centre.store(centre, std::memory_order_release);
        }
    }

    void receive(Library& library, RadioSession& session, SlotDecoder& ft8, SlotDecoder& ft4) {
        const auto began = Clock::now();
        // All of an FT8 period that has not begun yet, and the time to decode it.
        const auto expected = std::chrono::milliseconds(millisecondsToNextSlot(SlotMode::Ft8) + 15000);
        say(fmt::format("receiving {} signals at once until an FT8 period is complete, about {:.0f} s",
                        session.transceivers().size(), std::chrono::duration<double>(expected).count()));
        for (const auto& [transceiver, watcher] : watched_)
            transceiver->askCentre();
        auto nextNote = began + 5s;
        while (!interrupted() && !results_.bestFt8()) {
            library.pumpUntil([] { return false; }, 20ms);
            session.checkSamples();
            centreDisplays();
            ft8Gate_.poll(SlotMode::Ft8);
            ft4Gate_.poll(SlotMode::Ft4);
            takeSlots(SlotMode::Ft8, ft8);
            takeSlots(SlotMode::Ft4, ft4);
            const auto now = Clock::now();
            if (now - began > kLongest)
                break;
            if (now >= nextNote) {
                say(fmt::format("  {:.0f} s received", std::chrono::duration<double>(now - began).count()));
                nextNote += 5s;
            }
        }
        results_.seconds = std::chrono::duration<double>(Clock::now() - began).count();
    }

    void takeSlots(SlotMode mode, SlotDecoder& decoder) {
        while (const auto slot = decoder.take()) {
            if (!slot->error.empty())
                throw Failure(slot->error);
            results_.slots.push_back(judgeSlot(mode, *slot, stations_));
        }
    }

    void finish() {
        for (const auto& voice : voices_) {
            if (!voice->error.empty())
                throw Failure(voice->error);
            voice->file.close();
            const Sound source = readWav((folder_ / "source" / voice->station.fileName()).string());
            const std::size_t skip = std::min<std::size_t>(voice->sound.size(), kAudioRate / 2);
            results_.voices.push_back(
                {voice->station.name, voice->station.fileName(),
                 static_cast<double>(voice->sound.size()) / kAudioRate,
                 compareWithLoop(std::span(voice->sound).subspan(skip), source, kCompareLow, kCompareHigh,
                                 voice->station.kind == "ssb")});
        }
        drawWaterfalls();
        write("ft8.txt", showResults(results_));
        write("summary.json", resultsJson(results_).dump(2) + "\n");
        if (options_.json)
            fmt::print("{}\n", resultsJson(results_).dump(2));
        else
            fmt::print("{}", showResults(results_));
        say(fmt::format("the recordings, waterfall.png, ft8.txt and summary.json are in {}",
                        folder_.string()));
    }

    void drawWaterfalls() {
        std::vector<PicturePanel> panels;
        for (const Watcher* watcher : {bandWatchers_[0].get(), bandWatchers_[1].get(), ft8Watcher_.get()}) {
            if (!watcher)
                continue;
            const auto snapshot = watcher->panel.snapshot();
            if (snapshot.rows.empty())
                throw Failure("a waterfall has no rows");
            const auto marks = judgeMarks(snapshot, stations_);
            results_.marks.insert(results_.marks.end(), marks.begin(), marks.end());
            panels.push_back(drawPanel(snapshot));
        }
        writePng(drawPicture("", panels), (folder_ / "waterfall.png").string());
    }

    void write(const std::string& name, const std::string& text) const {
        std::ofstream file(folder_ / name, std::ios::trunc);
        file << text;
        file.flush();
        if (!file)
            throw Failure(fmt::format("cannot write {}", (folder_ / name).string()));
    }

    const Options& options_;
    fs::path folder_;
    std::vector<SceneStation> stations_;
    std::vector<std::unique_ptr<VoiceRecorder>> voices_;
    std::unique_ptr<Watcher> bandWatchers_[2], ft8Watcher_;
    std::vector<std::pair<Transceiver*, Watcher*>> watched_;
    SlotGate ft8Gate_, ft4Gate_;
    DemoResults results_;
};

} // namespace

void addDemoCommand(CLI::App& program, Action& chosen) {
    const auto options = std::make_shared<Options>();
    CLI::App* command = program.add_subcommand(
        "demo", "receives a simulated radio: voices and FT8 at once, in less than a minute");
    command->add_option("--out", options->folder, "folder for recordings and pictures")
        ->capture_default_str();
    command->add_option("--log", options->library.logFile, "the library's log file");
    command->add_flag("--verbose", options->library.verbose, "log more, and show what sound drivers say");
    command->add_flag("--json", options->json, "print the summary as JSON");
    command->callback([options, &chosen] { chosen = [options] { return Demo(*options).run(); }; });
}

} // namespace ferrow
