// From a codeword to a checked payload.
#pragma once

#include "modes/ft8/ldpc.hpp"
#include "modes/ft8/variant.hpp"

#include <array>
#include <cstdint>
#include <optional>

namespace ferrow {

inline constexpr int kMessageBytes = 12;

// The 77 message bits, first bit in the top bit of byte 0; the low three bits of byte 9 are zero.
using Ft8Payload = std::array<std::uint8_t, kFt8PayloadBytes>;

// The first 91 bits of a codeword, payload and CRC, first bit in the top bit of byte 0.
std::array<std::uint8_t, kMessageBytes> packBits(const CodewordBits& bits);

// 14-bit CRC (polynomial 0x2757, start 0) of the first `bitCount` bits of `bytes`.
std::uint16_t crc14(const std::uint8_t* bytes, int bitCount);

// The payload of a codeword, descrambled, or nothing if its CRC is wrong or all its bits are zero (a codeword
// with a right CRC that no sender means).
std::optional<Ft8Payload> unpackFrame(const CodewordBits& bits, const Ft8Variant& variant);

} // namespace ferrow
