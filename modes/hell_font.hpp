// The letters of the Hellschreiber mode: dot matrices of 5 by 7 at most.
#pragma once

#include <array>
#include <cstdint>

namespace ferrow {

struct HellGlyph {
    std::uint8_t width; // columns
    std::array<std::uint8_t, 5>
        columns; // from the left; the highest bit is the top row, the lowest stays free
};

inline constexpr int kHellFirst = 32, kHellEnd = 128;

// By character from kHellFirst on.
extern const std::array<HellGlyph, 96> hellFont;

} // namespace ferrow
