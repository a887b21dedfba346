#include "modes/psk/peak_search.hpp"

#include "core/fft/fft.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ferrow {

PskPeakSearch::PskPeakSearch() : block_(kLength), spectrum_(kLength) {
    for (std::size_t i = 0; i < kLength; ++i) {
        const double angle = 2 * std::numbers::pi * (static_cast<double>(i) + 0.5) / kLength;
        window_[i] = static_cast<float>(0.35875 - 0.48829 * std::cos(angle) + 0.14128 * std::cos(2 * angle) -
                                        0.01168 * std::cos(3 * angle));
    }
}

void PskPeakSearch::add(std::span<const float, kLength> block) {
    for (std::size_t i = 0; i < kLength; ++i)
        block_[i] = block[i] * window_[i];
    fft::forward(block_, spectrum_);
    for (std::size_t i = 0; i < kLength; ++i)
        sum_[i] += std::sqrt(static_cast<double>(std::norm(spectrum_[i])));
}

std::span<const PskPeak> PskPeakSearch::search() {
    const auto around = [this](std::size_t k) {
        return sum_[k - 2] + sum_[k - 1] + sum_[k] + sum_[k + 1] + sum_[k + 2];
    };
    std::size_t count = 0;
    for (std::size_t k = kFirstBin; k <= kLastBin; ++k) {
        const double below = around(k - 1), here = around(k), above = around(k + 1);
        if (!(here > below && here > above))
            continue;
        const double shift = (above - below) / (2 * (2 * here - below - above));
        const double hz = static_cast<double>(k) * kBinHz + 0.5 * kBinHz + shift * kBinHz;
        peaks_[count++] = {static_cast<int>(hz), here};
    }
    sum_.fill(0);
    const std::span<PskPeak> found(peaks_.data(), count);
    std::sort(found.begin(), found.end(),
              [](const PskPeak& a, const PskPeak& b) { return a.strength > b.strength; });
    return found;
}

} // namespace ferrow
