#include "host/commands.hpp"
#include "host/failure.hpp"
#include "host/interrupt.hpp"
#include "host/radio_session.hpp"
#include "host/sim_process.hpp"
#include "host/voice_mode.hpp"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <thread>
#include <unistd.h>
#include <vector>

namespace ferrow {
namespace {

using namespace std::chrono_literals;

constexpr long long kVfo = 14'100'000;
constexpr int kTone = 1000; // Hz of the marker in the sound
constexpr double kEvery = 0.5, kLength = 0.1;
constexpr double kLevel = -20; // dBFS
constexpr double kRate = 48000;
constexpr std::size_t kPeriod = 48; // samples of the tone
constexpr double kSettling = 1.2;   // seconds at the start without a measurement

struct Options {
    int rateKhz = 384;
    double seconds = 20;
    LibraryOptions library;
    bool json = false;
};

double utcNow() {
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

// Delay of what happened at `utc` behind the latest marker.
double sinceMarker(double utc) {
    return utc - kEvery * std::floor(utc / kEvery);
}

// Finds where the marker's envelope passes through half of its height, in sound that comes in blocks.
class MarkerInSound {
public:
    // `arrived`: when the block came.
    void take(std::span<const float> block, double arrived) {
        for (std::size_t i = 0; i < block.size(); ++i) {
            float& old = squares_[next_];
            sum_ += static_cast<double>(block[i]) * block[i] - old;
            old = block[i] * block[i];
            next_ = (next_ + 1) % kPeriod;
            peak_ = std::max(peak_ * (1 - 1 / (4 * kRate)), sum_);
            const bool above = sum_ > 0.25 * peak_; // of the power: half of the amplitude
            if (above && !above_ && ++seen_ > 2) {
                // The mean over a period lags by half of one.
                const double behind = (static_cast<double>(block.size() - i) + kPeriod / 2.0) / kRate;
                inRing.push_back(sinceMarker(arrived));
                reached.push_back(sinceMarker(arrived) - behind);
            }
            above_ = above;
        }
    }

    std::vector<double> inRing;  // from the marker to its block's arrival, s
    std::vector<double> reached; // the same, as if each sample came for itself: what the chain itself takes

private:
    std::array<float, kPeriod> squares_{};
    std::size_t next_ = 0;
    double sum_ = 0, peak_ = 1e-9;
    bool above_ = true;
    int seen_ = 0;
};

// The first frame in which the marker's line stands within 6 dB of its height.
class MarkerInSpectrum {
public:
    void take(const Spectrum& spectrum, double arrived) {
        const double at = spectrum.binOf(static_cast<double>(kVfo + kTone));
        if (at < 1 || at > static_cast<double>(spectrum.decibel.size()) - 2)
            return;
        const auto bin = static_cast<std::size_t>(std::lround(at));
        const float level =
            *std::max_element(spectrum.decibel.begin() + static_cast<std::ptrdiff_t>(bin) - 1,
                              spectrum.decibel.begin() + static_cast<std::ptrdiff_t>(bin) + 2);
        peak_ = std::max(peak_ - 0.001f, level);
        const bool above = level > peak_ - 6;
        const std::lock_guard lock(mutex_);
        if (above && !above_ && ++seen_ > 2)
            delays_.push_back(sinceMarker(arrived));
        above_ = above;
    }

    std::vector<double> delays() {
        const std::lock_guard lock(mutex_);
        return delays_;
    }

private:
    std::mutex mutex_;
    std::vector<double> delays_;
    float peak_ = -200;
    bool above_ = true;
    int seen_ = 0;
};

struct Figures {
    std::size_t count = 0;
    double least = 0, median = 0, p99 = 0, most = 0; // ms
};

Figures figuresOf(std::vector<double> values) {
    if (values.empty())
        throw Failure("no marker was heard");
    std::sort(values.begin(), values.end());
    const auto at = [&](double share) {
        return 1000 * values[static_cast<std::size_t>(share * static_cast<double>(values.size() - 1))];
    };
    return {values.size(), at(0), at(0.5), at(0.99), at(1)};
}

nlohmann::json figuresJson(const Figures& figures) {
    return {{"markers", figures.count},
            {"least_ms", figures.least},
            {"median_ms", figures.median},
            {"p99_ms", figures.p99},
            {"most_ms", figures.most}};
}

// What the chain's structure alone makes of it, ms.
struct Stage {
    const char* name;
    double least, most;
};

std::vector<Stage> budget(int rateKhz) {
    const double packet = 126.0 / rateKhz;
    return {{"packet of the radio (and the simulator's bursts of 1 ms)", 0, packet + 1},
            {"packets gathered by the comms thread", 0, rateKhz >= 252 ? 2.1 : 0.1},
            {"chunk and filter block of 10.67 ms", 0, 512 / 48.0},
            {"decimator", rateKhz > 48 ? 0.4 : 0, rateKhz > 48 ? 0.9 : 0},
            {"bandpass of 1536 taps, linear phase", 16, 16}};
}

// A scene of one pulsed carrier; the file goes with this object.
class MarkerScene {
public:
    MarkerScene() {
        path_ = (std::filesystem::temp_directory_path() / fmt::format("ferrow-latency-{}.json", getpid()))
                    .string();
        const nlohmann::json scene = {{"noise_floor", -150},
                                      {"stations",
                                       {{{"kind", "carrier"},
                                         {"frequency", kVfo + kTone},
                                         {"level", kLevel},
                                         {"every", kEvery},
                                         {"length", kLength}}}}};
        std::ofstream file(path_);
        file << scene.dump();
        if (!file.flush())
            throw Failure("cannot write " + path_);
    }
    ~MarkerScene() {
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
    }
    MarkerScene(const MarkerScene&) = delete;
    MarkerScene& operator=(const MarkerScene&) = delete;

    const std::string& path() const { return path_; }

private:
    std::string path_;
};

int measure(const Options& options) {
    const MarkerScene scene;
    const std::string address = freeLoopbackAddress();
    const SimProcess radio(findSimulator(), address, {"--scene", scene.path()});
    Library library(options.library);
    watchInterrupts();
    RadioSession session(library, findRadio({RadioKind::Hpsdr, address, 0}),
                         {options.rateKhz * 1000, std::nullopt, false});
    MarkerInSound sound;
    MarkerInSpectrum spectrum;
    Tuning tuning;
    tuning.frequency = kVfo;
    tuning.low = 200;
    tuning.high = 2800;
    Transceiver& one = session.add(tuning.vfo());
    setVoiceMode(library, one, tuning);
    one.setManualGain(0);
    one.onAudio = [&](std::span<const float> block) { sound.take(block, utcNow()); };
    one.onSpectrum = [&](const Spectrum& frame) { spectrum.take(frame, utcNow()); };
    one.setSpectrum(true, 1, 0);
    session.start();
    const auto end =
        std::chrono::steady_clock::now() + std::chrono::duration<double>(options.seconds + kSettling);
    while (std::chrono::steady_clock::now() < end && !interrupted()) {
        library.pump();
        session.checkSamples();
        std::this_thread::sleep_for(200us);
    }
    session.stop();
    if (interrupted())
        throw Failure("interrupted");
    const Figures inRing = figuresOf(sound.inRing), reached = figuresOf(sound.reached),
                  seen = figuresOf(spectrum.delays());
    if (options.json) {
        nlohmann::json all = {
            {"rate_khz", options.rateKhz},          {"sequence_errors", session.sequenceErrors()},
            {"block_in_ring", figuresJson(inRing)}, {"sample_through_chain", figuresJson(reached)},
            {"spectrum", figuresJson(seen)},        {"budget", nlohmann::json::array()}};
        for (const Stage& stage : budget(options.rateKhz))
            all["budget"].push_back(
                {{"stage", stage.name}, {"least_ms", stage.least}, {"most_ms", stage.most}});
        fmt::print("{}\n", all.dump(2));
        return kExitDone;
    }
    fmt::print(
        "a marker of the simulated radio at {} kHz, ms after it began   least  median     p99    most\n",
        options.rateKhz);
    const auto row = [](const char* name, const Figures& f) {
        fmt::print("  {:<60} {:>6.1f}  {:>6.1f}  {:>6.1f}  {:>6.1f}\n", name, f.least, f.median, f.p99,
                   f.most);
    };
    row("its block of sound is in the ring", inRing);
    row("its sample, as if it came alone", reached);
    row("its line is in the spectrum (10.67 ms of samples or more)", seen);
    fmt::print("of that by structure alone:\n");
    double least = 0, most = 0;
    for (const Stage& stage : budget(options.rateKhz)) {
        fmt::print("  {:<60} {:>6.1f}                  {:>6.1f}\n", stage.name, stage.least, stage.most);
        least += stage.least;
        most += stage.most;
    }
    fmt::print("  {:<60} {:>6.1f}                  {:>6.1f}\n", "together", least, most);
    return kExitDone;
}

} // namespace

void addLatencyCommand(CLI::App& program, Action& chosen) {
    const auto options = std::make_shared<Options>();
    CLI::App* command = program.add_subcommand(
        "latency", "times a marker of a simulated radio to the sound and to the spectrum");
    command->add_option("--rate", options->rateKhz, "kHz of the radio's receiver")
        ->check(CLI::IsMember({48, 96, 192, 384}))
        ->capture_default_str();
    command->add_option("--seconds", options->seconds, "of measurement, two markers a second")
        ->check(CLI::Range(2.0, 86400.0))
        ->capture_default_str();
    command->add_option("--log", options->library.logFile, "the library's log file");
    command->add_flag("--json", options->json, "print JSON");
    options->library.sound = false;
    options->library.keepLog = false;
    command->callback([options, &chosen] { chosen = [options] { return measure(*options); }; });
}

} // namespace ferrow
