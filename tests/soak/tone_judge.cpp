#include "tests/soak/tone_judge.hpp"

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>
#include <utility>

namespace ferrow::soak {
namespace {

constexpr double kWindowMs = 1000.0 * ToneJudge::kWindow / ToneJudge::kRate;
constexpr double kSilence = 1e-3;   // amplitude below which there is no tone at all
constexpr double kQuietPart = 0.25; // of the usual amplitude

} // namespace

void ToneJudge::follow(double hertz) {
    keeps_ = hertz > 0;
    hertz_ = keeps_ ? hertz : usual_;
    windows_.clear();
    lastTurns_ = 0;
    frames_ = 0;
}

void ToneJudge::judge(const float* stereo, bool counts, bool excused) {
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
        windows_.push_back({turns, quiet ? 1e9 : rest / amplitude, excused});
    }
    frames_ += kWindow;
    if (!counts) {
        run_ = 0;
        return;
    }
    if (quiet && run_ == 0 && excused) {
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

Sound ToneJudge::take() {
    return std::exchange(sound_, {});
}

std::vector<ToneJudge::Window> ToneJudge::takeWindows() {
    return std::exchange(windows_, {});
}

} // namespace ferrow::soak
