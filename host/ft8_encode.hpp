// FT8 and FT4 messages: from 77 bits to the tones of the transmission.
#pragma once

#include "host/ft8_bands.hpp"
#include "host/ft8_message.hpp"

#include <vector>

namespace ferrow {

// Tone numbers of one transmission: 79 of FT8; 105 of FT4, the ramp symbols at both ends among them (as far
// as those are told by a tone: the ramp itself is the sender's).
std::vector<int> ft8Tones(const Ft8MessageBits& payload, SlotMode mode);

} // namespace ferrow
