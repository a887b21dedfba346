#include "trx/denoise/bands.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ferrow::denoise {

namespace {

// Weighted sums of `power(bin)`; what one band loses along a flank the next one gains.
template <class Power>
Bands bandSums(Power power) {
    Bands sums{};
    for (std::size_t band = 0; band + 1 < NB_BANDS; ++band) {
        const int begin = kBandEdges[band], width = kBandEdges[band + 1] - begin;
        const float step = 1.0f / static_cast<float>(width);
        float whole = 0, upper = 0;
        for (int i = 0; i < width; ++i) {
            const float p = power(static_cast<std::size_t>(begin + i));
            whole += p;
            upper += p * (step * static_cast<float>(i));
        }
        sums[band] += whole - upper;
        sums[band + 1] += upper;
    }
    sums.front() *= 2;
    sums.back() *= 2;
    return sums;
}

struct CosineTable {
    std::array<Bands, NB_BANDS> rows; // one per coefficient

    CosineTable() {
        for (std::size_t k = 0; k < NB_BANDS; ++k)
            for (std::size_t i = 0; i < NB_BANDS; ++i) {
                const double angle =
                    (static_cast<double>(i) + 0.5) * static_cast<double>(k) * std::numbers::pi / NB_BANDS;
                rows[k][i] = static_cast<float>(std::cos(angle) * std::sqrt((k == 0 ? 1.0 : 2.0) / NB_BANDS));
            }
    }
};

} // namespace

Bands bandEnergy(const Spectrum& x) {
    return bandSums([&x](std::size_t bin) { return std::norm(x[bin]); });
}

Bands bandCorrelation(const Spectrum& x, const Spectrum& p) {
    return bandSums(
        [&x, &p](std::size_t bin) { return x[bin].real() * p[bin].real() + x[bin].imag() * p[bin].imag(); });
}

void interpolateBands(const Bands& values, std::span<float, FREQ_SIZE> bins) {
    for (std::size_t band = 0; band + 1 < NB_BANDS; ++band) {
        const int begin = kBandEdges[band], width = kBandEdges[band + 1] - begin;
        const float step = (values[band + 1] - values[band]) / static_cast<float>(width);
        for (int i = 0; i < width; ++i)
            bins[static_cast<std::size_t>(begin + i)] = values[band] + step * static_cast<float>(i);
    }
    std::fill(bins.begin() + kBandEdges.back(), bins.end(), values.back());
}

Bands cosineTransform(const Bands& values) {
    static const CosineTable table;
    Bands out;
    for (std::size_t k = 0; k < NB_BANDS; ++k) {
        float sum = 0;
        for (std::size_t i = 0; i < NB_BANDS; ++i)
            sum += table.rows[k][i] * values[i];
        out[k] = sum;
    }
    return out;
}

} // namespace ferrow::denoise
