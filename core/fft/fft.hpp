// The transform service. Forward is the sum of x[n] exp(-2 pi i k n / N), inverse the same with a positive
// exponent; neither scales, so forward and inverse together return N times the input. Bins are in natural
// order, DC first.
//
// N is the input's length rounded down to a power of two: further input is not looked at and further output
// left as it was. Input and output may be the same memory, but not overlap otherwise; the input is changed
// only when it is also the output. Data aligned to 16 bytes, as buffers and all slices at even offsets are,
// go straight through; others take a copy to aligned memory. An output with too little room for the result
// stays as it was.
//
// Any thread: each has plans of its own, made at its first use of a length, which costs heap traffic and a
// lock; after that a call takes no lock and allocates nothing but the result of the one-argument forms.
#pragma once

#include "core/buff/buff.hpp"

#include <complex>
#include <cstddef>

namespace ferrow::fft {

// Single precision: up to 2^28 elements; a longer input transforms nothing.
buff<std::complex<float>> forward(const buff<std::complex<float>>& in);
const buff<std::complex<float>>& forward(const buff<std::complex<float>>& in,
                                         const buff<std::complex<float>>& out);
buff<std::complex<float>> inverse(const buff<std::complex<float>>& in);
const buff<std::complex<float>>& inverse(const buff<std::complex<float>>& in,
                                         const buff<std::complex<float>>& out);

// Real input of n floats to the n/2 + 1 bins from DC to half the rate; the other half is their conjugate.
// `out` must be other memory than `in`.
buff<std::complex<float>> forwardReal(const buff<float>& in);
const buff<std::complex<float>>& forwardReal(const buff<float>& in, const buff<std::complex<float>>& out);

// Double precision: `n` is the input's length in elements, up to 2^27 complex or 2^28 real. The caller
// answers for the room: n complex values in both places, or n real values in and n/2 + 1 complex ones out,
// packed as bins 0 to n/2 in order, each as real and imaginary part, with an imaginary part of zero at both
// ends.
void forward(const std::complex<double>* in, std::complex<double>* out, size_t n);
void inverse(const std::complex<double>* in, std::complex<double>* out, size_t n);
void forwardReal(const double* in, std::complex<double>* out, size_t n);

// Makes the calling thread's single-precision complex plans for length n at once, so that a later call on
// this thread does not have to.
void prepare(size_t n);

// Plans that the calling thread holds, of all kinds; for tests.
size_t cachedPlans();

} // namespace ferrow::fft
