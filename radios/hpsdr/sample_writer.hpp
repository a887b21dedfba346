// Transmit samples of a control frame: 63 records of an audio pair and a pair of transmit words.
#pragma once

#include <array>
#include <complex>
#include <cstdint>
#include <span>

namespace ferrow {

// Running ramp in the audio channel, as boards of type 6 get it at all times.
class AudioRamp {
public:
    static constexpr int kLength = 4096;
    // Writes the index and its value, and moves on.
    void write(std::uint8_t* pair);

private:
    int index = 0;
};

struct TransmitFormat {
    bool cwInternal = false; // the samples carry the key state in I
    double gain = 1.0;       // of the drive table
    bool oddZone = false;    // of the transmit frequency
    bool audioRamp = false;
};

// 63 records at `records` from the 63 values of `samples`, whose magnitude is limited to full scale.
void writeSamples(std::uint8_t* records, std::span<const std::complex<float>> samples,
                  const TransmitFormat& format, AudioRamp& ramp);

} // namespace ferrow
