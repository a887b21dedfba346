#include "trx/denoise/bands.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <numeric>
#include <random>

namespace ferrow::denoise {
namespace {

TEST(Bands, EdgesAreThePublishedOnesTimesFour) {
    constexpr std::array<int, NB_BANDS> published{0,  1,  2,  3,  4,  5,  6,  7,  8,  10, 12,
                                                  14, 16, 20, 24, 28, 34, 40, 48, 60, 78, 100};
    for (std::size_t b = 0; b < NB_BANDS; ++b)
        EXPECT_EQ(kBandEdges[b], 4 * published[b]);
}

TEST(Bands, ABinsPowerGoesToTheTwoBandsBesideIt) {
    for (const int bin : {0, 1, 3, 4, 30, 35, 64, 100, 250, 311, 312, 350, 399}) {
        Spectrum x{};
        x[static_cast<std::size_t>(bin)] = {3, 4};
        const Bands energy = bandEnergy(x);
        std::size_t b = 0;
        while (b + 2 < NB_BANDS && kBandEdges[b + 1] <= bin)
            ++b;
        const float upper =
            static_cast<float>(bin - kBandEdges[b]) / static_cast<float>(kBandEdges[b + 1] - kBandEdges[b]);
        for (std::size_t i = 0; i < NB_BANDS; ++i) {
            const float twice = i == 0 || i == NB_BANDS - 1 ? 2.0f : 1.0f;
            const float expected = i == b ? 25 * (1 - upper) : i == b + 1 ? 25 * upper : 0;
            EXPECT_NEAR(energy[i], twice * expected, 1e-4) << bin << ' ' << i;
        }
    }
}

TEST(Bands, BinsFrom400OnBelongToNone) {
    Spectrum x{};
    for (std::size_t k = 400; k < FREQ_SIZE; ++k)
        x[k] = 100;
    for (const float energy : bandEnergy(x))
        EXPECT_EQ(energy, 0);
}

TEST(Bands, CorrelationWithItselfIsTheEnergyAndWithAQuarterTurnNothing) {
    std::mt19937 random(3);
    std::normal_distribution<float> normal;
    Spectrum x, turned;
    for (std::size_t k = 0; k < FREQ_SIZE; ++k) {
        x[k] = {normal(random), normal(random)};
        turned[k] = x[k] * std::complex<float>(0, 1);
    }
    const Bands energy = bandEnergy(x), same = bandCorrelation(x, x), none = bandCorrelation(x, turned);
    for (std::size_t b = 0; b < NB_BANDS; ++b) {
        EXPECT_NEAR(same[b], energy[b], 1e-4 * energy[b]);
        EXPECT_NEAR(none[b], 0, 1e-4 * energy[b]);
    }
}

TEST(Bands, InterpolationRunsStraightBetweenEdgesAndLevelBeyondTheLast) {
    Bands values;
    for (std::size_t b = 0; b < NB_BANDS; ++b)
        values[b] = b % 2 == 0 ? 1.0f : 3.0f;
    std::array<float, FREQ_SIZE> bins;
    interpolateBands(values, bins);
    for (std::size_t b = 0; b < NB_BANDS; ++b)
        EXPECT_EQ(bins[static_cast<std::size_t>(kBandEdges[b])], values[b]);
    EXPECT_FLOAT_EQ(bins[2], 2);
    EXPECT_FLOAT_EQ(bins[356], 2);
    for (std::size_t k = 400; k < FREQ_SIZE; ++k)
        EXPECT_EQ(bins[k], 3);
}

TEST(Bands, TheCosineTransformIsOrthonormal) {
    for (std::size_t k = 0; k < NB_BANDS; ++k) {
        Bands wave;
        for (std::size_t i = 0; i < NB_BANDS; ++i)
            wave[i] = static_cast<float>(std::cos((static_cast<double>(i) + 0.5) * static_cast<double>(k) *
                                                  std::numbers::pi / NB_BANDS) *
                                         std::sqrt((k == 0 ? 1.0 : 2.0) / NB_BANDS));
        const Bands out = cosineTransform(wave);
        for (std::size_t j = 0; j < NB_BANDS; ++j)
            EXPECT_NEAR(out[j], j == k ? 1 : 0, 1e-6) << k << ' ' << j;
    }
}

} // namespace
} // namespace ferrow::denoise
