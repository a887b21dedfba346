// The tone that a CW operator hears of the own keying, made in the device's callback: no block of delay.
#pragma once

#include <atomic>
#include <cstddef>

namespace ferrow {

// What the tone is to do. Any thread.
struct Sidetone {
    std::atomic<bool> fromKey{false};  // while the key path keys
    std::atomic<bool> fromMode{false}; // while queued text keys
    std::atomic<int> frequency{650};   // Hz; 0 to 24000, beyond counts as the nearest of them
    std::atomic<float> level{1.0f};    // of 0.99 full scale; 0 leaves what is received audible
};

// One opening's tone. The device's callback.
class SidetoneVoice {
public:
    static constexpr int kRamp = 255; // frames of a rise or fall, 5.3 ms

    // Replaces both channels of `frames` interleaved frames while the tone sounds or fades. A change of
    // either flag is seen once a call and starts a raised cosine from the beginning.
    void apply(const Sidetone& tone, float* out, std::size_t frames) noexcept;

private:
    bool keySeen_ = false, modeSeen_ = false;
    int rampPos_ = kRamp;
    float phase_ = 0; // radians
};

} // namespace ferrow
