// A tone by rotation, for blocks at 48000 samples a second.
#pragma once

#include <cmath>
#include <complex>
#include <numbers>

namespace ferrow {

// Its phase goes on when the frequency changes.
class ToneOscillator {
public:
    void tune(float frequency) { // Hz
        const double angle = 2 * std::numbers::pi * frequency / 48000;
        step_ = {std::cos(angle), -std::sin(angle)};
    }

    std::complex<double> next() {
        const auto now = value_;
        value_ *= step_;
        return now;
    }

    // Undoes what rounding does to the amplitude; once a block.
    void normalise() { value_ /= std::abs(value_); }

private:
    std::complex<double> value_{1, 0}, step_{1, 0};
};

} // namespace ferrow
