#include "trx/dsp/window.hpp"

#include "reference.hpp"

#include <gtest/gtest.h>
#include <limits>

using namespace ferrow;
using namespace ferrow::test;

TEST(Window, EqualsItsFormulaAndIsSymmetric) {
    for (size_t n : {2u, 7u, 1536u, 2048u, 18048u})
        for (size_t i = 0; i < n; ++i) {
            EXPECT_NEAR(sevenTermWindow(i, n), cosineWindow(double(i), double(n)), 1e-14);
            EXPECT_NEAR(sevenTermWindow(i, n), sevenTermWindow(n - 1 - i, n), 1e-12);
        }
    EXPECT_NEAR(sevenTermWindow(1024, 2049), 1.0, 1e-5);
    EXPECT_EQ(sevenTermWindow(2048)[5], float(sevenTermWindow(5, 2048)));
}

TEST(Window, MultiplyOddLengthsMisalignedInPlace) {
    const auto x = noise(80);
    const auto w = sevenTermWindow(90);
    for (size_t offset : {0u, 1u, 3u})
        for (size_t n = 0; n < 60; ++n) {
            std::vector<cf> expected(n), out(n + 1, cf(9)), inPlace(x.begin(), x.end());
            multiplyByWindow_ref(&x[offset], &w[offset + 2], expected.data(), n);
            multiplyByWindow(&x[offset], &w[offset + 2], out.data(), n);
            multiplyByWindow(&inPlace[offset], &w[offset + 2], &inPlace[offset], n);
            for (size_t i = 0; i < n; ++i) {
                EXPECT_EQ(out[i], expected[i]);
                EXPECT_EQ(inPlace[i + offset], expected[i]);
                EXPECT_EQ(expected[i], cf(x[offset + i].real() * w[offset + 2 + i],
                                          x[offset + i].imag() * w[offset + 2 + i]));
            }
            EXPECT_EQ(out[n], cf(9));
        }
}

TEST(Window, MultiplyZerosDenormalsAndNan) {
    const float tiny = std::numeric_limits<float>::denorm_min();
    std::vector<cf> x(19, cf(tiny, 0));
    x[3] = {NAN, 1};
    x[17] = {1, NAN};
    const buff<float> w(19, 1.0f);
    multiplyByWindow(x.data(), w.data(), x.data(), 19);
    EXPECT_EQ(x[0], cf(tiny, 0));
    EXPECT_TRUE(std::isnan(x[3].real()));
    EXPECT_EQ(x[3].imag(), 1);
    EXPECT_TRUE(std::isnan(x[17].imag()));
    EXPECT_EQ(x[18], cf(tiny, 0));
}

TEST(Window, MultiplyRealSamples) {
    buff<float> x(21, 2.0f), w(21), y(21);
    for (size_t i = 0; i < 21; ++i)
        w[i] = float(i);
    multiplyByWindow(x.data(), w.data(), y.data(), 21);
    for (size_t i = 0; i < 21; ++i)
        EXPECT_EQ(y[i], 2 * float(i));
}
