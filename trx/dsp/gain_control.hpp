// The arithmetic of the gain control: automatic or manual gain, squelch and volume in one pass. Plain class,
// one thread; all rates count as 48000 Hz.
#pragma once

#include <span>

namespace ferrow {

struct GainControlSettings {
    float attack = 0.01f;    // s
    float decay = 0.2f;      // s
    float hang = 2.0f;       // s
    float maxGain = 80;      // dB
    float volume = 1;        // linear
    float squelch = -180;    // dB; -180 or below is off
    double manualGain = 1.0; // exponent of ten
    bool enabled = true;     // true: automatic
};

class GainControl {
public:
    // Alters `block` in place. `holdGain` freezes the gain; `level` is the signal strength in dB that the
    // squelch looks at. Results are within -1 to 1, but for the open squelch, which applies the volume alone.
    void process(std::span<float> block, const GainControlSettings& settings, bool holdGain, bool applyVolume,
                 float level);

    double gain = 200.0;
    int hangCount = 0;
    bool fixedAtMaxGain = false;

private:
    void follow(std::span<float> block, const GainControlSettings& settings, float volume);
};

} // namespace ferrow
