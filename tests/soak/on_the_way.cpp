#include "tests/soak/on_the_way.hpp"

#include <algorithm>
#include <cmath>

namespace ferrow::soak {
namespace {

constexpr double kJump = 12;       // frames between two windows of 20 ms; the control makes 3 at most
constexpr double kDisturbed = 0.3; // share of what is not the tone
constexpr int kWindowsPerSecond = ToneJudge::kRate / ToneJudge::kWindow;

} // namespace

void OnTheWay::take(const std::vector<ToneJudge::Window>& windows, bool settled) {
    for (const ToneJudge::Window& window : windows) {
        const double frames =
            1e-6 * ppm_ * static_cast<double>(played_) - window.turns * framesPerTurn_ - taken_;
        played_ += ToneJudge::kWindow;
        double step = windows_ > 0 ? frames - last_ : 0;
        last_ = frames;
        if (!settled)
            continue;
        if (std::abs(step) > kJump) {
            ++(window.excused ? excusedJumps : jumps);
            if (window.excused) {
                taken_ += step;
                last_ -= step;
            }
        }
        if (window.rest > kDisturbed)
            ++(window.excused ? excusedDisturbed : disturbed);
        sum_ += last_;
        if (++windows_ % kWindowsPerSecond == 0) {
            seconds_.push_back(sum_ / kWindowsPerSecond);
            sum_ = 0;
        }
    }
}

OnTheWay::Line OnTheWay::line() const {
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
        line.farthest =
            std::max(line.farthest, std::abs(seconds_[i] - mean - slope * (static_cast<double>(i) - middle)));
    line.ppm = slope / ToneJudge::kRate * 1e6;
    return line;
}

} // namespace ferrow::soak
