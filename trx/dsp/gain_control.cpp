#include "trx/dsp/gain_control.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace ferrow {
namespace {

constexpr float kRate = 48000;
constexpr double kRestTarget = 200.0;
constexpr float kHeadroom = 1.2f;
constexpr float kSquelchOff = -180;

float clamped(float y) {
    return y < -1 ? -1.0f : y > 1 ? 1.0f : y;
}

void scaleClamped(std::span<float> block, float factor) {
    for (float& x : block)
        x = clamped(factor * x);
}

int samplesOf(float seconds) {
    const double samples = kRate * seconds;
    return samples > 0 ? static_cast<int>(std::min(samples, double{std::numeric_limits<int>::max()})) : 0;
}

float peakOf(std::span<const float> block) {
    float peak = 0;
    for (const float x : block)
        peak = std::max(peak, std::abs(x));
    return peak;
}

} // namespace

void GainControl::process(std::span<float> block, const GainControlSettings& settings, bool holdGain,
                          bool applyVolume, float level) {
    const float volume = applyVolume ? settings.volume : 1.0f;
    if (!settings.enabled) {
        scaleClamped(block, std::pow(10.0f, static_cast<float>(settings.manualGain)) * volume);
    } else if (settings.squelch > kSquelchOff) {
        const bool open = !(settings.squelch > level);
        for (float& x : block)
            x = open ? volume * x : 0.0f;
    } else if (holdGain) {
        scaleClamped(block, static_cast<float>(volume * gain));
    } else {
        follow(block, settings, volume);
    }
}

void GainControl::follow(std::span<float> block, const GainControlSettings& settings, float volume) {
    const float attack = std::exp(-1 / (kRate * settings.attack));
    const float decay = std::exp(-1 / (kRate * settings.decay));
    const double most = std::pow(10.0, settings.maxGain / 20.0);
    if (fixedAtMaxGain) {
        scaleClamped(block, static_cast<float>(volume * most));
        return;
    }
    const float peak = peakOf(block);
    const float target = peak > 0 ? 1 / (peak * kHeadroom) : static_cast<float>(kRestTarget);
    const float attackPart = (1 - attack) * target;
    const float decayPart = (1 - decay) * target;
    const int hangSamples = samplesOf(settings.hang);
    for (float& x : block) {
        if (gain > target) {
            hangCount = hangSamples;
            gain = attack * gain + attackPart;
        } else if (hangCount > 0) {
            --hangCount;
        } else {
            gain = decay * gain + decayPart;
        }
        gain = std::min(most, gain);
        x = clamped(static_cast<float>(volume * gain) * x);
    }
}

} // namespace ferrow
