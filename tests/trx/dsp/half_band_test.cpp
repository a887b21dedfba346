#include "trx/dsp/half_band.hpp"

#include "reference.hpp"

#include <gtest/gtest.h>
#include <limits>

using namespace ferrow;
using namespace ferrow::test;

namespace {

constexpr HalfBandKind kKinds[] = {HalfBandKind::Short, HalfBandKind::Medium, HalfBandKind::Long};
constexpr int kTapCounts[] = {11, 19, 39};

// Runs a stage over x in the given cuts, each a number of input pairs.
std::vector<cf> run(HalfBandKind kind, const std::vector<cf>& x, const std::vector<size_t>& cuts,
                    bool split) {
    HalfBandStage stage(kind, 4096);
    std::vector<cf> y;
    size_t at = 0;
    for (size_t pairs : cuts) {
        const auto in = stage.input();
        for (size_t i = 0; i < pairs; ++i, at += 2) {
            in.evenRe[i] = x[at].real();
            in.evenIm[i] = x[at].imag();
            in.oddRe[i] = x[at + 1].real();
            in.oddIm[i] = x[at + 1].imag();
        }
        std::vector<float> a(pairs + 1), b(pairs + 1), c(pairs + 1), d(pairs + 1);
        if (split)
            stage.run(pairs, SplitOutput{a.data(), b.data(), c.data(), d.data()});
        else
            stage.run(pairs, a.data(), b.data());
        for (size_t k = 0; k < pairs; ++k) {
            if (!split)
                y.emplace_back(a[k], b[k]);
            else
                y.emplace_back(k % 2 ? c[k / 2] : a[k / 2], k % 2 ? d[k / 2] : b[k / 2]);
        }
        EXPECT_EQ(a[pairs], 0.0f);
    }
    return y;
}

} // namespace

TEST(HalfBand, EveryKindEqualsTheDoublePrecisionFilter) {
    const auto x = noise(4096);
    for (int i = 0; i < 3; ++i) {
        const auto exact = halveRate({x.begin(), x.end()}, halfBandImpulse(kTapCounts[i]));
        for (bool split : {false, true}) {
            const auto y = run(kKinds[i], x, {2048}, split);
            for (size_t k = 0; k < y.size(); ++k)
                ASSERT_LT(std::abs(cd(y[k]) - exact[k]), 1e-6) << kTapCounts[i] << ' ' << k;
        }
    }
}

TEST(HalfBand, CutsOfAnySizeGiveTheSameBits) {
    const auto x = noise(4096);
    std::vector<size_t> ones(2048, 1), odd;
    for (size_t left = 2048, n = 1; left > 0; left -= n) {
        n = std::min(left, n * 5 % 97 + 1);
        odd.push_back(n);
    }
    for (auto kind : kKinds) {
        const auto whole = run(kind, x, {2048}, false);
        EXPECT_EQ(whole, run(kind, x, {1024, 1024}, true));
        EXPECT_EQ(whole, run(kind, x, ones, false));
        EXPECT_EQ(whole, run(kind, x, odd, false));
    }
}

TEST(HalfBand, VectorFormEqualsThePlainFormBitForBit) {
    const auto x = noise(400);
    for (int i = 0; i < 3; ++i) {
        const auto taps = halfBandTaps(kKinds[i]);
        const size_t history = 2 * taps.size() - 1;
        std::vector<float> even(history), odd(history);
        for (size_t k = 0; k < 200; ++k) {
            even.push_back(x[2 * k].real());
            odd.push_back(x[2 * k + 1].real());
        }
        std::vector<float> plain(200);
        halfBand_ref(taps, even.data(), odd.data(), plain.data(), 200);
        const auto y = run(kKinds[i], x, {200}, false);
        for (size_t k = 0; k < 200; ++k)
            ASSERT_EQ(y[k].real(), plain[k]);
    }
}

TEST(HalfBand, ZeroesDenormalsAndNan) {
    for (auto kind : kKinds) {
        for (auto z : run(kind, std::vector<cf>(200), {100}, true))
            EXPECT_EQ(z, cf(0));
        std::vector<cf> x(400, cf(std::numeric_limits<float>::denorm_min(), 0));
        for (auto z : run(kind, x, {200}, false))
            EXPECT_TRUE(std::abs(z) < 1e-44f);
        x.assign(400, cf(1));
        x[10] = {0, NAN};
        const auto y = run(kind, x, {200}, false);
        EXPECT_TRUE(std::isnan(y[5].imag()));
        EXPECT_FALSE(std::isnan(y[5].real()));
        EXPECT_NEAR(std::abs(y[60] - cf(1)), 0, 1e-3) << "gone with the history";
    }
}
