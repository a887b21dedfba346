// The seven-term cosine window of the filters and spectra.
#pragma once

#include "core/buff/buff.hpp"

#include <complex>
#include <cstddef>

namespace ferrow {

// Value i of the window of n points, on the symmetric grid that is shifted by half a sample, in double
// precision.
double sevenTermWindow(size_t i, size_t n);

// All n points, rounded to single precision.
buff<float> sevenTermWindow(size_t n);

// out[i] = in[i] * window[i] for n samples; in place allowed.
void multiplyByWindow(const std::complex<float>* in, const float* window, std::complex<float>* out, size_t n);
void multiplyByWindow_ref(const std::complex<float>* in, const float* window, std::complex<float>* out,
                          size_t n);
void multiplyByWindow(const float* in, const float* window, float* out, size_t n);

} // namespace ferrow
