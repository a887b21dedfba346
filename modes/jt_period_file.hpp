// Files of one received period.
#pragma once

#include "core/buff/buff.hpp"

#include <cstdint>
#include <string>

namespace ferrow {

enum class PeriodFormat { Wav, C2 };

// What a save needs; it shares nothing with the mode.
struct PeriodRecording {
    buff<float> block;  // real samples, or re and im alternating
    float peak = 0;     // largest magnitude of the real parts
    double average = 0; // mean magnitude of the real parts
    std::string path;
    double dialMHz = 0;
    PeriodFormat format = PeriodFormat::Wav;
};

// Gain that brings the recording to 16 bits: the peak goes to 32000, unless it stands more than 15 times
// above the average, in which case that level does and samples are clamped. 0 for silence.
struct PeriodGain {
    float gain;
    bool clamped;
};
PeriodGain periodGain(float peak, double average);

// Writes the file and returns its name. WAV: mono, 16 bit, 12000 Hz. An I/O failure leaves it short or
// absent.
std::string savePeriod(const PeriodRecording& recording);

// Name of a period's file: `prefix`, then the UTC time `seconds` since 1970; minutes only from `periodMs`
// 60000 on.
std::string periodFileName(const std::string& prefix, std::int64_t seconds, int periodMs,
                           PeriodFormat format);

} // namespace ferrow
