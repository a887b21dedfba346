// The numbered lists that contest messages point into.
#pragma once

#include <string>
#include <string_view>

namespace ferrow {

// ARRL Field Day section, 1 to 86; empty for any other number.
std::string fieldDaySection(unsigned number);

// RTTY Roundup state, province or multiplier, 1 to 171; empty for any other number.
std::string roundupMultiplier(unsigned number);

// The inverse of each; 0 for a name that is none.
unsigned fieldDaySectionNumber(std::string_view name);
unsigned roundupMultiplierNumber(std::string_view name);

} // namespace ferrow
