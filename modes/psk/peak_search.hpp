// Where in the passband there are signals: peaks of a summed spectrum.
#pragma once

#include "core/buff/buff.hpp"

#include <array>
#include <complex>
#include <span>

namespace ferrow {

struct PskPeak {
    int frequency = 0; // Hz
    double strength = 0;
};

// Blocks of 512 real samples at 8000 a second. One thread at a time. The transform service makes a plan at
// its first call on a thread; beyond that only construction allocates.
class PskPeakSearch {
public:
    static constexpr std::size_t kLength = 512;
    static constexpr double kBinHz = 8000.0 / kLength;
    static constexpr std::size_t kFirstBin = 3, kLastBin = 252; // of a peak

    PskPeakSearch();

    // Adds the magnitudes of one block's windowed spectrum.
    void add(std::span<const float, kLength> block);

    // The peaks of what was added since the last search, the strongest first, and starts anew. Bins are taken
    // five at a time, about the width of a signal. The span holds until the next search.
    std::span<const PskPeak> search();

private:
    std::array<float, kLength> window_; // Blackman-Harris
    buff<std::complex<float>> block_, spectrum_;
    std::array<double, kLength> sum_{};
    std::array<PskPeak, kLastBin - kFirstBin + 1> peaks_{};
};

} // namespace ferrow
