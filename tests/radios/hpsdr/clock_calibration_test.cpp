#include "radios/hpsdr/clock_calibration.hpp"

#include <cmath>
#include <gtest/gtest.h>

namespace ferrow {
namespace {

constexpr long long kMinute = 60LL * 10000000;

TEST(MovingAverage, StartsWithOneValueOfOne) {
    MovingAverage average(3);
    EXPECT_EQ(average.count(), 1u);
    EXPECT_EQ(average.sum(), 1.0);
    average.feed(2.0);
    EXPECT_EQ(average.count(), 2u);
    EXPECT_EQ(average.sum(), 3.0);
    EXPECT_FALSE(average.full());
    average.feed(3.0);
    EXPECT_TRUE(average.full());
    average.feed(10.0);
    EXPECT_EQ(average.sum(), 15.0) << "the oldest, 1.0, has left";
    average.feed(10.0);
    EXPECT_EQ(average.sum(), 23.0);
    EXPECT_EQ(average.count(), 3u);
}

TEST(MovingAverage, ClearingEmptiesItWhereverItsPositionIs) {
    MovingAverage average(3);
    for (const double v : {5.0, 6.0, 7.0, 8.0})
        average.feed(v);
    average.clear();
    EXPECT_EQ(average.count(), 0u);
    EXPECT_EQ(average.sum(), 0.0);
    for (const double v : {1.0, 2.0, 3.0, 4.0})
        average.feed(v);
    EXPECT_EQ(average.sum(), 9.0);
    EXPECT_DOUBLE_EQ(average.mean(), 3.0);
}

// Feeds packets of the given length until a factor comes, at a clock that starts at `time`.
struct Fed {
    ClockCalibration calibration{10};
    long long time = 0;
    int packets = 0;

    std::optional<double> feed(double ratio, bool enabled = true, double expected = 0.004) {
        ++packets;
        return calibration.step(expected * ratio, expected, time, enabled);
    }
    std::optional<double> feedUntil(double ratio, int most) {
        for (int i = 0; i < most; ++i)
            if (const auto factor = feed(ratio))
                return factor;
        return std::nullopt;
    }
};

TEST(ClockCalibration, TheFirst3000PacketsArePassedOverAndBothAveragesMustFill) {
    Fed fed;
    fed.time = 3 * kMinute;
    // The averages start with one value each: nine points fill the first, and it feeds the second from then
    // on.
    const auto factor = fed.feedUntil(1.000005, 5000);
    ASSERT_TRUE(factor);
    EXPECT_EQ(fed.packets, 3000 + 9 + 8);
    EXPECT_GT(*factor, 1.0);
    EXPECT_LT(*factor, 1.000005) << "the ones that the averages start with are in it";
}

TEST(ClockCalibration, AfterAResetTheOnesAreGone) {
    Fed fed;
    fed.time = 3 * kMinute;
    fed.feedUntil(1.0, 100);
    fed.calibration.reset();
    fed.packets = 0;
    const auto factor = fed.feedUntil(1.000004, 5000);
    ASSERT_TRUE(factor);
    EXPECT_EQ(fed.packets, 3000 + 10 + 9);
    EXPECT_NEAR(*factor, 1.000004, 1e-12);
}

TEST(ClockCalibration, ShortPacketsAreGatheredToAThreeHundredthOfASecond) {
    Fed fed;
    fed.calibration.reset();
    fed.time = 3 * kMinute;
    // 63 samples at 48 kHz: three make more than 1/300 s, two do not.
    int packets = 0;
    while (!fed.feed(1.0, true, 63.0 / 48000))
        ASSERT_LT(++packets, 10000);
    EXPECT_EQ(packets + 1, 3000 + 3 * 19);
}

TEST(ClockCalibration, MovesOnlyWhenATwoMinutePairBegins) {
    Fed fed;
    fed.calibration.reset();
    fed.time = 60 * kMinute; // minute 0 of an hour: the pair it starts with
    EXPECT_FALSE(fed.feedUntil(1.000001, 4000));
    fed.time = 61 * kMinute;
    EXPECT_FALSE(fed.feed(1.000001));
    fed.time = 62 * kMinute;
    EXPECT_TRUE(fed.feed(1.000001));
    EXPECT_FALSE(fed.feed(1.000001));
    fed.time = 63 * kMinute + 59 * 10000000LL;
    EXPECT_FALSE(fed.feed(1.000001));
    fed.time = 64 * kMinute;
    EXPECT_TRUE(fed.feed(1.000001));
    fed.time = 120 * kMinute;
    EXPECT_TRUE(fed.feed(1.000001)) << "back to pair 0";
    // Days make no difference.
    fed.time = 864000000000LL * 20000 + 120 * kMinute;
    EXPECT_FALSE(fed.feed(1.000001));
    fed.time += 2 * kMinute;
    EXPECT_TRUE(fed.feed(1.000001));
}

TEST(ClockCalibration, FactorsFarFrom1AreNotTaken) {
    for (const double ratio : {1.0000101, 0.9999899, 1.5, 0.5}) {
        Fed fed;
        fed.calibration.reset();
        fed.time = 3 * kMinute;
        EXPECT_FALSE(fed.feedUntil(ratio, 4000)) << ratio;
    }
    for (const double ratio : {1.0000099, 0.9999901}) {
        Fed fed;
        fed.calibration.reset();
        fed.time = 3 * kMinute;
        EXPECT_TRUE(fed.feedUntil(ratio, 4000)) << ratio;
    }
}

TEST(ClockCalibration, OffItFillsItsAveragesButGivesNothing) {
    Fed fed;
    fed.calibration.reset();
    fed.time = 3 * kMinute;
    for (int i = 0; i < 4000; ++i)
        ASSERT_FALSE(fed.feed(1.000002, false));
    EXPECT_TRUE(fed.feed(1.000002, true));
}

TEST(ClockCalibration, LengthOfTheAverages) {
    EXPECT_EQ(ClockCalibration::kAverageLength, 180000u);
}

} // namespace
} // namespace ferrow
