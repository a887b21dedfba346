// What part of the decibels a waterfall shows.
#pragma once

#include <algorithm>
#include <span>
#include <vector>

namespace ferrow {

// Follows the noise: its middle level ends up near the dark end of the colours.
class LevelRange {
public:
    explicit LevelRange(double span = 50, double below = 8) : span_(span), below_(below) {}

    // Takes a line of dB into account; values without data do not count.
    void follow(std::span<const float> line, float nothing) {
        sorted_.clear();
        for (const float x : line)
            if (x > nothing + 1)
                sorted_.push_back(x);
        if (sorted_.empty())
            return;
        const auto middle = sorted_.begin() + static_cast<std::ptrdiff_t>(sorted_.size() / 2);
        std::nth_element(sorted_.begin(), middle, sorted_.end());
        noise_ = known_ ? noise_ + kShare * (*middle - noise_) : *middle;
        known_ = true;
    }

    // 0 at the bottom, 1 at the top.
    double level(double decibel) const { return (decibel - noise_ + below_) / span_; }
    double noise() const { return noise_; }

private:
    static constexpr double kShare = 0.1;

    double span_, below_; // dB
    double noise_ = 0;
    bool known_ = false;
    std::vector<float> sorted_;
};

} // namespace ferrow
