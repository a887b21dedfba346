#include "radios/hpsdr/gain_rule.hpp"

#include <cmath>

namespace ferrow {

GainCodes gainCodes(int gain, int minRxRFGain, bool hliteGain, bool hlite2Gain, GainCodes previous) {
    GainCodes codes = previous;
    if (hlite2Gain) {
        codes.gainCode = static_cast<std::uint8_t>(gain - minRxRFGain);
        return codes;
    }
    const int attenuation = minRxRFGain - gain + 63;
    if (hliteGain)
        codes.extraGain = attenuation >= 32;
    codes.gainCode = static_cast<std::uint8_t>(attenuation % 32);
    return codes;
}

double undoGain(int gain) {
    return 1.0 / std::pow(10.0, gain / 20.0);
}

} // namespace ferrow
