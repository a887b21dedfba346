#include "trx/dsp/decimating_mixer.hpp"

#include "reference.hpp"

#include <cstdio>
#include <gtest/gtest.h>
#include <limits>

using namespace ferrow;
using namespace ferrow::test;

namespace {

constexpr double kTheta = 0.7312345;

std::vector<cf> process(decimatingMixer& mixer, double theta, int factor, std::span<const cf> in) {
    std::vector<cf> out(in.size() / 2 + in.size() % 2 + in.size() / 2 + 1);
    out.resize(mixer.process(theta, factor, in, out));
    return out;
}

double largestError(const std::vector<cf>& got, const std::vector<cd>& exact) {
    EXPECT_EQ(got.size(), exact.size());
    double worst = 0;
    for (size_t i = 0; i < std::min(got.size(), exact.size()); ++i)
        worst = std::max(worst, std::abs(cd(got[i]) - exact[i]));
    return worst;
}

} // namespace

TEST(DecimatingMixer, EveryFactorEqualsTheDoublePrecisionChain) {
    for (int factor : {1, 2, 4, 8, 16, 32, 64, 128}) {
        const auto in = noise(size_t(factor) * 200 + 4096 / size_t(factor) * size_t(factor));
        for (double theta : {kTheta, -2.9, 0.0}) {
            decimatingMixer mixer;
            const double worst =
                largestError(process(mixer, theta, factor, in), mixAndDecimate(in, theta, factor));
            EXPECT_LT(worst, 1e-5) << factor << ' ' << theta;
        }
    }
}

// A tone anywhere in the input comes out as the cascade's response says; images fold onto the output band.
TEST(DecimatingMixer, ImagesOfFactors2To32And128AgainstTheReference) {
    for (int factor : {2, 4, 8, 16, 32, 128}) {
        const double rate = 48000.0 * factor;
        double worstImage = -1000, worstDifference = 0;
        decimatingMixer mixer;
        const size_t settle = 64, counted = 256;
        for (int fold = 1; fold<factor; fold += factor> 32 ? 7 : 1)
            for (double within : {-3000.0, -650.0, 1900.0}) {
                const double f = 48000.0 * fold + within; // folds onto `within`
                const auto in = carrier((settle + counted) * size_t(factor), f, rate);
                const auto out = process(mixer, 0, factor, in);
                const auto exact = mixAndDecimate(in, 0, factor);
                double power = 0, exactPower = 0;
                for (size_t i = settle; i < out.size(); ++i) {
                    power += std::norm(cd(out[i]));
                    exactPower += std::norm(exact[i]);
                    worstDifference = std::max(worstDifference, std::abs(cd(out[i]) - exact[i]));
                }
                worstImage = std::max(worstImage, decibels(std::sqrt(power / double(counted))));
                EXPECT_LT(
                    std::abs(std::sqrt(power / double(counted)) - std::sqrt(exactPower / double(counted))),
                    1e-6);
            }
        std::printf("factor %3d: images onto +-3 kHz at most %.1f dB, off the reference by %.1f dB\n", factor,
                    worstImage, decibels(worstDifference));
        EXPECT_LT(worstImage, -120);
        EXPECT_LT(worstDifference, 1e-6);
    }
}

TEST(DecimatingMixer, PassBandIsFlat) {
    for (int factor : {2, 8, 32}) {
        double worst = 0;
        for (double f : {-10000.0, -3000.0, 100.0, 2700.0, 9000.0}) {
            cd total = 1;
            double at = f / (48000.0 * factor);
            for (int taps : stagesOf(factor)) {
                total *= response(halfBandImpulse(taps), at);
                at *= 2;
            }
            decimatingMixer mixer;
            const auto out = process(mixer, 0, factor, carrier(256 * size_t(factor), f, 48000.0 * factor));
            EXPECT_NEAR(std::abs(out.back()), std::abs(total), 1e-5);
            worst = std::max(worst, std::abs(decibels(std::abs(out.back()))));
        }
        std::printf("factor %2d: within %.5f dB up to 10 kHz\n", factor, worst);
        EXPECT_LT(worst, 0.01);
    }
}

TEST(DecimatingMixer, BlockSplitsDoNotChangeTheOutput) {
    for (int factor : {1, 2, 4, 8, 32}) {
        const auto in = noise(4096);
        float largest = 0;
        for (auto z : in)
            largest = std::max(largest, std::abs(z));
        for (double theta : {0.0, kTheta, 3.1}) {
            decimatingMixer mixer;
            const auto whole = process(mixer, theta, factor, in);
            ASSERT_EQ(whole.size(), 4096u / size_t(factor));
            for (size_t step : {1u, 3u, 7u, 8u, 64u, 100u, 1000u, 2048u}) {
                decimatingMixer cut;
                std::vector<cf> parts;
                for (size_t at = 0; at < in.size(); at += step) {
                    const auto part = process(cut, theta, factor,
                                              std::span(in).subspan(at, std::min(step, in.size() - at)));
                    parts.insert(parts.end(), part.begin(), part.end());
                }
                ASSERT_EQ(parts.size(), whole.size()) << factor << ' ' << step;
                for (size_t i = 0; i < whole.size(); ++i) {
                    if (theta == 0.0)
                        ASSERT_EQ(parts[i], whole[i]) << "without a turn, bit for bit";
                    else
                        ASSERT_LT(std::abs(parts[i] - whole[i]), 5e-6f * largest) << factor << ' ' << step;
                }
            }
        }
    }
}

