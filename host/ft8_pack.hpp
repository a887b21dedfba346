// FT8 and FT4 messages: from the text that an operator types to the 77 bits that are sent.
#pragma once

#include "host/ft8_message.hpp"

#include <string>
#include <string_view>

namespace ferrow {

// Packs a message, as a sender of these modes packs it: standard messages (CQ, calls with /R or /P, grid,
// report, RRR, RR73, 73), messages with a nonstandard call, hashed calls in < >, the contest exchanges (Field
// Day, RTTY Roundup, EU VHF, DXpedition), telemetry (14 to 18 hex digits), else free text of up to 13
// characters. Lower case counts as upper case, and any number of blanks as one.
//
// Throws UsageError for a text that fits none of these. unpackFt8Message gives the text that a receiver
// shows: the one given, but for a nonstandard call that only goes as its hash and so stands in < >.
Ft8MessageBits packFt8Message(std::string_view text);

} // namespace ferrow
