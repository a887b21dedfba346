// The PSK31 Varicode: short words for frequent characters, none with two 0 bits in a row, so that 00 parts
// them.
#pragma once

#include <array>
#include <cstdint>

namespace ferrow {

// The code of each byte, first bit at the top of the word, without the 00 behind it.
extern const std::array<std::uint16_t, 256> kVaricode;

// Places of the decoding table: a code without its last bit, which is always 1.
inline constexpr int kVaricodePlaces = 2048;

// By place the byte with that code, or 0 for none. Made at the first call.
const std::array<unsigned char, kVaricodePlaces>& varicodeDecoding();

} // namespace ferrow
