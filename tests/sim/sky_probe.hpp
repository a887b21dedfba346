#pragma once
#include "sim/scene/build_sky.hpp"
#include "sim/sky/synth.hpp"

#include <cmath>
#include <complex>
#include <numbers>
#include <string>
#include <vector>

namespace ferrow::sim::testing {

using Samples = std::vector<std::complex<double>>;

struct Probe {
    double frequency = 0.0;
    int rate = 48000;
    int adc = 0;
    double gainDb = 0.0;
    double clockPpm = 0.0;
    double utcOfZero = 0.0;
    std::int64_t firstBlock = 0;
};

/// What one receiver gets from a scene, `seconds` long, in the wire convention.
inline Samples listen(const std::string& sceneText, const Probe& probe, double seconds) {
    const BuiltScene built = buildSky(parseScene(sceneText, std::string(FERROW_SOURCE_DIR) + "/sim/assets"));
    Synth synth(built.sky, probe.clockPpm);
    synth.configure(1, probe.rate);
    const SkyTime time{probe.utcOfZero, kBaseRate * (1.0 + probe.clockPpm * 1e-6)};
    const ReceiverSetting setting{probe.frequency, probe.adc};
    Samples out;
    const auto wanted = static_cast<std::size_t>(seconds * probe.rate);
    for (std::int64_t block = probe.firstBlock; out.size() < wanted; ++block) {
        synth.makeBlock(time, block, {&setting, 1}, probe.gainDb);
        for (const Cfloat& x : synth.samples(0))
            out.emplace_back(x);
    }
    out.resize(wanted);
    return out;
}

/// Amplitude of the component at `hz` (either sign), by correlation under a Hann window.
inline double amplitudeAt(const Samples& x, double hz, double rate, std::size_t first = 0,
                          std::size_t count = 0) {
    if (count == 0)
        count = x.size() - first;
    std::complex<double> sum = 0.0;
    double weight = 0.0;
    for (std::size_t i = 0; i < count; ++i) {
        const double w = 0.5 - 0.5 * std::cos(2.0 * std::numbers::pi * (static_cast<double>(i) + 0.5) /
                                              static_cast<double>(count));
        sum +=
            w * x[first + i] * std::polar(1.0, -2.0 * std::numbers::pi * hz / rate * static_cast<double>(i));
        weight += w;
    }
    return std::abs(sum) / weight;
}

inline double meanPower(const Samples& x) {
    double sum = 0.0;
    for (const auto& v : x)
        sum += std::norm(v);
    return sum / static_cast<double>(x.size());
}

inline double dbOfAmplitude(double a) {
    return 20.0 * std::log10(std::max(a, 1e-30));
}

/// Frequency from the mean turn between neighbours a quarter second apart; needs a clean carrier within 1 Hz
/// of `nearHz`.
inline double frequencyOf(const Samples& x, double rate, double nearHz) {
    const auto lag = static_cast<std::size_t>(rate / 4.0);
    std::complex<double> turn = 0.0;
    for (std::size_t i = 0; i + lag < x.size(); ++i)
        turn += x[i + lag] * std::conj(x[i]);
    const double expected = nearHz * static_cast<double>(lag) / rate;
    const double got = std::arg(turn) / (2.0 * std::numbers::pi);
    return (got + std::round(expected - got)) * rate / static_cast<double>(lag);
}

} // namespace ferrow::sim::testing
