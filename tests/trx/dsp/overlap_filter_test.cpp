#include "trx/dsp/overlap_filter.hpp"

#include "reference.hpp"
#include "trx/dsp/bandpass_design.hpp"

#include <cstdio>
#include <gtest/gtest.h>
#include <limits>

using namespace ferrow;
using namespace ferrow::test;

namespace {

constexpr size_t kHop = overlapFilter::hop;

// Output sample n by the convolution sum.
cd convolved(const std::vector<cf>& x, const buff<cf>& h, size_t n) {
    cd sum = 0;
    for (size_t i = 0; i < h.size() && i <= n; ++i)
        sum += cd(h[i]) * cd(x[n - i]);
    return sum;
}

void runBlock(overlapFilter& filter, const cf* x) {
    std::copy_n(x, kHop, filter.input.begin());
    filter.run();
}

} // namespace

TEST(OverlapFilter, EqualsTheConvolutionSumForAnyNumberOfTaps) {
    const auto x = noise(10 * kHop);
    for (size_t taps : {1u, 511u, 512u, 513u, 1000u, 1536u, 2048u}) {
        const auto h = toBuff(noise(taps, 7));
        overlapFilter filter(h);
        EXPECT_EQ(filter.partitionCount(), int((taps + 511) / 512));
        for (size_t block = 0; block < 10; ++block) {
            runBlock(filter, &x[block * kHop]);
            for (size_t i = 0; i < kHop; i += 13)
                ASSERT_LT(std::abs(cd(filter.output[i]) - convolved(x, h, block * kHop + i)), 1e-4)
                    << taps << ' ' << block << ' ' << i;
        }
    }
}

TEST(OverlapFilter, ANewFilterOfTheSameSizeKeepsTheHistory) {
    const auto x = noise(8 * kHop);
    const auto first = toBuff(noise(1536, 2)), second = toBuff(noise(1536, 3));
    overlapFilter filter(first);
    for (size_t block = 0; block < 8; ++block) {
        if (block == 4)
            filter.load(second);
        runBlock(filter, &x[block * kHop]);
        for (size_t i = 0; i < kHop; i += 13)
            ASSERT_LT(
                std::abs(cd(filter.output[i]) - convolved(x, block < 4 ? first : second, block * kHop + i)),
                1e-4);
    }
}

TEST(OverlapFilter, AnotherNumberOfPartitionsStartsAnew) {
    overlapFilter filter(toBuff(noise(1536)));
    const auto x = noise(3 * kHop);
    for (size_t block = 0; block < 3; ++block)
        runBlock(filter, &x[block * kHop]);
    const auto h = toBuff(noise(2048));
    filter.load(h);
    EXPECT_EQ(filter.partitionCount(), 4);
    filter.clear();
    runBlock(filter, x.data());
    for (size_t i = 0; i < kHop; ++i)
        ASSERT_LT(std::abs(cd(filter.output[i]) - convolved(x, h, i)), 1e-4);
}

TEST(OverlapFilter, ClearForgetsTheSignalAndKeepsTheTaps) {
    const auto h = designBandpass(300, 2700, 48000, 1536, 1536);
    overlapFilter used(h), fresh(h);
    const auto x = noise(6 * kHop);
    for (size_t block = 0; block < 4; ++block)
        runBlock(used, &x[block * kHop]);
    used.clear();
    for (size_t block = 0; block < 6; ++block) {
        runBlock(used, &x[block * kHop]);
        runBlock(fresh, &x[block * kHop]);
        for (size_t i = 0; i < kHop; ++i)
            ASSERT_EQ(used.output[i], fresh.output[i]);
    }
}

TEST(OverlapFilter, WithoutTapsTheOutputIsZero) {
    overlapFilter filter;
    runBlock(filter, noise(kHop).data());
    for (auto z : filter.output)
        EXPECT_EQ(z, cf(0));
    filter.load(buff<cf>());
    filter.run();
}

TEST(OverlapFilter, NanPassesThroughAndLeaves) {
    overlapFilter filter(designBandpass(300, 2700, 48000, 1536, 1536));
    auto x = noise(kHop);
    auto bad = x;
    bad[5] = {NAN, 0};
    runBlock(filter, bad.data());
    EXPECT_TRUE(std::isnan(filter.output[300].real()));
    for (int block = 0; block < 4; ++block)
        runBlock(filter, x.data());
    for (auto z : filter.output)
        EXPECT_TRUE(std::isfinite(z.real()) && std::isfinite(z.imag()));
}

TEST(OverlapFilter, ProductKernelEqualsItsPlainForm) {
    const auto a = noise(70, 1), b = noise(70, 2), c = noise(70, 3);
    for (bool add : {false, true})
        for (size_t offset : {0u, 1u, 3u})
            for (size_t n = 0; n < 60; ++n) {
                std::vector<cf> plain(c), fast(c);
                multiplySpectra_ref(&a[offset], &b[1], &plain[2], n, add);
                multiplySpectra(&a[offset], &b[1], &fast[2], n, add);
                for (size_t i = 0; i < n; ++i) {
                    const cd exact = cd(a[offset + i]) * cd(b[1 + i]) + (add ? cd(c[2 + i]) : 0);
                    EXPECT_LT(std::abs(cd(fast[2 + i]) - exact), 1e-6);
                    EXPECT_LT(std::abs(cd(plain[2 + i]) - exact), 1e-6);
                }
                EXPECT_EQ(fast[2 + n], c[2 + n]);
                EXPECT_EQ(fast[1], c[1]);
            }
    const float tiny = std::numeric_limits<float>::denorm_min();
    const std::vector<cf> small(5, cf(tiny, 0)), one(5, cf(1)), bad(5, cf(NAN, 0));
    std::vector<cf> sum(5);
    multiplySpectra(small.data(), one.data(), sum.data(), 5, false);
    for (auto z : sum)
        EXPECT_EQ(z, cf(tiny, 0));
    multiplySpectra(bad.data(), one.data(), sum.data(), 5, true);
    for (auto z : sum)
        EXPECT_TRUE(std::isnan(z.real()));
}
