// The Morse code of the CW mode.
#pragma once

#include <string_view>

namespace ferrow {

// What stands for idling in place of a pattern.
inline constexpr std::string_view kMorseIdle = "@";

// Dots, dashes and, for each dot of silence, a blank; "@" gives kMorseIdle. Empty for a character without a
// code. Letters of both cases.
std::string_view morsePattern(unsigned char character) noexcept;

// The character of `elements` elements, of which bit 0 of `code` is the last and a dash is 1. A blank when
// there is none: codes of up to five elements are known, which leaves out all punctuation.
char morseCharacter(unsigned elements, unsigned code) noexcept;

} // namespace ferrow
