#include "core/buff/buff_math.hpp"
#include "tests/support/noise.hpp"

#include <bit>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>

using namespace ferrow;
using ferrow::test::noise;
using cf = std::complex<float>;

namespace {

double powerOf(cf z) {
    return double(z.real()) * z.real() + double(z.imag()) * z.imag();
}

} // namespace

TEST(BuffMath, RotateMovesTheLastKToTheFront) {
    const auto a = noise(9);
    for (size_t k = 0; k <= 9; ++k) {
        const auto r = rotate(a, k);
        ASSERT_EQ(r.size(), 9u);
        for (size_t i = 0; i < 9; ++i)
            EXPECT_EQ(r[(i + k) % 9], a[i]);
    }
    EXPECT_TRUE(rotate(buff<cf>(), 0).empty());
}

TEST(BuffMath, LogPowerIsWorkedInDouble) {
    auto a = noise(100);
    a[3] = 0;
    a[4] = {1e-30f, 0}; // its square is no single-precision number
    a[5] = {3e20f, 3e20f};
    const auto l = logPower(a);
    for (size_t i = 0; i < a.size(); ++i)
        EXPECT_FLOAT_EQ(l[i], float(std::log10(powerOf(a[i]) + 1e-38)));
    EXPECT_FLOAT_EQ(l[3], -38.0f);
}

TEST(BuffMath, PowerOfAnyLengthAndAlignment) {
    const auto all = noise(70);
    for (size_t offset : {0u, 1u, 3u})
        for (size_t n = 0; n < 60; ++n) {
            const auto a = all.slice(offset, n);
            const auto p = power(a, 0.3f);
            ASSERT_EQ(p.size(), n);
            for (size_t i = 0; i < n; ++i)
                EXPECT_NEAR(p[i], powerOf(a[i]) * 0.3, 1e-6 * powerOf(a[i]));
        }
    const auto zero = power(buff<cf>(11, cf(0)), 1.0f);
    for (float v : zero)
        EXPECT_FLOAT_EQ(v, 1e-38f);
}

TEST(BuffMath, Log10OverTheWholeRangeOfFloat) {
    std::mt19937 random(5);
    std::uniform_int_distribution<uint32_t> bits(1, 0x7f7fffff);
    const size_t n = 200000;
    buff<float> a(n), b(n);
    for (auto& v : a)
        v = std::bit_cast<float>(bits(random));
    log10Into(a, b);
    double worst = 0;
    for (size_t i = 0; i < n; ++i) {
        const double exact = std::log10(double(a[i]));
        worst = std::max(worst, std::abs(b[i] - exact) / std::abs(exact));
    }
    EXPECT_LT(worst, 2e-7);
    RecordProperty("worst_relative_error", std::to_string(worst * 1e9) + "e-9");
}

TEST(BuffMath, Log10NextToOneKeepsItsRelativeAccuracy) {
    const size_t n = 8192;
    buff<float> a(n);
    float v = 0.9995f;
    for (auto& x : a) {
        x = v;
        v = std::nextafter(v, 2.0f);
    }
    const auto b = log10Into(a, buff<float>(n));
    for (size_t i = 0; i < n; ++i) {
        const double exact = std::log10(double(a[i]));
        EXPECT_NEAR(b[i], exact, 2e-7 * std::abs(exact));
    }
    EXPECT_EQ(log10Into(buff<float>(8, 1.0f), buff<float>(8))[5], 0.0f);
}

TEST(BuffMath, Log10OfZeroDenormalNegativeInfiniteAndNan) {
    const float inf = std::numeric_limits<float>::infinity();
    const float values[8] = {0.0f, -0.0f, 1e-38f, 1.4e-45f, -1.0f, inf, NAN, -inf};
    buff<float> a(11), b(11);
    for (size_t i = 0; i < 11; ++i)
        a[i] = values[i % 8]; // the last three go through the library function
    const auto c = log10Into(a, b);
    EXPECT_EQ(c.data(), b.data());
    for (size_t i : {0u, 1u, 8u, 9u})
        EXPECT_EQ(b[i], -inf);
    EXPECT_FLOAT_EQ(b[2], -38.0f);
    EXPECT_FLOAT_EQ(b[10], -38.0f);
    EXPECT_FLOAT_EQ(b[3], float(std::log10(double(1.4e-45f))));
    EXPECT_TRUE(std::isnan(b[4]));
    EXPECT_EQ(b[5], inf);
    EXPECT_TRUE(std::isnan(b[6]));
    EXPECT_TRUE(std::isnan(b[7]));
}

TEST(BuffMath, Log10InPlaceOddLengthsMisaligned) {
    for (size_t n = 0; n < 40; ++n) {
        buff<float> block(n + 3, 1e-7f);
        const auto a = block.slice(3, n);
        log10Into(a, a);
        for (float v : a)
            EXPECT_FLOAT_EQ(v, -7.0f);
        EXPECT_EQ(block[2], 1e-7f);
    }
}

TEST(BuffMath, PeakOfEmptyIsZeroAndOfAnyLengthTheLargest) {
    EXPECT_EQ(peakMagnitude(buff<cf>()), 0.0f);
    EXPECT_EQ(peakPower(buff<cf>()), 0.0f);
    for (size_t n = 1; n < 50; ++n)
        for (size_t place = 0; place < n; ++place) {
            auto a = buff<cf>(n, cf(0.1f, 0.1f));
            a[place] = {3, -4};
            EXPECT_EQ(peakPower(a), 25.0f);
            EXPECT_EQ(peakMagnitude(a), 5.0f);
        }
    buff<cf> withNan(20, cf(1, 0));
    withNan[2] = withNan[17] = {NAN, 0};
    EXPECT_EQ(peakPower(withNan), 1.0f);
}
