// Wideband packets: quarters of a block of raw ADC samples.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ferrow {

inline constexpr std::size_t kWidebandBlock = 2048;
inline constexpr std::size_t kWidebandQuarter = 512;

// Place of the packet with `sequence` in its block.
inline std::size_t widebandPosition(std::uint32_t sequence) {
    return (sequence & 3U) * kWidebandQuarter;
}

double widebandScale(double rxScale, int maxAdcValue);

// 512 signed 16-bit little-endian samples at `data`, times `scale`, to `out`. Returns their largest
// magnitude.
int decodeWideband(const std::uint8_t* data, double scale, float* out);

} // namespace ferrow
