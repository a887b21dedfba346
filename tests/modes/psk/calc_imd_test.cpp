#include "modes/psk/calc_imd.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <vector>

namespace ferrow {
namespace {

// Energy of a bin of the plain transform of 288 samples.
double binEnergy(const std::vector<double>& x, int cycles) {
    std::complex<double> sum;
    for (std::size_t n = 0; n < x.size(); ++n)
        sum += x[n] * std::polar(1.0, -2 * std::numbers::pi * cycles * static_cast<double>(n) / 288);
    return std::norm(sum);
}

// An idle signal at 16 samples a symbol, half a symbol rate up and down, with its third-order products.
std::vector<Iq> idle(double third) {
    std::vector<Iq> samples;
    for (int n = 0; n < CCalcIMD::kSpan; ++n) {
        const double angle = std::numbers::pi * n / 16;
        const double level = std::cos(angle) + third * std::cos(3 * angle);
        samples.push_back({level * 0.6, level * 0.8});
    }
    return samples;
}

TEST(CalcImd, EnergiesAreThoseOfNineEighteenAndTwentySevenCycles) {
    const auto samples = idle(0.1);
    CCalcIMD imd;
    for (const Iq& sample : samples)
        imd.process(sample);
    std::vector<double> i, q;
    for (const Iq& sample : samples) {
        i.push_back(sample.i);
        q.push_back(sample.q);
    }
    for (int k = 0; k < 3; ++k) {
        const double expected = binEnergy(i, 9 * (k + 1)) + binEnergy(q, 9 * (k + 1));
        EXPECT_NEAR(imd.energies()[static_cast<std::size_t>(k)], expected, 1e-6 * (expected + 1));
    }
    EXPECT_NEAR(10 * std::log10(imd.energies()[2] / imd.energies()[0]), -20, 1e-6);
}

TEST(CalcImd, AMeasurementTakes288Samples) {
    CCalcIMD imd;
    const auto samples = idle(0);
    for (int n = 0; n + 1 < CCalcIMD::kSpan; ++n)
        imd.process(samples[static_cast<std::size_t>(n)]);
    EXPECT_EQ(imd.energies()[0], 0);
    imd.process(samples.back());
    EXPECT_GT(imd.energies()[0], 1000);
}

TEST(CalcImd, ClearingForgetsTheMeasurementUnderWayAndKeepsTheLastResult) {
    CCalcIMD imd;
    for (const Iq& sample : idle(0))
        imd.process(sample);
    const auto before = imd.energies();
    for (int n = 0; n < 100; ++n)
        imd.process({1e6, 1e6});
    imd.clear();
    EXPECT_EQ(imd.energies(), before);
    for (const Iq& sample : idle(0))
        imd.process(sample);
    EXPECT_NEAR(imd.energies()[0], before[0], 1e-6 * before[0]);
}

} // namespace
} // namespace ferrow
