#include "modes/pilot_pll.hpp"

#include <algorithm>
#include <cmath>

namespace ferrow {

namespace {

constexpr double kPi = 3.1415927;
const double kPole1 = std::exp(-0.00093756908);
const double kPole2 = std::exp(-0.0043614143);
const double kA1 = -kPole1 - kPole2;
const double kA2 = kPole1 * kPole2;
const double kB0 = 1 + kA1 + kA2;
constexpr double kK1 = 0.00050723634;
const double kK2 = -0.000507236341945827 * std::exp(-0.000094329595);

} // namespace

double PilotPll::step(double x) {
    const double s = std::sin(phase_), c = std::cos(phase_);
    const std::complex<double> y = std::complex<double>(s, c) * (x * kB0) - y1_ * kA1 - y2_ * kA2;
    y2_ = y1_;
    y1_ = y;
    const double i = y.real(), q = y.imag();
    const double error = i > std::abs(q) ? q / i : q > 0 ? 1 : -1;
    frequency_ =
        std::clamp(kK2 * lastError_ + kK1 * error + frequency_, kCentre - kWidth / 2, kCentre + kWidth / 2);
    lastError_ = error;
    phase_ += frequency_;
    if (phase_ > 2 * kPi)
        phase_ -= 2 * kPi;
    return 2 * s * c;
}

} // namespace ferrow
