// RF gain in decibels to the codes of the boards, and the factor that takes it out of the samples again.
#pragma once

#include <cstdint>

namespace ferrow {

struct GainCodes {
    bool extraGain = false;     // bank 0
    std::uint8_t gainCode = 26; // bank 10
};

// `gain` and `minRxRFGain` in dB. `extraGain` is only touched by the rule of the first Hermes-Lite; otherwise
// the value in `previous` stays.
GainCodes gainCodes(int gain, int minRxRFGain, bool hliteGain, bool hlite2Gain, GainCodes previous);

// 10 to the power −gain / 20.
double undoGain(int gain);

} // namespace ferrow
