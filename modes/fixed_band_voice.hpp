// Base of the voice modes whose transmitted band is fixed: AM and FM.
#pragma once

#include "modes/latest_value.hpp"
#include "modes/voice_chain.hpp"
#include "trx/dsp/overlap_filter.hpp"
#include "trx/mod_demod.hpp"

#include <atomic>
#include <cstdint>
#include <mutex>

namespace ferrow {

class Wireless;

// The microphone, equalised by the curve of Wireless, clipped and limited. A new curve is noticed on the
// transmit thread and worked out on the mode's context, so it is heard a few blocks later; at a press it is
// there at once.
class fixedBandVoice : public modDemod {
public:
    void init() override;
    void setPtt(bool on) override;

protected:
    // Gain before the curve at a frequency in Hz, from 300 up to 3000.
    using Emphasis = double (*)(double frequency);

    // The band lies from `low` to 3000 Hz. `curveLabel`: of the task that takes a new curve.
    fixedBandVoice(std::shared_ptr<syncTask> context, float low, Emphasis emphasis, const char* curveLabel);

    // The transmit thread: a block of 512 of the microphone to one of audio, an analytic signal of magnitude
    // 0.97 at most but for what the last filter adds. Valid until the next call; the caller may write to it.
    const VoiceChain::Samples& shape(const VoiceChain::Samples& in, double compression);

private:
    struct Equaliser {
        VoiceChain::Samples taps;
        std::weak_ptr<Wireless> source;
        std::uint64_t generation = 0;
    };

    void followCurve();
    VoiceChain::Samples equaliserTaps(const buff<float>& curve) const;
    bool curveChanged() const;

    const float low_;
    const Emphasis emphasis_;
    const char* const curveLabel_;

    std::mutex designing_; // of those that follow the curve; the next three are theirs
    bool designed_ = false;
    std::weak_ptr<Wireless> source_; // of the newest equaliser's curve
    std::uint64_t generation_ = 0;
    LatestValue<Equaliser> equaliser_; // to the transmit thread
    std::atomic<bool> asked_{false};   // a task that follows the curve is on its way

    VoiceChain chain_;
    overlapFilter shapeFilter_;
};

} // namespace ferrow
