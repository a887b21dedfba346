#include "trx/dsp/rational_resampler.hpp"

#include "reference.hpp"
#include "trx/dsp/decimating_mixer.hpp"

#include <cstdio>
#include <gtest/gtest.h>
#include <limits>

using namespace ferrow;
using namespace ferrow::test;

namespace {

struct Ratio {
    int rate, up, down, factor;
};
constexpr Ratio kRatios[] = {{2000000, 96, 125, 32}, {8000000, 96, 125, 128}, {10000000, 384, 625, 128}};

// Output i lies at i * down / up input samples; its window of 47 begins there, one of 47 * up prototype taps
// for each.
template <class Sample>
std::vector<cd> resampled(const std::vector<Sample>& x, int up, int down, size_t count) {
    const auto h = lowPass(14000.0 / (48000.0 * down), size_t(47 * up));
    std::vector<cd> y(count);
    for (size_t i = 0; i < count; ++i) {
        const long long at = static_cast<long long>(i) * down;
        const long long first = std::max(0ll, (at + up - 1) / up - 47);
        for (long long n = first; n < static_cast<long long>(x.size()); ++n) {
            const long long tap = (n + 47) * up - at;
            if (tap >= 47ll * up)
                break;
            y[i] += h[size_t(tap)] * cd(x[size_t(n)]);
        }
    }
    return y;
}

std::vector<cf> run(rationalResampler& resampler, const std::vector<cf>& x, size_t step) {
    std::vector<cf> y, out(3 * step + 8);
    for (size_t at = 0; at < x.size(); at += step) {
        const size_t n = std::min(step, x.size() - at);
        std::copy_n(&x[at], n, resampler.feed(n).begin());
        const size_t made = resampler.produce(out);
        y.insert(y.end(), out.begin(), out.begin() + long(made));
    }
    return y;
}

} // namespace

TEST(RationalResampler, EqualsTheDoublePrecisionFilterAcrossTheWrapOfItsCounters) {
    for (auto [up, down, samples] : {std::tuple{96, 125, 40000}, {384, 625, 400000}}) {
        const auto x = noise(size_t(samples));
        rationalResampler resampler(up, down);
        const auto y = run(resampler, x, 600);
        EXPECT_GT(y.size(), size_t(up) * size_t(down)) << "past the wrap";
        EXPECT_NEAR(double(y.size()), double(samples) * up / down, 48);
        const auto exact = resampled(x, up, down, y.size());
        double worst = 0;
        for (size_t i = 0; i < y.size(); ++i)
            worst = std::max(worst, std::abs(cd(y[i]) - exact[i]));
        std::printf("%d/%d: off the reference by %.1f dB of full scale\n", up, down, decibels(worst * up));
        EXPECT_LT(worst * up, 2e-6);
    }
}

TEST(RationalResampler, SplitsGiveTheSameBits) {
    const auto x = noise(20000);
    for (auto [up, down] : {std::pair{96, 125}, {384, 625}}) {
        rationalResampler whole(up, down);
        const auto expected = run(whole, x, 2000);
        for (size_t step : {1u, 7u, 64u, 667u, 8032u}) {
            rationalResampler cut(up, down);
            EXPECT_EQ(run(cut, x, step), expected) << step;
        }
    }
}

TEST(RationalResampler, AFullOutputGoesOnInTheNextCall) {
    const auto x = noise(1000);
    rationalResampler whole(96, 125), cut(96, 125);
    const auto expected = run(whole, x, 1000);
    std::copy_n(x.begin(), 1000, cut.feed(1000).begin());
    std::vector<cf> y;
    for (;;) {
        cf out[13];
        const size_t made = cut.produce(out);
        y.insert(y.end(), out, out + made);
        if (made < 13)
            break;
    }
    EXPECT_EQ(y, expected);
}

