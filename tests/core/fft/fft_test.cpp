#include "core/fft/fft.hpp"
#include "tests/support/noise.hpp"

#include <atomic>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <numbers>
#include <random>
#include <thread>
#include <vector>

using namespace ferrow;
using ferrow::test::noise;
using cf = std::complex<float>;
using cd = std::complex<double>;

namespace {

// The sum itself, in double precision.
template <class T>
std::vector<cd> slowTransform(const T* x, size_t n, int sign) {
    std::vector<cd> result(n), turn(n);
    for (size_t i = 0; i < n; ++i)
        turn[i] = std::polar(1.0, sign * 2 * std::numbers::pi * double(i) / double(n));
    for (size_t k = 0; k < n; ++k)
        for (size_t i = 0; i < n; ++i)
            result[k] += cd(x[i]) * turn[k * i % n];
    return result;
}

template <class T>
void expectClose(const T* got, const std::vector<cd>& exact, size_t count, double tolerance) {
    double scale = 0;
    for (const auto& z : exact)
        scale = std::max(scale, std::abs(z));
    for (size_t i = 0; i < count; ++i)
        ASSERT_LT(std::abs(cd(got[i]) - exact[i]), tolerance * scale) << "bin " << i;
}

} // namespace

TEST(Fft, ForwardAndInverseAreTheirSums) {
    for (size_t n : {1u, 2u, 4u, 8u, 64u, 1024u, 2048u}) {
        const auto x = noise(n);
        expectClose(fft::forward(x).data(), slowTransform(x.data(), n, -1), n, 1e-6);
        expectClose(fft::inverse(x).data(), slowTransform(x.data(), n, +1), n, 1e-6);
    }
}

TEST(Fft, ForwardThenInverseOfAnyPowerOfTwoReturnsNTimesTheInput) {
    for (int order = 0; order <= 20; ++order) {
        const size_t n = size_t{1} << order;
        const auto x = noise(n);
        const auto y = fft::inverse(fft::forward(x));
        ASSERT_EQ(y.size(), n);
        for (size_t i = 0; i < n; ++i)
            ASSERT_LT(std::abs(y[i] / float(n) - x[i]), 1e-5f) << n << ' ' << i;
    }
}

