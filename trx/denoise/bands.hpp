// The 22 bands of the noise reduction. A band's weight is 1 at its own edge and falls in a straight line to 0
// at its neighbours' edges, so that the weights of all bands add up to 1 in every bin up to the last edge.
#pragma once

#include "trx/denoise/frame.hpp"

#include <span>

namespace ferrow::denoise {

// In bins: the published edges times 4.
inline constexpr std::array<int, NB_BANDS> kBandEdges{0,  4,  8,  12, 16,  20,  24,  28,  32,  40,  48,
                                                      56, 64, 80, 96, 112, 136, 160, 192, 240, 312, 400};

// Weighted sums of |x|^2 in each band. The first and the last band, which have one flank only, count twice.
Bands bandEnergy(const Spectrum& x);

// The same of Re(x conj(p)).
Bands bandCorrelation(const Spectrum& x, const Spectrum& p);

// A value per bin on straight lines between the bands' edges; beyond the last edge the last band's value.
void interpolateBands(const Bands& values, std::span<float, FREQ_SIZE> bins);

// Orthonormal cosine transform (type II) of the 22 values.
Bands cosineTransform(const Bands& values);

} // namespace ferrow::denoise
