#include "host/resample.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ferrow {
namespace {

constexpr double kZeroes = 48; // of the sinc on either side, at the lower rate
constexpr double kBand = 0.95; // of half the lower rate: where the flank has its middle

double sinc(double x) {
    const double angle = std::numbers::pi * x;
    return std::abs(angle) < 1e-9 ? 1 : std::sin(angle) / angle;
}

} // namespace

std::vector<float> resample(std::span<const float> samples, int from, int to) {
    if (from == to)
        return {samples.begin(), samples.end()};
    const double step = static_cast<double>(from) / to;
    const double density = kBand * std::min(1.0, 1 / step); // zeroes of the sinc in an input sample
    const double reach = kZeroes / density;
    const auto count = static_cast<long long>(samples.size());
    std::vector<float> out(static_cast<std::size_t>(static_cast<double>(count) / step));
    for (std::size_t i = 0; i < out.size(); ++i) {
        const double at = static_cast<double>(i) * step;
        const auto begin = std::max(0LL, static_cast<long long>(std::ceil(at - reach)));
        const auto end = std::min(count - 1, static_cast<long long>(std::floor(at + reach)));
        double sum = 0;
        for (long long k = begin; k <= end; ++k) {
            const double away = static_cast<double>(k) - at;
            const double window = 0.5 + 0.5 * std::cos(std::numbers::pi * away / reach);
            sum += static_cast<double>(samples[static_cast<std::size_t>(k)]) * window * sinc(away * density);
        }
        out[i] = static_cast<float>(sum * density);
    }
    return out;
}

} // namespace ferrow
