#include "trx/agc.hpp"

namespace ferrow {

buff<float> agc::process(buff<float> block, bool holdGain, bool applyVolume, float level) {
    const GainControlSettings settings{.attack = Attack.value(),
                                       .decay = Decay.value(),
                                       .hang = Hang.value(),
                                       .maxGain = MaxGain.value(),
                                       .volume = Volume.value(),
                                       .squelch = Squelch.value(),
                                       .manualGain = ManualGain.value(),
                                       .enabled = Enabled.value()};
    control_.process(block.span(), settings, holdGain, applyVolume, level);
    return block;
}

} // namespace ferrow
