// Letters of 5 by 7 pixels.
#pragma once

#include <array>
#include <cstdint>

namespace ferrow {

inline constexpr int kGlyphWidth = 5, kGlyphHeight = 7;
inline constexpr int kGlyphAdvance = kGlyphWidth + 1;

// Rows from the top, the leftmost pixel in bit 4. Small letters look like capitals; what has no shape of its
// own is a box.
const std::array<std::uint8_t, kGlyphHeight>& glyph(char letter);

} // namespace ferrow
