// Numbers that a host may set to anything.
#pragma once

#include <algorithm>
#include <cmath>

namespace ferrow {

// `value` within -limit to +limit; 0 for what is no number.
inline double boundedNumber(double value, double limit) {
    return std::isnan(value) ? 0 : std::clamp(value, -limit, limit);
}

} // namespace ferrow
