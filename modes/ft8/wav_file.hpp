// Reading a recorded period: a WAV file with the fixed 44-byte header, 16 bit, mono.
#pragma once

#include "core/buff/buff.hpp"

#include <array>
#include <cstdint>
#include <cstdio>

namespace ferrow {

inline constexpr int kWavHeaderBytes = 44;
inline constexpr int kWavRejected = -1; // unreadable, or not the one format
inline constexpr int kWavTooLong = -2;  // more samples than there is room for

// What of the header counts.
struct WavHeader {
    std::int32_t sampleRate;  // as it stands in the file: any value
    std::int32_t sampleCount; // never negative
};

// 0, or kWavRejected.
int parseWavHeader(const std::array<unsigned char, kWavHeaderBytes>& bytes, WavHeader& header);

// Reads the file at `path` into `buffer`, which must hold `capacityInOut` samples. On success (0)
// `capacityInOut` becomes the sample count and `sampleRateOut` the file's rate; on failure all three keep
// their values. Whatever of the buffer the file doesn't fill is zero, also when the file is shorter than its
// header says.
int loadWav(buff<short>& buffer, std::int32_t& capacityInOut, std::int32_t& sampleRateOut, const char* path);

// The same from an open stream, which stays open.
int loadWav(buff<short>& buffer, std::int32_t& capacityInOut, std::int32_t& sampleRateOut, std::FILE* file);

} // namespace ferrow
