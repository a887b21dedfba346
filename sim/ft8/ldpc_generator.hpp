#pragma once
#include <array>
#include <string_view>

namespace ferrow::sim {

/// Row k makes parity bit k of LDPC(174,91): 23 hex digits, bit j (0 is the top bit of the first digit) being
/// the coefficient of message bit j. The last bit is filling.
extern const std::array<std::string_view, 83> kLdpcGenerator;

} // namespace ferrow::sim
