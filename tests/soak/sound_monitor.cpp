#include "tests/soak/sound_monitor.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <fcntl.h>
#include <numbers>
#include <stdexcept>
#include <unistd.h>
#include <utility>

namespace ferrow::soak {
namespace {

constexpr double kWindowMs = 1000.0 * SoundMonitor::kWindow / SoundMonitor::kRate;
constexpr double kSilence = 1e-3;   // amplitude below which there is no tone at all
constexpr double kQuietPart = 0.25; // of the usual amplitude

} // namespace

SoundMonitor::SoundMonitor(const test::PulseServer& server, const MachineWatch& machine, double hertz)
    : machine_(machine), usual_(hertz), hertz_(hertz) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe");
    pipe_ = ends[0];
    recorder_.start({"parec", "--device=ferrow.monitor", "--format=float32le", "--rate=48000", "--channels=2",
                     "--latency-msec=20", "--raw"},
                    ends[1], server.folder() + "/parec.log");
    recorder_.preferIfAllowed();
    close(ends[1]);
    thread_ = std::thread([this] { collect(); });
}

SoundMonitor::~SoundMonitor() {
    recorder_.kill();
    thread_.join();
    close(pipe_);
}

void SoundMonitor::collect() {
    std::vector<char> bytes(kWindow * 2 * sizeof(float));
    std::vector<float> frames(kWindow * 2);
    std::size_t have = 0;
    for (ssize_t n; (n = read(pipe_, bytes.data() + have, bytes.size() - have)) > 0;) {
        have += static_cast<std::size_t>(n);
        if (have < bytes.size())
            continue;
        have = 0;
        std::memcpy(frames.data(), bytes.data(), bytes.size());
        judge(frames.data());
    }
}

void SoundMonitor::follow(double hertz) {
    const std::lock_guard lock(mutex_);
    keeps_ = hertz > 0;
    hertz_ = keeps_ ? hertz : usual_;
    windows_.clear();
    lastTurns_ = 0;
    frames_ = 0;
}

void SoundMonitor::judge(const float* stereo) {
    const std::lock_guard lock(mutex_);
    std::complex<double> sum = 0;
    double power = 0;
    for (int i = 0; i < kWindow; ++i) {
        const double x = static_cast<double>(stereo[2 * i]);
        sum += x * std::polar(1.0, -2 * std::numbers::pi * hertz_ * i / kRate);
        power += x * x;
    }
    const double amplitude = 2 * std::abs(sum) / kWindow;
    const double rest = std::sqrt(std::max(power / kWindow - amplitude * amplitude / 2, 0.0));
    const bool quiet = amplitude < std::max(kSilence, kQuietPart * level_);
    if (!quiet)
        level_ = level_ == 0 ? amplitude : 0.99 * level_ + 0.01 * amplitude;
    hears_ = !quiet;
    if (keeps_) {
        // Against an oscillator that runs on: what is left is how the sound moves in time.
        const double expected = std::fmod(hertz_ * static_cast<double>(frames_) / kRate, 1.0);
        double turns = std::arg(sum) / (2 * std::numbers::pi) - expected;
        turns += std::round(lastTurns_ - turns);
        lastTurns_ = turns;
        windows_.push_back({turns, quiet ? 1e9 : rest / amplitude});
    }
    frames_ += kWindow;
    if (!counts_) {
        run_ = 0;
        return;
    }
    if (quiet && run_ == 0 && machine_.stalledWithin(kAfterStallMs)) {
        sound_.excused += kWindowMs / 1000;
        return;
    }
    sound_.seconds += kWindowMs / 1000;
    if (!quiet) {
        run_ = 0;
        sound_.amplitude = level_;
        return;
    }
    sound_.gaps += run_ == 0 ? 1 : 0;
    run_ += kWindowMs;
    sound_.quiet += kWindowMs / 1000;
    sound_.longestGapMs = std::max(sound_.longestGapMs, run_);
}

Sound SoundMonitor::take() {
    const std::lock_guard lock(mutex_);
    const Sound taken = sound_;
    sound_ = {};
    return taken;
}

std::vector<SoundMonitor::Window> SoundMonitor::takeWindows() {
    const std::lock_guard lock(mutex_);
    return std::exchange(windows_, {});
}

} // namespace ferrow::soak
