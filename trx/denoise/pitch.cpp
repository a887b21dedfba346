#include "trx/denoise/pitch.hpp"

#include "trx/denoise/inner_product.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

namespace ferrow::denoise {

namespace {

constexpr int kMinPeriod = 60;
constexpr int kSearchedFrom = 3 * kMinPeriod; // shorter periods are found as fractions

// At half the rate.
constexpr int kHalfBuffer = PITCH_BUF_SIZE / 2, kHalfFrame = PITCH_FRAME_SIZE / 2;
constexpr int kHalfMax = PITCH_MAX_PERIOD / 2, kHalfMin = kMinPeriod / 2;
constexpr int kHalfOffsets = (PITCH_MAX_PERIOD - kSearchedFrom) / 2;

// At a quarter of it.
constexpr int kQuarterBuffer = kHalfBuffer / 2, kQuarterFrame = kHalfFrame / 2;
constexpr int kQuarterOffsets = kHalfOffsets / 2;

constexpr int kOrder = 4;       // of the short-term prediction
constexpr float kFloor = 1e-3f; // of an energy to divide by
constexpr int kMostFractions = 15;

void halve(std::span<const float, PITCH_BUF_SIZE> in, float* out) {
    out[0] = 0.5f * in[0] + 0.25f * in[1];
    for (std::size_t i = 1; i < kHalfBuffer; ++i)
        out[i] = 0.25f * (in[2 * i - 1] + in[2 * i + 1]) + 0.5f * in[2 * i];
}

// Coefficients a of the prediction sum of a[k] x[n - 1 - k], by Levinson's and Durbin's recursion.
std::array<float, kOrder> predict(const std::array<float, kOrder + 1>& correlation) {
    std::array<float, kOrder> a{};
    float error = correlation[0];
    if (!(error > 0))
        return a;
    for (std::size_t m = 0; m < kOrder; ++m) {
        float reflection = correlation[m + 1];
        for (std::size_t k = 0; k < m; ++k)
            reflection -= a[k] * correlation[m - k];
        reflection /= error;
        const auto before = a;
        a[m] = reflection;
        for (std::size_t k = 0; k < m; ++k)
            a[k] = before[k] - reflection * before[m - 1 - k];
        error *= 1 - reflection * reflection;
        if (error < 1e-3f * correlation[0])
            break;
    }
    return a;
}

// Takes formants and tilt away, so that the correlation sees the excitation: the prediction error's filter
// with its zeros drawn inward, and one more zero against what is left of the tilt.
void flatten(float* x) {
    std::array<float, kOrder + 1> correlation;
    for (int k = 0; k <= kOrder; ++k) {
        const float lag = 0.008f * static_cast<float>(k);
        correlation[static_cast<std::size_t>(k)] =
            innerProduct(x, x + k, kHalfBuffer - k) * (k == 0 ? 1.0001f : 1 - lag * lag);
    }
    const auto a = predict(correlation);
    std::array<float, kOrder + 2> taps{1};
    float inward = 1;
    for (std::size_t k = 0; k < kOrder; ++k) {
        inward *= 0.9f;
        taps[k + 1] = -a[k] * inward;
    }
    for (std::size_t k = taps.size() - 1; k > 0; --k)
        taps[k] += 0.8f * taps[k - 1];
    for (int n = kHalfBuffer - 1; n >= 0; --n) {
        float sum = 0;
        for (int k = 0; k <= std::min(n, kOrder + 1); ++k)
            sum += taps[static_cast<std::size_t>(k)] * x[n - k];
        x[n] = sum;
    }
}

// How well the signal at an offset resembles the frame, by correlation c and energy e; 0 where it is opposed.
float likeness(float c, float e) {
    return c > 0 ? c * c / (e + kFloor) : 0;
}

// The two offsets of greatest likeness at a quarter of the rate.
std::array<int, 2> searchCoarsely(const float* half) {
    std::array<float, kQuarterBuffer> x;
    for (std::size_t i = 0; i < x.size(); ++i)
        x[i] = half[2 * i];
    const float* frame = x.data() + kQuarterBuffer - kQuarterFrame;
    float energy = innerProduct(x.data(), x.data(), kQuarterFrame);
    std::array<int, 2> best{0, 0};
    std::array<float, 2> bestLikeness{-1, -1};
    for (int offset = 0; offset < kQuarterOffsets; ++offset) {
        const float value =
            likeness(innerProduct(frame, x.data() + offset, kQuarterFrame), std::max(energy, 0.0f));
        if (value > bestLikeness[0]) {
            best = {offset, best[0]};
            bestLikeness = {value, bestLikeness[0]};
        } else if (value > bestLikeness[1]) {
            best[1] = offset;
            bestLikeness[1] = value;
        }
        const float leaves = x[static_cast<std::size_t>(offset)];
        const float enters = x[static_cast<std::size_t>(offset + kQuarterFrame)];
        energy += enters * enters - leaves * leaves;
    }
    return best;
}

// Correlations at half the rate.
class HalfRate {
public:
    explicit HalfRate(const float* x)
        : frame_(x + kHalfMax), energy_(innerProduct(frame_, frame_, kHalfFrame)) {}

