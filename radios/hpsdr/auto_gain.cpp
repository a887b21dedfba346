#include "radios/hpsdr/auto_gain.hpp"

#include <algorithm>

namespace ferrow {

namespace {

constexpr int kStep = 6;

} // namespace

std::optional<int> AutoGain::step(bool overloaded, long long windowFrames, const AutoGainLimits& limits) {
    ++(overloaded ? overloadFrames : cleanFrames);
    const int frames = overloadFrames + cleanFrames;
    if (frames <= windowFrames)
        return std::nullopt;
    std::optional<int> changed;
    if (limits.rfAgcMode >= 1) {
        const int cap = std::min(limits.maxRxRFGain, 30);
        int gain = std::min(limits.rxGain / kStep * kStep, cap);
        const double share = static_cast<double>(overloadFrames) / frames;
        const double peak = static_cast<double>(adcPeakWindow) / std::max(limits.maxAdcValue, 1);
        if (share > 0.01)
            gain = std::max(gain - kStep, limits.minRxRFGain);
        else if (share < 0.002 && peak < 0.33)
            gain = std::min(gain + kStep, cap);
        if (gain != limits.rxGain)
            changed = gain;
    }
    overloadFrames = cleanFrames = adcPeakWindow = 0;
    return changed;
}

} // namespace ferrow
