// FT8 and FT4 messages: from the 77 bits of a decode to the text that operators read.
#pragma once

#include "host/ft8_calls.hpp"

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace ferrow {

inline constexpr std::size_t kFt8PayloadSize = 10;
using Ft8MessageBits = std::array<std::uint8_t, kFt8PayloadSize>;

// Text of a message, first bit in the top bit of byte 0, FT4's descrambled. Nothing for a type that is not in
// use, or for fields that no sender makes: such a decode is most likely false.
//
// Senders whose call stands in full are entered in `table` (with /R or /P where the message has it); hashed
// calls show as <CALL> if the table knows them, else as <...>.
std::optional<std::string> unpackFt8Message(const Ft8MessageBits& payload, CallTable& table);

// The type in its usual notation: "1", or "0.3" where the first number is 0.
std::string ft8MessageType(const Ft8MessageBits& payload);

} // namespace ferrow
