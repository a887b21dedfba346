#pragma once
#include "sim/ft8/bits.hpp"

#include <string>
#include <vector>

namespace ferrow::sim {

/// 14-bit CRC, polynomial 0x2757, start 0, over the 77 bits followed by five 0 bits.
std::uint16_t crc14(const Payload& payload);

/// 77 payload, 14 CRC and 83 parity bits of LDPC(174,91).
std::array<std::uint8_t, 174> encodeCodeword(const Payload& payload);

/// FT4's fixed scrambling of the payload.
Payload scrambleFt4(const Payload& payload);

/// 79 tones 0 to 7: sync, 29 data, sync, 29 data, sync.
std::vector<int> ft8Tones(const Payload& payload);

/// 103 tones 0 to 3 (scrambling included): four syncs with 29 data tones between them, without the ramp
/// symbols.
std::vector<int> ft4Tones(const Payload& payload);

} // namespace ferrow::sim
