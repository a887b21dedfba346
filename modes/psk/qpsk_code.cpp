#include "modes/psk/qpsk_code.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ferrow {

const std::array<std::uint8_t, kQpskBranches> kQpskSymbols = {2, 1, 3, 0, 3, 0, 2, 1, 0, 3, 1, 2, 1, 2, 0, 3,
                                                              1, 2, 0, 3, 0, 3, 1, 2, 3, 0, 2, 1, 2, 1, 3, 0};

namespace {

constexpr double kPi = std::numbers::pi;

// Angles of the four symbols, by which half of the circle the received angle lies in. With the last two
// entries the other way round, as this list is sometimes given, a reversal would be taken for a step of minus
// 90 degrees and no published QPSK31 signal could be read.
constexpr double kLowAngles[] = {3 * kPi / 2, 0, kPi / 2, kPi};
constexpr double kHighAngles[] = {3 * kPi / 2, 2 * kPi, kPi / 2, kPi};

} // namespace

void QpskDecoder::reset() noexcept {
    metrics_.fill(0);
    paths_.fill(0);
    for (int i = 0; i <= kQpskDelay; ++i)
        decode(3 * kPi / 2);
}

bool QpskDecoder::decode(double angle) noexcept {
    const double* angles = angle < kPi ? kLowAngles : kHighAngles;
    double distances[4];
    for (int symbol = 0; symbol < 4; ++symbol)
        distances[symbol] = std::abs(angle - angles[symbol]);
    std::array<double, kQpskStates> metrics;
    std::array<std::uint32_t, kQpskStates> paths;
    for (unsigned state = 0; state < kQpskStates; ++state) {
        const unsigned low = state, high = state + kQpskStates; // the two branches into it
        const double lowMetric = distances[kQpskSymbols[low]] + metrics_[low / 2];
        const double highMetric = distances[kQpskSymbols[high]] + metrics_[high / 2];
        const unsigned branch = lowMetric > highMetric ? high : low;
        metrics[state] = std::min(lowMetric, highMetric);
        paths[state] = paths_[branch / 2] << 1 | (branch & 1);
    }
    const double lowest = *std::min_element(metrics.begin(), metrics.end());
    int votes = 0;
    for (unsigned state = 0; state < kQpskStates; ++state) {
        metrics_[state] = metrics[state] - lowest;
        paths_[state] = paths[state];
        votes += static_cast<int>(paths[state] >> kQpskDelay & 1);
    }
    if (votes != kQpskStates / 2)
        return votes > kQpskStates / 2;
    dice_ = dice_ * 1664525 + 1013904223; // the usual linear congruence; its top bit is the fairest
    return dice_ >> 31 != 0;
}

} // namespace ferrow