TEST(RationalResampler, RatesOf2And8And10MHzThroughMixerAndResampler) {
    for (const auto& r : kRatios) {
        const size_t blocks = 400;
        const auto in = noise(blocks * size_t(r.factor));
        const double theta = 1.234567;
        decimatingMixer mixer;
        rationalResampler resampler(r.up, r.down);
        EXPECT_EQ(double(r.rate) / r.factor * r.up / r.down, 48000.0);
        const auto place = resampler.feed(blocks);
        ASSERT_EQ(mixer.process(theta, r.factor, in, place.span()), blocks);
        std::vector<cf> out(512);
        out.resize(resampler.produce(out));
        const auto exact = resampled(mixAndDecimate(in, theta, r.factor), r.up, r.down, out.size());
        double worst = 0;
        for (size_t i = 0; i < out.size(); ++i)
            worst = std::max(worst, std::abs(cd(out[i]) - exact[i]));
        std::printf("%d Hz: off the reference by %.1f dB of full scale\n", r.rate, decibels(worst * r.up));
        EXPECT_LT(worst * r.up, 1e-5);
    }
}

TEST(RationalResampler, ACarrierKeepsItsFrequencyAndImagesAreDown) {
    for (const auto& r : kRatios) {
        const double rate = double(r.rate) / r.factor;
        const auto level = [&](double f, double& frequency) {
            rationalResampler resampler(r.up, r.down);
            const auto y = run(resampler, carrier(8000, f, rate), 500);
            double power = 0;
            cd turn = 0;
            for (size_t i = 200; i < y.size(); ++i) {
                power += std::norm(cd(y[i]) * double(r.up));
                turn += cd(y[i]) * std::conj(cd(y[i - 1]));
            }
            frequency = -std::arg(turn) / kTau * 48000;
            return decibels(std::sqrt(power / double(y.size() - 200)));
        };
        double found = 0;
        const double pass = level(1000, found);
        EXPECT_NEAR(pass, 0, 0.001);
        EXPECT_NEAR(found, 1000, 0.01);
        const double image = level(rate / 2 - 100, found);
        std::printf("%d Hz: gain %.5f dB times 1/%d, half the rate at %.1f dB\n", r.rate, pass, r.up, image);
        EXPECT_LT(image, -60);
    }
}

TEST(RationalResampler, WithoutAFactorItGivesNothing) {
    rationalResampler resampler;
    EXPECT_EQ(resampler.upFactor(), 0);
    EXPECT_EQ(resampler.downFactor(), 0);
    const auto place = resampler.feed(100);
    EXPECT_EQ(place.size(), 100u);
    std::fill(place.begin(), place.end(), cf(1));
    std::vector<cf> out(10);
    EXPECT_EQ(resampler.produce(out), 0u);
    EXPECT_EQ(rationalResampler(96, 125).feed(100000).size(), 8032u);
}

TEST(RationalResampler, DotKernelEqualsItsPlainForm) {
    const auto x = noise(80);
    const auto h = noise(80, 2);
    for (size_t offset : {0u, 1u, 3u})
        for (size_t n = 0; n < 70; ++n) {
            std::vector<cf> taps(n);
            cd exact = 0;
            for (size_t i = 0; i < n; ++i) {
                taps[i] = {h[i].real(), h[i].real()};
                exact += cd(x[offset + i]) * double(h[i].real());
            }
            EXPECT_LT(std::abs(cd(dotTwiceStored(&x[offset], taps.data(), n)) - exact), 1e-5);
            EXPECT_LT(std::abs(cd(dotTwiceStored_ref(&x[offset], taps.data(), n)) - exact), 1e-5);
        }
    std::vector<cf> bad(47, cf(0)), taps(47, cf(1, 1));
    EXPECT_EQ(dotTwiceStored(bad.data(), taps.data(), 47), cf(0));
    bad[46] = {NAN, std::numeric_limits<float>::denorm_min()};
    const cf z = dotTwiceStored(bad.data(), taps.data(), 47);
    EXPECT_TRUE(std::isnan(z.real()));
    EXPECT_EQ(z.imag(), std::numeric_limits<float>::denorm_min());
}