TEST(Fft, TwoThreadsAtTheSameLengthDoNotDisturbEachOther) {
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (unsigned t = 0; t < 4; ++t)
        threads.emplace_back([t, &wrong] {
            const auto x = noise(1024, t);
            const buff<cf> y(1024), odd = buff<cf>(1025).slice(1, 1024);
            const auto exact = slowTransform(x.data(), 1024, -1);
            for (int round = 0; round < 200; ++round) {
                fft::forward(x, round % 2 ? y : odd);
                for (size_t i = 0; i < 1024; i += 31)
                    wrong += std::abs(cd((round % 2 ? y : odd)[i]) - exact[i]) > 1e-3;
            }
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}

TEST(Fft, ThreadsComeAndGoWithPlansOfTheirOwn) {
    fft::forward(noise(256));
    const size_t here = fft::cachedPlans();
    for (int i = 0; i < 20; ++i)
        std::thread([] {
            EXPECT_EQ(fft::cachedPlans(), 0u);
            fft::prepare(1024);
            fft::forward(noise(1024));
            fft::forward(noise(512));
            EXPECT_EQ(fft::cachedPlans(), 2u);
        }).join();
    EXPECT_EQ(fft::cachedPlans(), here);
}

TEST(Fft, LengthOneReturnsItsInput) {
    const buff<cf> x(1, {3, -4}), y(1);
    EXPECT_EQ(fft::forward(x)[0], cf(3, -4));
    EXPECT_EQ(fft::inverse(x, y)[0], cf(3, -4));
    const cd z(1, 2);
    cd w;
    fft::forward(&z, &w, 1);
    EXPECT_EQ(w, z);
    const double r = 5;
    fft::forwardReal(&r, &w, 1);
    EXPECT_EQ(w, cd(5, 0));
}

TEST(Fft, FirstRequestInverseThenForwardGivesACorrectForward) {
    std::thread([] {
        const auto x = noise(128);
        fft::inverse(x);
        expectClose(fft::forward(x).data(), slowTransform(x.data(), 128, -1), 128, 1e-6);
        EXPECT_EQ(fft::cachedPlans(), 1u);
    }).join();
}

TEST(Fft, OtherLengthsRoundDownAndLeaveTheRest) {
    for (size_t n : {3u, 1000u, 1023u, 1025u}) {
        size_t used = 1;
        while (used * 2 <= n)
            used *= 2;
        const auto x = noise(n);
        const buff<cf> y(n, {7, 8});
        fft::forward(x, y);
        expectClose(y.data(), slowTransform(x.data(), used, -1), used, 1e-6);
        for (size_t i = used; i < n; ++i)
            EXPECT_EQ(y[i], cf(7, 8));
    }
}

TEST(Fft, InPlaceAndMisalignedGiveTheSameResult) {
    const size_t n = 512;
    const auto x = noise(n);
    const auto forwardSum = slowTransform(x.data(), n, -1);
    for (size_t a = 0; a < 4; ++a)
        for (size_t b = 0; b < 4; ++b) {
            const auto in = buff<cf>(n + a).slice(a, n), out = buff<cf>(n + b + 1, cf(5)).slice(b, n);
            x.copy(in);
            fft::forward(in, out);
            expectClose(out.data(), forwardSum, n, 1e-6);
            EXPECT_EQ(out.data()[n], cf(5)) << "one past the end";
            EXPECT_EQ(std::memcmp(in.data(), x.data(), n * sizeof(cf)), 0) << "input unchanged";
            fft::forward(in, in);
            expectClose(in.data(), forwardSum, n, 1e-6);
        }
}

TEST(Fft, AnOutputWithTooLittleRoomStaysAsItWas) {
    const buff<cf> small(63, {1, 1});
    fft::forward(noise(64), small);
    for (auto z : small)
        EXPECT_EQ(z, cf(1, 1));
    EXPECT_TRUE(fft::forward(buff<cf>()).empty());
    EXPECT_TRUE(fft::forwardReal(buff<float>()).empty());
}

TEST(Fft, RealInputGivesTheBinsUpToHalfTheRate) {
    std::mt19937 random(3);
    std::normal_distribution<float> normal;
    for (size_t n : {1u, 2u, 16u, 2048u, 3000u}) {
        buff<float> x(n);
        for (auto& v : x)
            v = normal(random);
        const size_t used = n == 3000 ? 2048 : n;
        const auto y = fft::forwardReal(x);
        ASSERT_EQ(y.size(), n / 2 + 1);
        expectClose(y.data(), slowTransform(x.data(), used, -1), used / 2 + 1, 1e-6);
        if (n < 3)
            continue;
        const auto odd = buff<cf>(n / 2 + 2).slice(1, n / 2 + 1);
        fft::forwardReal(x.slice(1, n - 1), odd);
        expectClose(odd.data(), slowTransform(&x[1], n == 3000 ? 2048 : n / 2, -1), n / 4, 1e-6);
    }
}

TEST(Fft, DoublePrecisionForwardInverseAndReal) {
    std::mt19937 random(4);
    std::normal_distribution<double> normal;
    const size_t n = 1024;
    std::vector<cd> x(n), y(n), back(n);
    std::vector<double> real(n);
    for (size_t i = 0; i < n; ++i) {
        x[i] = {normal(random), normal(random)};
        real[i] = normal(random);
    }
    fft::forward(x.data(), y.data(), n);
    expectClose(y.data(), slowTransform(x.data(), n, -1), n, 1e-13);
    fft::inverse(y.data(), back.data(), n);
    for (size_t i = 0; i < n; ++i)
        ASSERT_LT(std::abs(back[i] / double(n) - x[i]), 1e-13);
    const auto inverseSum = slowTransform(x.data(), n, +1);
    fft::inverse(x.data(), x.data(), n);
    expectClose(x.data(), inverseSum, n, 1e-13);

    std::vector<cd> packed(n / 2 + 1);
    fft::forwardReal(real.data(), packed.data(), n);
    expectClose(packed.data(), slowTransform(real.data(), n, -1), n / 2 + 1, 1e-13);
    EXPECT_EQ(packed[0].imag(), 0.0);
    EXPECT_EQ(packed[n / 2].imag(), 0.0);
}
