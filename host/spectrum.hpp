// One frame of a transceiver's spectrum.
#pragma once

#include <cmath>
#include <cstddef>
#include <span>

namespace ferrow {

// Values are dB of power (ten times what the library gives). Value i belongs to the frequency
// low + (i + 1) (high - low) / size: the transform's middle bin, the display's centre, is number size / 2
// - 1.
struct Spectrum {
    std::span<const float> decibel;
    double low = 0, high = 0; // Hz
    int rate = 0;             // of the samples behind it

    double binWidth() const { return (high - low) / static_cast<double>(decibel.size()); }
    double frequencyOf(double bin) const { return low + (bin + 1) * binWidth(); }
    // May lie outside of the frame.
    double binOf(double frequency) const { return (frequency - low) / binWidth() - 1; }
};

// What a bin without any data reads.
inline constexpr float kNoSpectrum = -200;

} // namespace ferrow
