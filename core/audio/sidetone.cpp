#include "core/audio/sidetone.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ferrow {

namespace {

constexpr float kPi = std::numbers::pi_v<float>;
constexpr float kSampleRate = 48000;
constexpr float kFullScale = 0.99f;

} // namespace

void SidetoneVoice::apply(const Sidetone& tone, float* out, std::size_t frames) noexcept {
    const bool key = tone.fromKey.load(std::memory_order_acquire);
    const bool mode = tone.fromMode.load(std::memory_order_acquire);
    if (key != keySeen_ || mode != modeSeen_)
        rampPos_ = 0;
    keySeen_ = key;
    modeSeen_ = mode;
    const bool on = key || mode;
    if (!on && rampPos_ >= kRamp)
        return;
    const float volume = tone.level.load(std::memory_order_acquire);
    const auto hertz =
        static_cast<float>(std::clamp(tone.frequency.load(std::memory_order_acquire), 0, 24000));
    const float step = 2 * kPi * hertz / kSampleRate;
    for (std::size_t i = 0; i < frames; ++i) {
        float share = 1;
        if (rampPos_ < kRamp) {
            share = 0.5f * std::cos(static_cast<float>(kRamp - rampPos_) * kPi / kRamp) + 0.5f;
            ++rampPos_;
        }
        if (!on)
            share = 1 - share;
        if (volume != 0)
            out[2 * i] = out[2 * i + 1] = std::sin(phase_) * share * volume * kFullScale;
        phase_ += step;
        if (phase_ > 2 * kPi)
            phase_ -= 2 * kPi;
    }
}

} // namespace ferrow
