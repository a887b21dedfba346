// The published parity matrix of the LDPC(174,91) code of FT8 and FT4, in both directions. Bits and checks
// count from 0: bits 0-76 are the payload, 77-90 the CRC, 91-173 the parity bits.
#pragma once

#include <cstdint>

namespace ferrow {

inline constexpr int kLdpcBits = 174;
inline constexpr int kLdpcMessageBits = 91;
inline constexpr int kLdpcChecks = 83;
inline constexpr int kLdpcChecksPerBit = 3;
inline constexpr int kLdpcWidestCheck = 7;

// The three checks of each bit, ascending.
extern const std::uint8_t kLdpcBitChecks[kLdpcBits][kLdpcChecksPerBit];
// The bits of each check, ascending; only the first kLdpcCheckSizes[check] entries of a row count.
extern const std::uint8_t kLdpcCheckBits[kLdpcChecks][kLdpcWidestCheck];
// 6 or 7.
extern const std::uint8_t kLdpcCheckSizes[kLdpcChecks];

} // namespace ferrow
