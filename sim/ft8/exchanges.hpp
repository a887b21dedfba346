#pragma once
#include <string_view>

namespace ferrow::sim {

/// Index from 1 of a Field Day section, 0 if there is none of that name.
int fieldDayIndex(std::string_view section);

/// Index from 1 of a state, province or area of the RTTY Roundup ("X01" to "X99" are 73 to 171), 0 if
/// unknown.
int roundupIndex(std::string_view area);

} // namespace ferrow::sim
