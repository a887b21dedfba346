#include "sim/ft8/gfsk.hpp"

#include <cmath>
#include <numbers>

namespace ferrow::sim {

std::vector<Cfloat> modulateGfsk(const GfskForm& form, std::span<const int> tones) {
    using std::numbers::pi;
    const auto symbol = static_cast<std::size_t>(form.samplesPerSymbol);
    std::vector<int> sent(tones.begin(), tones.end());
    if (form.rampSymbols) {
        sent.insert(sent.begin(), 0);
        sent.push_back(0);
    }

    // one pulse reaches over three symbols
    std::vector<double> pulse(3 * symbol);
    const double k = pi * std::sqrt(2.0 / std::numbers::ln2) * form.bandwidthTime;
    for (std::size_t i = 0; i < pulse.size(); ++i) {
        const double t = (static_cast<double>(i) + 0.5) / static_cast<double>(symbol) - 1.5;
        pulse[i] = 0.5 * (std::erf(k * (t + 0.5)) - std::erf(k * (t - 0.5)));
    }

    // tone over time in units of the spacing; the first and last tone go on beyond the ends
    const std::size_t count = sent.size();
    std::vector<double> tone((count + 2) * symbol);
    for (std::size_t s = 0; s < count + 2; ++s) {
        const int value = sent[s == 0 ? 0 : std::min(s - 1, count - 1)];
        for (std::size_t i = 0; i < pulse.size(); ++i) {
            const std::size_t at = s * symbol + i;
            if (at >= symbol && at - symbol < tone.size())
                tone[at - symbol] += value * pulse[i];
        }
    }

    std::vector<Cfloat> wave(count * symbol);
    double phase = 0.0;
    for (std::size_t i = 0; i < wave.size(); ++i) {
        wave[i] = {static_cast<float>(std::cos(phase)), static_cast<float>(std::sin(phase))};
        phase = std::fmod(phase + 2.0 * pi * tone[i + symbol] / static_cast<double>(symbol), 2.0 * pi);
    }
    const std::size_t ramp = form.rampSymbols ? symbol : symbol / 8;
    for (std::size_t i = 0; i < ramp; ++i) {
        const auto rise =
            static_cast<float>(0.5 - 0.5 * std::cos(pi * static_cast<double>(i) / static_cast<double>(ramp)));
        wave[i] *= rise;
        wave[wave.size() - 1 - i] *= rise;
    }
    return wave;
}

} // namespace ferrow::sim
