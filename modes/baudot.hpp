// The five-unit teleprinter code.
#pragma once

#include <array>
#include <cstdint>

namespace ferrow {

inline constexpr unsigned char kFiguresShift = 14; // as they stand in the table
inline constexpr unsigned char kLettersShift = 15;
inline constexpr int kSpaceCode = 4;

// Characters by code, the first element in bit 0 and mark 1; figures from 32 upward.
extern const std::array<unsigned char, 64> baudotCharacters;

// By character: (code | 32) * 8, plus 1 for figures, or plus 2 where both halves have it. 0 for a character
// that has no code. Letters of both cases.
extern const std::array<int, 256> baudotEntries;

inline constexpr int kEntryFigures = 1;
inline constexpr int kEntryBoth = 2;

} // namespace ferrow
