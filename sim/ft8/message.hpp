#pragma once
#include "sim/ft8/bits.hpp"

#include <string>

namespace ferrow::sim {

/// Packs a message text into 77 bits, choosing the form as a sender does: telemetry, DXpedition, RTTY
/// Roundup, Field Day, EU VHF, standard, nonstandard call, free text. Calls in < > are sent as hashes. Throws
/// std::invalid_argument for a text that none of them holds.
Payload packMessage(const std::string& text);

} // namespace ferrow::sim