TEST(DecimatingMixer, Factors3567AndBelow1GiveNothing) {
    decimatingMixer mixer;
    const auto in = noise(64);
    std::vector<cf> out(64, cf(9));
    for (int factor : {3, 5, 6, 7, 0, -1})
        EXPECT_EQ(mixer.process(0, factor, in, out), 0u);
    EXPECT_EQ(out[0], cf(9));
}

TEST(DecimatingMixer, OtherFactorsAbove8AreRoundedByHalving) {
    const auto in = noise(1200);
    decimatingMixer twelve, eight;
    EXPECT_EQ(process(twelve, kTheta, 12, in), process(eight, kTheta, 8, in));
}

TEST(DecimatingMixer, NeverWritesBeyondTheOutput) {
    for (int factor : {1, 2, 12}) {
        const auto in = noise(1024);
        std::vector<cf> out(11, cf(9));
        decimatingMixer mixer;
        EXPECT_EQ(mixer.process(kTheta, factor, in, std::span(out).first(10)), 10u);
        EXPECT_EQ(out[10], cf(9));
        EXPECT_NE(out[9], cf(9));
    }
}

TEST(DecimatingMixer, AChangeOfFactorStartsWithEmptyHistories) {
    decimatingMixer mixer;
    process(mixer, 0, 8, noise(4096, 3));
    process(mixer, 0, 4, noise(4096, 4));
    const auto in = noise(4096);
    EXPECT_LT(largestError(process(mixer, 0, 8, in), mixAndDecimate(in, 0, 8)), 1e-6);
}

TEST(DecimatingMixer, InPlaceAndMisaligned) {
    for (int factor : {1, 2, 8}) {
        const auto in = noise(4099);
        for (size_t offset : {0u, 1u, 3u}) {
            const auto part = std::span(in).subspan(offset, 4096);
            decimatingMixer a, b;
            const auto expected = process(a, kTheta, factor, part);
            std::vector<cf> work(in);
            const auto place = std::span(work).subspan(offset, 4096);
            work.resize(4099);
            ASSERT_EQ(b.process(kTheta, factor, place, place), expected.size());
            for (size_t i = 0; i < expected.size(); ++i)
                ASSERT_EQ(place[i], expected[i]);
        }
    }
}

TEST(DecimatingMixer, ZeroesDenormalsNanAndBadPhaseStepsLeaveNoTrace) {
    for (int factor : {1, 8}) {
        decimatingMixer mixer;
        for (auto z : process(mixer, kTheta, factor, std::vector<cf>(1024)))
            EXPECT_EQ(std::abs(z), 0.0f);
        std::vector<cf> x(1024, cf(std::numeric_limits<float>::denorm_min(), 0));
        x[100] = {NAN, NAN};
        process(mixer, kTheta, factor, x);
        process(mixer, NAN, factor, x);
        process(mixer, std::numeric_limits<double>::infinity(), factor, x);
        const auto in = noise(4096);
        process(mixer, 0, factor, in);
        for (auto z : process(mixer, 0, factor, in))
            EXPECT_TRUE(std::isfinite(z.real()) && std::isfinite(z.imag()));
    }
}

TEST(DecimatingMixer, TheOscillatorDoesNotDriftInALongRun) {
    decimatingMixer mixer;
    const std::vector<cf> ones(4096, cf(1));
    const int calls = 10000;
    std::vector<cf> out;
    for (int i = 0; i < calls; ++i)
        out = process(mixer, kTheta, 1, ones);
    double worst = 0;
    for (size_t i = 0; i < 4096; ++i) {
        const double n = double(calls - 1) * 4096 + double(i);
        const double angle = std::fmod(kTheta * n, kTau);
        worst = std::max(worst, std::abs(cd(out[i]) - std::polar(1.0, -angle)));
    }
    std::printf("after %.2g samples off by %.2g\n", calls * 4096.0, worst);
    EXPECT_LT(worst, 1e-5);
    EXPECT_NEAR(std::abs(out[4095]), 1, 1e-5);
}

TEST(Mixing, VectorFormsEqualThePlainForms) {
    const auto in = noise(300);
    const PhasorSteps steps(kTheta);
    const cd start = std::polar(1.0, 0.4);
    for (size_t offset : {0u, 1u, 3u})
        for (size_t n = 0; n < 200; n += n < 40 ? 1 : 17) {
            std::vector<cf> plain(n), fast(n + 1, cf(9));
            mix_ref(&in[offset], n, start, kTheta, plain.data());
            mix(&in[offset], n, start, steps, fast.data());
            for (size_t i = 0; i < n; ++i)
                ASSERT_LT(std::abs(plain[i] - fast[i]), 4e-6f) << n << ' ' << i;
            EXPECT_EQ(fast[n], cf(9));
            if (n % 2)
                continue;
            std::vector<float> a(4 * n + 4, 9.0f), b(4 * n + 4, 9.0f);
            const auto rows = [n](std::vector<float>& r) {
                return SplitOutput{&r[0], &r[n / 2 + 1], &r[n + 2], &r[n + n / 2 + 3]};
            };
            mixSplit_ref(&in[offset], n, start, kTheta, rows(a));
            mixSplit(&in[offset], n, start, steps, rows(b));
            for (size_t i = 0; i < a.size(); ++i)
                ASSERT_NEAR(a[i], b[i], 4e-6f);
        }
}
