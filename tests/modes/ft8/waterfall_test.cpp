#include "modes/ft8/waterfall.hpp"

#include <algorithm>
#include <cmath>
#include <complex>
#include <gtest/gtest.h>
#include <numbers>
#include <random>
#include <vector>

namespace {

using ferrow::ft8Variant;
using ferrow::Waterfall;
using ferrow::waterfallGrid;

struct Filled {
    std::vector<std::uint8_t> memory;
    Waterfall grid;

    Filled(const std::vector<short>& samples, int variant)
        : grid(waterfallGrid(12000, static_cast<std::int32_t>(samples.size()), ft8Variant(variant))) {
        memory.resize(grid.magnitudeCount());
        grid.mag = memory.data();
        ferrow::buildWaterfall(samples.data(), grid);
    }
    int at(int block, int timeSub, int freqSub, int bin) const {
        return grid.mag[((block * grid.timeOsr + timeSub) * grid.freqOsr + freqSub) * grid.numBins + bin];
    }
};

// 120 dB and the level of one bin, in half decibels, by a slow transform in double precision.
double reference(const std::vector<short>& samples, int nfft, int from, int bin) {
    std::complex<double> sum = 0;
    for (int i = 0; i < nfft; ++i) {
        const double s = std::sin(std::numbers::pi * i / (nfft - 1));
        const double x = samples[static_cast<std::size_t>(from + i)] * s * s / 32000.0;
        sum += x * std::polar(1.0, -2.0 * std::numbers::pi * bin * i / nfft);
    }
    const double norm = 2.0 / nfft;
    return 2.0 * (120.0 + 10.0 * std::log10(std::norm(sum) * norm * norm + 1e-10));
}

TEST(Waterfall, GridSizesOfFullPeriods) {
    const Waterfall ft8 = waterfallGrid(12000, 180000, ft8Variant(8));
    EXPECT_EQ(ft8.numBins, 960);
    EXPECT_EQ(ft8.blockSize(), 1920);
    EXPECT_EQ(ft8.subBlock(), 960);
    EXPECT_EQ(ft8.nfft(), 3840);
    EXPECT_EQ(ft8.numBlocks, 92);
    EXPECT_EQ(ft8.timeOsr, 2);
    EXPECT_EQ(ft8.freqOsr, 2);
    EXPECT_EQ(ft8.stride(), 3840);
    const Waterfall ft4 = waterfallGrid(12000, 90000, ft8Variant(4));
    EXPECT_EQ(ft4.numBins, 288);
    EXPECT_EQ(ft4.blockSize(), 576);
    EXPECT_EQ(ft4.nfft(), 1152);
    EXPECT_EQ(ft4.numBlocks, 154);
}

// The last transform of the grid ends inside the samples, for every length and many rates.
TEST(Waterfall, NoGridReadsPastItsSamples) {
    for (const int variant : {8, 4})
        for (const int rate : {113, 500, 8000, 11025, 12000, 12001, 16000, 48000})
            for (int samples = 0; samples <= 180000; samples += 997) {
                const Waterfall grid = waterfallGrid(rate, samples, ft8Variant(variant));
                if (grid.numBlocks <= 0)
                    continue;
                const int end = (grid.numBlocks - 1) * grid.blockSize() + grid.subBlock() + grid.nfft();
                ASSERT_LE(end, samples) << rate << " Hz";
            }
}

TEST(Waterfall, MagnitudesEqualASlowTransformWithinTheirStep) {
    std::mt19937_64 random(1);
    std::normal_distribution<double> noise(0.0, 1500.0);
    for (const int variant : {8, 4}) {
        std::vector<short> samples(variant == 8 ? 12000 : 6000);
        for (short& sample : samples)
            sample = static_cast<short>(noise(random));
        const Filled filled(samples, variant);
        const int nfft = filled.grid.nfft();
        for (int trial = 0; trial < 300; ++trial) {
            const int block = static_cast<int>(random() % static_cast<unsigned>(filled.grid.numBlocks));
            const int timeSub = static_cast<int>(random() % 2);
            const int freqSub = static_cast<int>(random() % 2);
            const int bin = static_cast<int>(random() % static_cast<unsigned>(filled.grid.numBins));
            const int from = block * filled.grid.blockSize() + timeSub * filled.grid.subBlock();
            const double exact = reference(samples, nfft, from, 2 * bin + freqSub);
            const double stored = filled.at(block, timeSub, freqSub, bin);
            EXPECT_GT(stored, exact - 1.02); // truncated
            EXPECT_LT(stored, exact + 0.02);
        }
    }
}

// A full-scale carrier of 32000 reads -6 dB, for the window has half its height on average: 228 half
// decibels, at its own bin and phase.
TEST(Waterfall, ACarrierStandsAtItsBinAndLevel) {
    std::vector<short> samples(20000);
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<short>(std::lround(
            32000.0 * std::cos(2.0 * std::numbers::pi * 1503.125 / 12000.0 * static_cast<double>(i))));
    const Filled filled(samples, 8); // 1503.125 Hz = (240 + 0.5) x 6.25 Hz
    EXPECT_NEAR(filled.at(3, 0, 1, 240), 2.0 * (120.0 + 20.0 * std::log10(0.5)), 1.0);
    EXPECT_LT(filled.at(3, 0, 1, 200), 60);
}

// 1e-10 keeps the logarithm of silence at -100 dB, 40 half decibels.
TEST(Waterfall, SilenceReadsMinusHundredDecibels) {
    const Filled filled(std::vector<short>(20000), 8);
    for (std::size_t i = 0; i < filled.memory.size(); ++i)
        ASSERT_NEAR(filled.memory[i], 40, 1);
    EXPECT_EQ(filled.grid.noiseLevel, filled.memory[0]);
}

TEST(Waterfall, NoiseLevelIsTheThirtiethPercentile) {
    std::mt19937_64 random(2);
    std::normal_distribution<double> noise(0.0, 500.0);
    std::vector<short> samples(30000);
    for (short& sample : samples)
        sample = static_cast<short>(noise(random));
    const Filled filled(samples, 8);
    std::vector<std::uint8_t> sorted = filled.memory;
    std::sort(sorted.begin(), sorted.end());
    const auto rank = static_cast<std::size_t>(std::ceil(0.3 * static_cast<double>(sorted.size())));
    EXPECT_EQ(filled.grid.noiseLevel, sorted[rank - 1]);
}

} // namespace
