// Locks to the 19 kHz pilot of a broadcast multiplex.
#pragma once

#include <complex>

namespace ferrow {

// For samples at 384000 a second. A loop of second order, 13 Hz wide, behind a double pole at 0.06 and 0.27
// kHz; its frequency stays within 25 Hz of the pilot's own.
class PilotPll {
public:
    static constexpr double kCentre = 0.31088677; // radians a sample: 19 kHz
    static constexpr double kWidth = 0.00081812311;

    // Takes one sample. Returns the sine of the doubled phase, the stereo subcarrier, at this sample.
    double step(double x);

    double frequency() const noexcept { return frequency_; } // radians a sample

private:
    double phase_ = 0;
    double frequency_ = kCentre;
    std::complex<double> y1_, y2_;
    double lastError_ = 0;
};

} // namespace ferrow
