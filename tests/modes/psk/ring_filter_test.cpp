#include "modes/psk/ring_filter.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <deque>
#include <numbers>
#include <random>
#include <vector>

namespace ferrow {
namespace {

// The whole symmetric filter from its first half and centre.
template <std::size_t Half>
std::vector<double> whole(const std::array<double, Half>& half) {
    std::vector<double> taps(half.begin(), half.end());
    taps.insert(taps.end(), half.rbegin() + 1, half.rend());
    return taps;
}

// Gain of the filter at `f` turns a sample, in dB.
double gainAt(const std::vector<double>& taps, double f) {
    std::complex<double> sum;
    for (std::size_t n = 0; n < taps.size(); ++n)
        sum += taps[n] * std::polar(1.0, -2 * std::numbers::pi * f * static_cast<double>(n));
    return 20 * std::log10(std::abs(sum));
}

template <std::size_t N, std::size_t Half>
void matchesConvolution(const std::array<double, Half>& half) {
    const std::vector<double> taps = whole(half);
    ASSERT_EQ(taps.size(), N);
    const RingTaps table(half);
    SampleRing<N> ring;
    std::deque<Iq> past(N);
    std::mt19937 random(5);
    std::uniform_real_distribution<double> uniform(-1000, 1000);
    for (int n = 0; n < 300; ++n) {
        const Iq sample{uniform(random), uniform(random)};
        ring.push(sample);
        past.push_front(sample);
        past.pop_back();
        Iq expected;
        for (std::size_t k = 0; k < N; ++k) {
            expected.i += taps[k] * past[k].i;
            expected.q += taps[k] * past[k].q;
        }
        const double* from = table.from(ring.newest());
        for (const Iq got :
             {filterRing(ring.data(), from, ring.kDoubles), filterRing_ref(ring.data(), from, ring.kDoubles),
              filterRingTwice(ring.data(), from, from, ring.kDoubles).first,
              filterRingTwice(ring.data(), from, from, ring.kDoubles).second}) {
            ASSERT_NEAR(got.i, expected.i, 1e-9);
            ASSERT_NEAR(got.q, expected.q, 1e-9);
        }
    }
}

TEST(PskRingFilter, DecimatorIsTheConvolutionWithItsTaps) {
    matchesConvolution<35>(kPskDecimatorTaps);
}

TEST(PskRingFilter, SymbolFiltersAreTheConvolutionWithTheirTaps) {
    matchesConvolution<65>(kPskFrequencyTaps);
    matchesConvolution<65>(kPskBitTaps);
}

TEST(PskRingFilter, TwoFiltersAtOnceGiveEachItsOwn) {
    const RingTaps first(kPskFrequencyTaps), second(kPskBitTaps);
    SampleRing<65> ring;
    for (int n = 0; n < 100; ++n)
        ring.push({std::sin(n * 0.3), std::cos(n * 0.2)});
    const auto pair =
        filterRingTwice(ring.data(), first.from(ring.newest()), second.from(ring.newest()), ring.kDoubles);
    const Iq a = filterRing_ref(ring.data(), first.from(ring.newest()), ring.kDoubles);
    const Iq b = filterRing_ref(ring.data(), second.from(ring.newest()), ring.kDoubles);
    EXPECT_NEAR(pair.first.i, a.i, 1e-12);
    EXPECT_NEAR(pair.first.q, a.q, 1e-12);
    EXPECT_NEAR(pair.second.i, b.i, 1e-12);
    EXPECT_NEAR(pair.second.q, b.q, 1e-12);
}

TEST(PskRingFilter, ClearedRingIsSilent) {
    SampleRing<35> ring;
    for (int n = 0; n < 50; ++n)
        ring.push({1, 1});
    ring.clear();
    const RingTaps taps(kPskDecimatorTaps);
    const Iq silent = filterRing(ring.data(), taps.from(ring.newest()), ring.kDoubles);
    EXPECT_EQ(silent.i, 0);
    EXPECT_EQ(silent.q, 0);
}

TEST(PskRingFilter, DecimatorPassesTheSignalAndStopsWhatWouldFoldOntoIt) {
    const auto taps = whole(kPskDecimatorTaps);
    EXPECT_NEAR(gainAt(taps, 0), 0, 0.05);
    EXPECT_NEAR(gainAt(taps, 50.0 / 8000), 0, 0.1); // 50 Hz of the first stage
    for (double hz = 1950; hz <= 4000; hz += 5)     // folds to within 50 Hz after the first stage
        if (std::abs(hz - 2000) <= 50 || std::abs(hz - 4000) <= 50) {
            EXPECT_LT(gainAt(taps, hz / 8000), -60) << hz;
        }
}

TEST(PskRingFilter, SymbolFiltersStopWhatIsTwoSymbolRatesAway) {
    for (const auto& taps : {whole(kPskBitTaps), whole(kPskFrequencyTaps)}) {
        EXPECT_NEAR(gainAt(taps, 0), 0, 1.5);
        EXPECT_NEAR(gainAt(taps, 0.5 / 16), 0, 1.5); // a reversal's tones
        for (double rates = 1.6; rates < 8; rates += 0.1)
            EXPECT_LT(gainAt(taps, rates / 16), -40) << rates;
    }
}

} // namespace
} // namespace ferrow
