#include "radios/hpsdr/power_meter.hpp"

#include <cmath>
#include <gtest/gtest.h>
#include <vector>

namespace ferrow {
namespace {

const std::vector<CalibrationPoint> kTable{{0, 0}, {10, 1}, {20, 4}, {30, 9}};

TEST(Lookup, InterpolatesBetweenPoints) {
    EXPECT_DOUBLE_EQ(lookup(kTable, 0), 0);
    EXPECT_DOUBLE_EQ(lookup(kTable, 5), 0.5);
    EXPECT_DOUBLE_EQ(lookup(kTable, 10), 1);
    EXPECT_DOUBLE_EQ(lookup(kTable, 15), 2.5);
    EXPECT_DOUBLE_EQ(lookup(kTable, 25), 6.5);
    EXPECT_DOUBLE_EQ(lookup(kTable, 30), 9);
}

TEST(Lookup, TheEndSegmentsGoOnBeyondTheTable) {
    EXPECT_DOUBLE_EQ(lookup(kTable, 50), 19);
    EXPECT_DOUBLE_EQ(lookup(kTable, -10), -1);
}

TEST(Lookup, FewerThanTwoEntriesGive0) {
    EXPECT_EQ(lookup({}, 5), 0);
    EXPECT_EQ(lookup(std::vector<CalibrationPoint>{{3, 4}}, 3), 0);
}

TEST(Lookup, WithATableOfExactlyTwoEntriesOneLineServesAll) {
    const std::vector<CalibrationPoint> two{{10, 1}, {20, 3}};
    EXPECT_DOUBLE_EQ(lookup(two, 0), -1);
    EXPECT_DOUBLE_EQ(lookup(two, 15), 2);
    EXPECT_DOUBLE_EQ(lookup(two, 100), 19);
}

TEST(Lookup, TwoEqualInputsOnTheSegmentDivideByZeroWithoutHarm) {
    const std::vector<CalibrationPoint> table{{10, 1}, {10, 3}};
    EXPECT_FALSE(std::isfinite(lookup(table, 10)));
}

TEST(PowerMeter, DefaultTable) {
    const float expected[15][2] = {
        {0.0f, 0.0f},
        {25.865385f, 0.00255025f},
        {101.02454f, 0.012752045f},
        {265.29013f, 0.05060093f},
        {647.91559f, 0.21645831f},
        {1196.5935f, 0.66548049f},
        {1603.7032f, 1.155723f},
        {2012.3271f, 1.8118922f},
        {2616.7727f, 3.008585f},
        {3173.8181f, 4.3927426f},
        {3382.7922f, 4.9791327f},
        {3721.0715f, 6.0247507f},
        {4093.1785f, 7.2899485f},
        {4502.4966f, 8.820838f},
        {4952.746f, 10.673214f},
    };
    const auto table = defaultPowerTable();
    ASSERT_EQ(table.size(), 15u);
    for (std::size_t i = 0; i < 15; ++i) {
        EXPECT_EQ(table[i].inp, static_cast<double>(expected[i][0]));
        EXPECT_EQ(table[i].outp, static_cast<double>(expected[i][1]));
    }
}

TEST(PowerMeter, TemperatureAndCurrent) {
    AnalogInputs ain;
    EXPECT_NEAR(boardTemperature(ain), -50.0, 1e-9);
    ain.ain5 = 1000;
    EXPECT_NEAR(boardTemperature(ain), (3.26 * 1000 / 4096 - 0.5) * 100, 1e-9);
    ain.ain3 = 2000;
    EXPECT_NEAR(boardCurrent(ain), 3.26 * 2000 / 4096 / 50 / 0.04 * 1000 * 1.27, 1e-9);
}

TEST(PowerMeter, Ain2AboveAin1IsTakenAsForward) {
    AnalogInputs ain;
    ain.ain1 = 10;
    ain.ain2 = 30;
    const PowerReading one = readPower(ain, kTable);
    EXPECT_FLOAT_EQ(one.forward, 9.0f);
    EXPECT_FLOAT_EQ(one.reverse, 1.0f);
    EXPECT_FLOAT_EQ(one.swr, 2.0f) << "r = 1/3";
    std::swap(ain.ain1, ain.ain2);
    const PowerReading other = readPower(ain, kTable);
    EXPECT_EQ(one.forward, other.forward);
    EXPECT_EQ(one.reverse, other.reverse);
    EXPECT_EQ(one.swr, other.swr);
}

TEST(PowerMeter, StandingWaveAtItsLimits) {
    AnalogInputs ain;
    EXPECT_FLOAT_EQ(readPower(ain, kTable).swr, 1.0f) << "no power at all";
    ain.ain1 = ain.ain2 = 20;
    EXPECT_GT(readPower(ain, kTable).swr, 1e30f) << "everything comes back";
    EXPECT_FLOAT_EQ(readPower(ain, {}).swr, 1.0f) << "no table";
}

} // namespace
} // namespace ferrow
