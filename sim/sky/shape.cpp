#include "sim/sky/shape.hpp"

#include "sim/sky/fourier.hpp"
#include "sim/sky/synth.hpp"

#include <cmath>
#include <numbers>

namespace ferrow::sim {
namespace {

double besselI0(double x) {
    double sum = 1.0;
    double term = 1.0;
    for (int k = 1; k < 60; ++k) {
        term *= (x / (2.0 * k)) * (x / (2.0 * k));
        sum += term;
    }
    return sum;
}

} // namespace

std::vector<float> lowPassShape(double cutoffHz, int bins) {
    constexpr double kBeta = 11.1; // 110 dB by Kaiser's rule, 0.1102 (A - 8.7)
    int factor = 4;
    while (factor * Synth::kHop < bins || factor * kBaseRate < 4.0 * cutoffHz)
        factor *= 2;
    const int length = factor * Synth::kTransform;
    const int reach = factor * Synth::kHop / 2;
    const double cut = cutoffHz / (kBaseRate * factor);
    Fourier transform(length, Fourier::Direction::Forward);
    auto h = transform.data();
    std::fill(h.begin(), h.end(), Cfloat{});
    for (int n = -reach; n <= reach; ++n) {
        const double t = static_cast<double>(n) / reach;
        const double window = besselI0(kBeta * std::sqrt(1.0 - t * t)) / besselI0(kBeta);
        const double ideal =
            n == 0 ? 2.0 * cut : std::sin(2.0 * std::numbers::pi * cut * n) / (std::numbers::pi * n);
        h[static_cast<std::size_t>((n + length) % length)] = {static_cast<float>(window * ideal), 0.0f};
    }
    transform.run();
    std::vector<float> shape(static_cast<std::size_t>(bins));
    for (std::size_t k = 0; k < shape.size(); ++k)
        shape[k] = k < h.size() / 2 ? h[k].real() : 0.0f;
    return shape;
}

} // namespace ferrow::sim
