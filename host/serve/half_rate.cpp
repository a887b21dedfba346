#include "host/serve/half_rate.hpp"

#include <cmath>
#include <numbers>

namespace ferrow::serve {
namespace {

constexpr double kEdge = 12000.0 / 48000; // middle of the flank, in parts of the rate
constexpr double kBeta = 6.8;             // of Kaiser's window

// The modified Bessel function of the first kind and order 0, by its series.
double bessel(double x) {
    double sum = 1, term = 1;
    for (int k = 1; k < 40; ++k) {
        term *= x / (2 * k) * (x / (2 * k));
        sum += term;
    }
    return sum;
}

std::array<float, HalfRate::kTaps> design() {
    std::array<double, HalfRate::kTaps> taps{};
    const double middle = (HalfRate::kTaps - 1) / 2.0;
    double sum = 0;
    for (std::size_t i = 0; i < taps.size(); ++i) {
        const double t = static_cast<double>(i) - middle, part = t / (middle + 0.5);
        const double window = bessel(kBeta * std::sqrt(1 - part * part)) / bessel(kBeta);
        taps[i] = std::sin(2 * std::numbers::pi * kEdge * t) / (std::numbers::pi * t) * window;
        sum += taps[i];
    }
    std::array<float, HalfRate::kTaps> scaled{};
    for (std::size_t i = 0; i < taps.size(); ++i)
        scaled[i] = static_cast<float>(taps[i] / sum);
    return scaled;
}

} // namespace

void HalfRate::process(std::span<const float> in, std::vector<float>& out) {
    static const std::array<float, kTaps> taps = design();
    for (const float sample : in) {
        line_[place_] = line_[place_ + kTaps] = sample;
        place_ = (place_ + 1) % kTaps;
        odd_ = !odd_;
        if (odd_)
            continue;
        float sum = 0;
        for (std::size_t i = 0; i < kTaps; ++i) // the taps are symmetric: no order to mind
            sum += line_[place_ + i] * taps[i];
        out.push_back(sum);
    }
}

} // namespace ferrow::serve
