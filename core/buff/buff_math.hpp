// Functions on whole buffers that the spectrum, level and measurement code share. Powers are re^2 + im^2.
#pragma once

#include "core/buff/buff.hpp"

#include <complex>
#include <cstddef>

namespace ferrow {

// Added to powers whose logarithm will be taken, so that an exact zero shows as -38.
inline constexpr double kPowerFloor = 1e-38;

// A new buffer: the last k elements of `a` first, then the others. With k half the size, the half-swap of a
// transform.
buff<std::complex<float>> rotate(const buff<std::complex<float>>& a, size_t k);

// log10(power + 1e-38), worked in double precision.
buff<float> logPower(const buff<std::complex<float>>& a);

// power x gain + 1e-38.
buff<float> power(const buff<std::complex<float>>& a, float gain);

// b[i] = log10(a[i]), to 2e-7 relative; in place allowed. Zero gives minus infinity, a negative value NaN.
// The shorter of the two sizes counts. Returns b.
buff<float> log10Into(const buff<float>& a, const buff<float>& b);

// The largest magnitude and the largest power, 0 for an empty buffer. NaN samples do not count.
float peakMagnitude(const buff<std::complex<float>>& a);
float peakPower(const buff<std::complex<float>>& a);

// The plain forms that the vector kernels are held against.
void log10_ref(const float* a, float* b, size_t n);
void power_ref(const std::complex<float>* a, float* b, size_t n, float gain);
float peakPower_ref(const std::complex<float>* a, size_t n);

} // namespace ferrow
