// Morse code of the characters from space to Z, for identification.
#pragma once

#include <array>
#include <cstdint>

namespace ferrow {

inline constexpr char kMorseFirst = ' ';
inline constexpr int kMorseLetters = 59;

// Two bits an element from the top: 01 a dot, 10 a dash, 11 the end of the letter, 00 nothing more. A space
// ends a letter twice. A character without a code is 0.
extern const std::array<std::uint16_t, kMorseLetters> kMorseWords;

// The word of any character, lower case as upper; 0 for those without a code.
std::uint16_t morseWord(char character) noexcept;

} // namespace ferrow
