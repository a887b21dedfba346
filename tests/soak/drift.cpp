#include "tests/soak/drift.hpp"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

namespace ferrow::soak {
namespace {

constexpr double kSettled = 90; // seconds: four time constants of the control
constexpr double kMostFrames = 256;
constexpr double kJump = 12;       // frames between two windows of 20 ms; the control makes 3 at most
constexpr double kDisturbed = 0.3; // share of what is not the tone
constexpr int kWindowsPerSecond = SoundMonitor::kRate / SoundMonitor::kWindow;

// Frames on the way, of which only changes are known: the radio has made (1 + ppm) a frame of the sink's
// clock, and the tone's phase tells how many have been played.
class OnTheWay {
public:
    OnTheWay(double ppm, double hertz) : ppm_(ppm), framesPerTurn_(SoundMonitor::kRate / hertz) {}

    void take(const std::vector<SoundMonitor::Window>& windows, bool settled) {
        for (const SoundMonitor::Window& window : windows) {
            const double frames = 1e-6 * ppm_ * static_cast<double>(played_) - window.turns * framesPerTurn_;
            played_ += SoundMonitor::kWindow;
            if (settled) {
                jumps += windows_ > 0 && std::abs(frames - last_) > kJump ? 1 : 0;
                disturbed += window.rest > kDisturbed ? 1 : 0;
                sum_ += frames;
                if (++windows_ % kWindowsPerSecond == 0) {
                    seconds_.push_back(sum_ / kWindowsPerSecond);
                    sum_ = 0;
                }
            }
            last_ = frames;
        }
    }

    struct Line {
        double ppm = 0, farthest = 0; // slope, and the farthest second beside the line, frames
        std::size_t seconds = 0;
    };
    Line line() const {
        Line line{.seconds = seconds_.size()};
        const double n = static_cast<double>(seconds_.size()), middle = (n - 1) / 2;
        double mean = 0, product = 0, square = 0;
        for (const double frames : seconds_)
            mean += frames / n;
        for (std::size_t i = 0; i < seconds_.size(); ++i) {
            const double x = static_cast<double>(i) - middle;
            product += x * (seconds_[i] - mean);
            square += x * x;
        }
        const double slope = square > 0 ? product / square : 0;
        for (std::size_t i = 0; i < seconds_.size(); ++i)
            line.farthest = std::max(
                line.farthest, std::abs(seconds_[i] - mean - slope * (static_cast<double>(i) - middle)));
        line.ppm = slope / SoundMonitor::kRate * 1e6;
        return line;
    }

    int jumps = 0, disturbed = 0;

private:
    double ppm_, framesPerTurn_;
    long long played_ = 0;
    long long windows_ = 0;
    double last_ = 0, sum_ = 0;
    std::vector<double> seconds_;
};

} // namespace

void runDrift(Soak& soak, const Plan& plan, Verdict& verdict, nlohmann::json& report) {
    auto& all = report["drift"] = nlohmann::json::array();
    for (const Phase& phase : plan.phases) {
        // The exact tone depends on the phase's clock.
        const double carrier = static_cast<double>(kCarrier) / (1 + phase.clockPpm * 1e-6);
        const double hertz = carrier - static_cast<double>(static_cast<long long>(carrier) - kTone);
        OnTheWay way(phase.clockPpm, hertz);
        const double settling = std::min(kSettled, phase.seconds / 2);
        soak.monitor().follow(hertz);
        soak.runPhase(phase, [&] { way.take(soak.monitor().takeWindows(), soak.secondsIn() > settling); });
        soak.monitor().follow(0);
        const OnTheWay::Line line = way.line();
        all.push_back({{"phase", phase.name},
                       {"ppm", phase.clockPpm},
                       {"settling_s", settling},
                       {"seconds", line.seconds},
                       {"jumps", way.jumps},
                       {"disturbed_windows", way.disturbed},
                       {"farthest_frames", line.farthest},
                       {"slope_ppm", line.ppm}});
        const auto heard = fmt::format("{} in {} s", way.jumps, line.seconds);
        verdict.add(phase.name + ": jumps of the sound", way.jumps == 0 && line.seconds > 0, heard, "0");
        verdict.add(phase.name + ": disturbed windows", way.disturbed == 0, std::to_string(way.disturbed),
                    "0");
        verdict.add(phase.name + ": frames on the way", line.farthest <= kMostFrames,
                    fmt::format("within {:.1f} of a line of {:+.3f} ppm", line.farthest, line.ppm),
                    fmt::format("{:.0f}", kMostFrames));
        verdict.add(phase.name + ": slope of that line", std::abs(line.ppm) < 3 || settling < kSettled,
                    fmt::format("{:+.3f} ppm", line.ppm), "3 ppm, once settled");
    }
}

} // namespace ferrow::soak
