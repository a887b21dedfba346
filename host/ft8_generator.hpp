// The generator of the LDPC(174,91) code of FT8 and FT4.
#pragma once

#include <array>
#include <string_view>

namespace ferrow {

// A row for each parity bit: 23 hex digits, whose bit j from the left is the share of message bit j.
extern const std::array<std::string_view, 83> kFt8Generator;

} // namespace ferrow
