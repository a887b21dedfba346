// Design of the complex bandpass filters. Allocates; not for the sample path.
#pragma once

#include "core/buff/buff.hpp"

#include <complex>
#include <cstddef>

namespace ferrow {

enum class FilterWindow { SevenTerm, None };

// A real low-pass moved to the centre of the band from `low` to `high` Hz at `rate` samples a second: `taps`
// taps in a buffer of `length`, zero behind them. Gain in the band is 1. Complex samples of this system hold
// a signal above the centre at a negative frequency, and the taps follow: +300 to +2700 passes the band above
// the centre. A reversed band (low above high) gives the same taps with their sign changed.
buff<std::complex<float>> designBandpass(float low, float high, double rate, size_t taps, size_t length,
                                         FilterWindow window = FilterWindow::SevenTerm);

// The filter of the same magnitude and length with the smallest delay, by the folded cepstrum on 32768
// points. At most 32768 taps count.
buff<std::complex<float>> minimumPhase(const buff<std::complex<float>>& taps);

} // namespace ferrow
