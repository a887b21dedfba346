// Sound at another rate.
#pragma once

#include <span>
#include <vector>

namespace ferrow {

// By windowed sinc interpolation: flat up to 0.9 of half the lower rate. Rates in Hz, above 0. The first
// sample stays where it is; the result has as many samples as last as long.
std::vector<float> resample(std::span<const float> samples, int from, int to);

} // namespace ferrow