    float correlation(int period) const { return innerProduct(frame_, frame_ - period, kHalfFrame); }
    float likenessAt(int period) const { return likeness(correlation(period), energyAt(period)); }

    // Correlation over the two energies' geometric mean, of one period or of two together.
    float gainAt(int period) const {
        return correlation(period) / std::sqrt(energy_ * energyAt(period) + kFloor);
    }
    float gainAt(int one, int other) const {
        return (correlation(one) + correlation(other)) /
               std::sqrt(2 * energy_ * (energyAt(one) + energyAt(other)) + kFloor);
    }

private:
    float energyAt(int period) const {
        const float* begin = frame_ - period;
        return innerProduct(begin, begin, kHalfFrame);
    }

    const float* frame_;
    float energy_;
};

// The best period within two of either candidate, as a period at half the rate.
int searchFinely(const HalfRate& signal, const std::array<int, 2>& candidates) {
    int best = kHalfMax;
    float bestLikeness = -1;
    for (int offset = 0; offset < kHalfOffsets; ++offset) {
        if (std::abs(offset - 2 * candidates[0]) > 2 && std::abs(offset - 2 * candidates[1]) > 2)
            continue;
        const float value = signal.likenessAt(kHalfMax - offset);
        if (value > bestLikeness) {
            best = kHalfMax - offset;
            bestLikeness = value;
        }
    }
    return best;
}

// What gain a fraction must have beside the longer period's. Short periods are rare, and by chance alone some
// fraction always repeats a little; the last frame's period speaks for itself.
float neededGain(int period, float gain, const Pitch& last) {
    const float shortness =
        std::clamp(2 - static_cast<float>(period) / (1.5f * static_cast<float>(kHalfMin)), 0.0f, 1.0f);
    const int away = std::abs(period - last.period / 2);
    const float bonus = away <= 1 ? last.gain : away == 2 ? 0.5f * last.gain : 0.0f;
    return std::max(0.3f + 0.2f * shortness, (0.75f + 0.15f * shortness) * gain - bonus);
}

// Rounded quotient of positive numbers.
int nearest(int numerator, int denominator) {
    return (2 * numerator + denominator) / (2 * denominator);
}

// A second multiple of longer / fraction at which a true period repeats and the longer one does not: the
// least one without a common divisor.
int companion(int longer, int fraction) {
    int multiple = 2;
    while (std::gcd(multiple, fraction) != 1)
        ++multiple;
    const int period = nearest(multiple * longer, fraction);
    return period <= kHalfMax ? period : longer;
}

// How far the correlation's peak lies from `period`, as the vertex of a parabola; -1, 0 or 1 at the full
// rate.
int lean(const HalfRate& signal, int period) {
    if (period <= kHalfMin || period >= kHalfMax)
        return 0;
    const float below = signal.correlation(period - 1), at = signal.correlation(period),
                above = signal.correlation(period + 1);
    const float curvature = below - 2 * at + above;
    if (!(curvature < 0))
        return 0;
    const float vertex = (below - above) / curvature; // in samples of the full rate
    return vertex > 0.5f ? 1 : vertex < -0.5f ? -1 : 0;
}

} // namespace

Pitch findPitch(std::span<const float, PITCH_BUF_SIZE> signal, std::span<float, PITCH_BUF_SIZE> scratch,
                const Pitch& last) {
    float* half = scratch.data();
    halve(signal, half);
    flatten(half);
    const HalfRate rate(half);
    const int longer = searchFinely(rate, searchCoarsely(half));
    const float longerGain = rate.gainAt(longer);
    int period = longer;
    float gain = longerGain;
    for (int fraction = 2; fraction <= kMostFractions; ++fraction) {
        const int shorter = nearest(longer, fraction);
        if (shorter < kHalfMin)
            break;
        const float both = rate.gainAt(shorter, companion(longer, fraction));
        if (both > neededGain(shorter, longerGain, last)) {
            period = shorter;
            gain = both;
        }
    }
    return {std::clamp(2 * period + lean(rate, period), kMinPeriod, PITCH_MAX_PERIOD),
            std::clamp(gain, 0.0f, 1.0f)};
}

} // namespace ferrow::denoise
