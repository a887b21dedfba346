// Automatic RF gain in steps of 6 dB, from the share of frames with an overloaded ADC.
#pragma once

#include <optional>

namespace ferrow {

struct AutoGainLimits {
    int rfAgcMode = 0; // 0: off
    int rxGain = 0;
    int minRxRFGain = 0;
    int maxRxRFGain = 0;
    int maxAdcValue = 2048;
};

class AutoGain {
public:
    // Once per receive frame. `windowFrames` is the length of a window. At its end the new gain comes out if
    // it differs from `limits.rxGain`, and the window starts anew, in all modes.
    std::optional<int> step(bool overloaded, long long windowFrames, const AutoGainLimits& limits);

    // Largest magnitude of the wideband samples of a refresh interval.
    void notePeak(int peak) { adcPeakWindow = peak > adcPeakWindow ? peak : adcPeakWindow; }

private:
    int overloadFrames = 0;
    int cleanFrames = 0;
    int adcPeakWindow = 0;
};

} // namespace ferrow
