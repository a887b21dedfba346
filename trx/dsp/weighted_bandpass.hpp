// Bandpass filters whose gain follows a curve inside the band. Allocates; not for the sample path.
#pragma once

#include "core/buff/buff.hpp"

#include <complex>
#include <cstddef>
#include <functional>

namespace ferrow {

// Gain of one bin of the transform of the taps. `frequency` in Hz with the system's sign: bin i of the lower
// half stands for -i rate / taps, of the upper half for rate - i rate / taps.
using BinWeight = std::function<double(std::size_t bin, double frequency)>;

// The bandpass of designBandpass without a window, its `taps` bins (a power of two) multiplied by `weight`,
// back in time and only then windowed: the curve comes out smoothed by the window's spectrum, which is 7 bins
// wide to either side.
buff<std::complex<float>> weightedBandpass(float low, float high, double rate, std::size_t taps,
                                           const BinWeight& weight);

} // namespace ferrow
