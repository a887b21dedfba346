#include "trx/dsp/bandpass_design.hpp"

#include "reference.hpp"

#include <cstdio>
#include <gtest/gtest.h>

using namespace ferrow;
using namespace ferrow::test;

namespace {

constexpr double kRate = 48000;
constexpr double kTransition = 7 * kRate / 1536; // half the window's main lobe

struct Figures {
    double ripple = 0;   // largest deviation in the band, dB
    double stop = -1000; // largest response outside, dB
};

// Response at `above` Hz above the centre, which stands at a negative frequency.
double levelAt(const buff<cf>& taps, double above) {
    return decibels(std::abs(response(taps, -above / kRate)));
}

Figures figuresOf(const buff<cf>& taps, double low, double high) {
    Figures found;
    for (double f = -24000; f < 24000; f += 7.3) {
        const double level = levelAt(taps, f);
        if (f > low + kTransition && f < high - kTransition)
            found.ripple = std::max(found.ripple, std::abs(level));
        else if (f < low - kTransition || f > high + kTransition)
            found.stop = std::max(found.stop, level);
    }
    return found;
}

} // namespace

TEST(BandpassDesign, StopBandOf1536TapsIsAtLeast100DbDownAndThePassBandFlat) {
    for (auto [low, high] : {std::pair{300.0f, 2700.0f}, {-2700.0f, -300.0f}, {-3000.0f, 3000.0f}}) {
        const auto found = figuresOf(designBandpass(low, high, kRate, 1536, 1536), low, high);
        std::printf("%6.0f to %5.0f Hz: ripple %.1e dB, stop band %.1f dB\n", low, high, found.ripple,
                    found.stop);
        EXPECT_LT(found.stop, -100);
        EXPECT_LT(found.ripple, 0.0002);
    }
}

TEST(BandpassDesign, PositiveBandPassesSignalsAboveTheCentre) {
    const auto taps = designBandpass(300, 2700, kRate, 1536, 1536);
    EXPECT_NEAR(levelAt(taps, 1500), 0, 1e-4);
    EXPECT_LT(levelAt(taps, -1500), -120);
    EXPECT_NEAR(levelAt(taps, 300), -6, 0.1) << "half amplitude at the edge";
}

TEST(BandpassDesign, TapsFollowTheWindowedSinc) {
    for (size_t taps : {1536u, 1535u, 8u, 1u}) {
        const auto h = designBandpass(100, 2100, kRate, taps, taps);
        const auto low = lowPass(1000 / kRate, taps);
        for (size_t i = 0; i < taps; ++i) {
            const double t = double(i) - (double(taps) - 1) / 2;
            const cd expected = low[i] * std::polar(1.0, -kTau * 1100 / kRate * t);
            ASSERT_LT(std::abs(cd(h[i]) - expected), 1e-7) << taps << ' ' << i;
        }
    }
}

TEST(BandpassDesign, OddCentreTapIsTheBandwidthAndMirrorsAreConjugate) {
    const auto h = designBandpass(-1000, 3000, kRate, 101, 101);
    EXPECT_EQ(h[50], cf(float(4000 / kRate), 0));
    for (size_t i = 0; i < 50; ++i)
        EXPECT_EQ(h[i], std::conj(h[100 - i]));
}

TEST(BandpassDesign, LengthPadsWithZeroesAndCuts) {
    const auto h = designBandpass(300, 2700, kRate, 64, 80);
    ASSERT_EQ(h.size(), 80u);
    for (size_t i = 64; i < 80; ++i)
        EXPECT_EQ(h[i], cf(0));
    const auto cut = designBandpass(300, 2700, kRate, 64, 10);
    for (size_t i = 0; i < 10; ++i)
        EXPECT_EQ(cut[i], h[i]);
}

TEST(BandpassDesign, ReversedBandChangesTheSignAndNoWindowLeavesTheSinc) {
    const auto a = designBandpass(50, 3100, kRate, 256, 256), b = designBandpass(3100, 50, kRate, 256, 256);
    const auto bare = designBandpass(50, 3100, kRate, 256, 256, FilterWindow::None);
    for (size_t i = 0; i < 256; ++i) {
        EXPECT_LT(std::abs(a[i] + b[i]), 1e-9f);
        EXPECT_LT(std::abs(cd(bare[i]) * cosineWindow(double(i), 256) - cd(a[i])), 1e-8);
    }
}

TEST(BandpassDesign, MinimumPhaseKeepsTheMagnitudeAndRemovesTheLatency) {
    const auto linear = designBandpass(300, 2700, kRate, 1536, 1536);
    const auto minimum = minimumPhase(linear);
    ASSERT_EQ(minimum.size(), linear.size());
    double passError = 0, stop = -1000;
    for (double f = -24000; f < 24000; f += 7.3) {
        const double a = levelAt(linear, f), b = levelAt(minimum, f);
        if (a > -60)
            passError = std::max(passError, std::abs(a - b));
        if (f < 300 - kTransition || f > 2700 + kTransition)
            stop = std::max(stop, b);
    }
    const auto delay = [](const buff<cf>& h) {
        double energy = 0, moment = 0;
        for (size_t i = 0; i < h.size(); ++i) {
            energy += std::norm(cd(h[i]));
            moment += double(i) * std::norm(cd(h[i]));
        }
        return moment / energy;
    };
    std::printf("magnitude within %.4f dB down to -60 dB, stop band %.1f dB, delay %.1f -> %.1f samples\n",
                passError, stop, delay(linear), delay(minimum));
    EXPECT_LT(passError, 0.05);
    EXPECT_LT(stop, -100);
    EXPECT_NEAR(delay(linear), 767.5, 0.1);
    EXPECT_LT(delay(minimum), 130);
}
