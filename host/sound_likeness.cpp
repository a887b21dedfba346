#include "host/sound_likeness.hpp"

#include "host/arrays.hpp"
#include "host/failure.hpp"

#include <algorithm>
#include <bit>
#include <cmath>
#include <complex>
#include <numbers>

namespace ferrow {
namespace {

using Complex = std::complex<double>;
using Series = std::vector<Complex>;

constexpr int kRate = 12000, kRecordingRate = 48000;
constexpr int kFactor = kRecordingRate / kRate;
constexpr double kFilterSeconds = 0.04;
constexpr double kMostSeconds = 12, kLeastSeconds = 1;
constexpr int kFineSteps = 20; // to either side of a sample

// One-sided band pass, to be multiplied with samples in rising order: what comes out has positive frequencies
// only.
Series bandPass(double low, double high, int rate) {
    const int taps = static_cast<int>(kFilterSeconds * rate) | 1;
    Series filter(static_cast<std::size_t>(taps));
    const double half = (high - low) / 2 / rate, centre = (high + low) / 2 / rate;
    for (int i = 0; i < taps; ++i) {
        const double t = i - (taps - 1) / 2.0, x = 2 * std::numbers::pi * i / (taps - 1);
        const double window = 0.42 - 0.5 * std::cos(x) + 0.08 * std::cos(2 * x);
        const double ideal =
            t == 0 ? 2 * half : std::sin(2 * std::numbers::pi * half * t) / (std::numbers::pi * t);
        filter[static_cast<std::size_t>(i)] = std::polar(ideal * window, -2 * std::numbers::pi * centre * t);
    }
    return filter;
}

Series filterRecording(std::span<const float> recording, double low, double high) {
    const Series filter = bandPass(low, high, kRecordingRate);
    Series out;
    const auto most = static_cast<std::size_t>(kMostSeconds * kRate);
    for (std::size_t at = 0; at + filter.size() <= recording.size() && out.size() < most; at += kFactor) {
        Complex sum = 0;
        for (std::size_t i = 0; i < filter.size(); ++i)
            sum += filter[i] * static_cast<double>(recording[at + i]);
        out.push_back(sum);
    }
    return out;
}

Series filterLoop(const std::vector<float>& loop, double low, double high) {
    const Series filter = bandPass(low, high, kRate);
    Series out(loop.size());
    for (std::size_t at = 0; at < loop.size(); ++at)
        for (std::size_t i = 0; i < filter.size(); ++i)
            out[at] += filter[i] * static_cast<double>(loop[(at + i) % loop.size()]);
    return out;
}

} // namespace

Likeness compareWithLoop(std::span<const float> recording, const Sound& loop, double low, double high,
                         bool anyPhase) {
    if (loop.rate != kRate)
        throw Failure("the sound to compare with must have 12000 samples a second");
    const Series heard = filterRecording(recording, low, high);
    const std::size_t m = heard.size(), period = loop.samples.size();
    if (static_cast<double>(m) < kLeastSeconds * kRate || period == 0)
        return {};
    const Series sent = filterLoop(loop.samples, low, high);

    // Cross correlation at all shifts at once.
    const std::size_t n = std::bit_ceil(period + m);
    ComplexSeries a(n), b(n);
    for (std::size_t i = 0; i < period + m; ++i)
        a[i] = sent[i % period];
    for (std::size_t i = 0; i < m; ++i)
        b[i] = heard[i];
    a.forward();
    b.forward();
    for (std::size_t k = 0; k < n; ++k)
        b[k] = a[k] * std::conj(b[k]) / static_cast<double>(n);
    for (std::size_t k = 0; k < n; ++k)
        a[k] = b[k];
    a.reverse();

    std::vector<double> energy(period + m + 1); // of what was sent, up to a place
    for (std::size_t i = 0; i < period + m; ++i)
        energy[i + 1] = energy[i] + std::norm(sent[i % period]);
    double heardEnergy = 0;
    for (const Complex& x : heard)
        heardEnergy += std::norm(x);
    const auto scale = [&](std::size_t shift) {
        const double product = (energy[shift + m] - energy[shift]) * heardEnergy;
        return product > 0 ? 1 / std::sqrt(product) : 0.0;
    };
    const auto part = [&](const Complex& value) { return anyPhase ? std::abs(value) : value.real(); };
    std::size_t best = 0;
    for (std::size_t shift = 0; shift < period; ++shift)
        if (part(a[shift]) * scale(shift) > part(a[best]) * scale(best))
            best = shift;

    // The true shift lies between samples.
    Likeness likeness{0, 0, static_cast<double>(m) / kRate};
    const auto first = static_cast<std::size_t>(0.5 * low / kRate * static_cast<double>(n));
    const auto last = std::min(n / 2, static_cast<std::size_t>(2 * high / kRate * static_cast<double>(n)));
    for (int fine = -kFineSteps; fine <= kFineSteps; ++fine) {
        const double shift = static_cast<double>(best) + static_cast<double>(fine) / kFineSteps;
        const double angle = 2 * std::numbers::pi * shift / static_cast<double>(n);
        const Complex turn = std::polar(1.0, angle);
        Complex phase = std::polar(1.0, angle * static_cast<double>(first)), sum = 0;
        for (std::size_t k = first; k < last; ++k) {
            sum += b[k] * phase;
            phase *= turn;
        }
        const double correlation = part(sum) * scale(best);
        if (correlation > likeness.correlation) {
            likeness.correlation = correlation;
            likeness.offset = shift / kRate;
        }
    }
    return likeness;
}

} // namespace ferrow
