#include "sim/sky/audio.hpp"

#include "sim/sky/fourier.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fmt/format.h>
#include <numbers>
#include <stdexcept>

namespace ferrow::sim {
namespace {

using std::numbers::pi;

double hertzOfBin(std::size_t bin, std::size_t length) {
    const double k =
        bin <= length / 2 ? static_cast<double>(bin) : static_cast<double>(bin) - static_cast<double>(length);
    return k * kBaseRate / static_cast<double>(length);
}

/// Transforms the loop, weighs every bin by `weight(Hz)` and transforms back.
template <typename Weight>
std::vector<Cfloat> weighSpectrum(const Audio& audio, Weight weight) {
    const auto length = static_cast<int>(audio.size());
    Fourier forward(length, Fourier::Direction::Forward);
    Fourier inverse(length, Fourier::Direction::Inverse);
    std::copy(audio.begin(), audio.end(), forward.data().begin());
    forward.run();
    for (std::size_t i = 0; i < audio.size(); ++i)
        inverse.data()[i] =
            forward.data()[i] * static_cast<float>(weight(hertzOfBin(i, audio.size())) / length);
    inverse.run();
    return {inverse.data().begin(), inverse.data().end()};
}

} // namespace

Audio makeTones(const std::vector<double>& hertz) {
    constexpr double kSeconds = 8.0;
    Audio audio(static_cast<std::size_t>(kSeconds * kBaseRate));
    for (const double f : hertz) {
        const double exact = std::round(f * kSeconds) / kSeconds;
        for (std::size_t i = 0; i < audio.size(); ++i)
            audio[i] += static_cast<float>(std::sin(2.0 * pi * exact * static_cast<double>(i) / kBaseRate));
    }
    normalise(audio);
    return audio;
}

Audio makeMelody(const std::vector<double>& notes, double beat) {
    const auto length = static_cast<std::size_t>(beat * kBaseRate);
    Audio audio(length * notes.size());
    for (std::size_t n = 0; n < notes.size(); ++n) {
        for (std::size_t i = 0; i < length && notes[n] > 0.0; ++i) {
            const double t = static_cast<double>(i) / kBaseRate;
            const double left = beat - t;
            const double envelope = std::min({t / 0.01, left / 0.02, 1.0}) * std::exp(-2.0 * t);
            const double turn = 2.0 * pi * notes[n] * t;
            audio[n * length + i] = static_cast<float>(
                envelope * (std::sin(turn) + 0.4 * std::sin(2.0 * turn) + 0.15 * std::sin(3.0 * turn)));
        }
    }
    normalise(audio);
    return audio;
}

void limitBand(Audio& audio, double low, double high) {
    constexpr double kEdge = 100.0;
    const auto pass = [](double x) { // 0 below -1/2, 1 above 1/2
        const double y = std::clamp(x + 0.5, 0.0, 1.0);
        return 0.5 - 0.5 * std::cos(pi * y);
    };
    const auto out = weighSpectrum(audio, [&](double hz) {
        const double f = std::abs(hz);
        return (low > 0.0 ? pass((f - low) / kEdge) : 1.0) * pass((high - f) / kEdge);
    });
    for (std::size_t i = 0; i < audio.size(); ++i)
        audio[i] = out[i].real();
}

std::vector<Cfloat> analyticSignal(const Audio& audio) {
    return weighSpectrum(audio, [](double hz) { return hz > 0.0 ? 2.0 : 0.0; });
}

void normalise(Audio& audio) {
    float largest = 0.0f;
    for (const float x : audio)
        largest = std::max(largest, std::abs(x));
    if (largest > 0.0f)
        for (float& x : audio)
            x /= largest;
}

} // namespace ferrow::sim
