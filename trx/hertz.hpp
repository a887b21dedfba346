// Frequencies that a host may set to anything, as the arithmetic takes them.
#pragma once

#include <algorithm>

namespace ferrow {

// No radio comes near it, and sums of many such fit a long long and, exactly, a double.
inline constexpr long long kMostHertz = 1'000'000'000'000'000;

constexpr long long boundedHertz(long long frequency) noexcept {
    return std::clamp(frequency, -kMostHertz, kMostHertz);
}

} // namespace ferrow
