#include "radios/hpsdr/auto_gain.hpp"

#include <gtest/gtest.h>

namespace ferrow {
namespace {

// One whole window with the given number of overloaded frames.
std::optional<int> window(AutoGain& gain, const AutoGainLimits& limits, int frames, int overloaded,
                          int peak = 0) {
    gain.notePeak(peak);
    std::optional<int> result;
    for (int i = 0; i <= frames; ++i) {
        result = gain.step(i < overloaded, frames, limits);
        if (i < frames) {
            EXPECT_FALSE(result) << "only the end of a window changes the gain";
        }
    }
    return result;
}

TEST(AutoGain, Gain40WithModeMaxAndNoOverloadGoesTo30AndStays) {
    AutoGain gain;
    AutoGainLimits limits{2, 40, -12, 48, 2048};
    EXPECT_EQ(window(gain, limits, 1000, 0), 30);
    limits.rxGain = 30;
    for (int i = 0; i < 5; ++i)
        EXPECT_FALSE(window(gain, limits, 1000, 0));
}

TEST(AutoGain, OffItNeverMoves) {
    AutoGain gain;
    EXPECT_FALSE(window(gain, {0, 40, -12, 48, 2048}, 1000, 1000));
    EXPECT_FALSE(window(gain, {-1, 40, -12, 48, 2048}, 1000, 1000));
}

TEST(AutoGain, AnyModeFrom1UpWorksAlike) {
    for (const int mode : {1, 2, 3}) {
        AutoGain gain;
        EXPECT_EQ(window(gain, {mode, 12, -12, 48, 2048}, 1000, 0), 18);
    }
}

TEST(AutoGain, OverloadAboveOnePercentStepsDownToTheLowestGain) {
    AutoGain gain;
    EXPECT_EQ(window(gain, {2, 24, -12, 48, 2048}, 999, 11), 18);
    EXPECT_FALSE(window(gain, {2, 24, -12, 48, 2048}, 999, 10)) << "exactly one percent is not above it";
    EXPECT_EQ(window(gain, {2, -6, -12, 48, 2048}, 999, 500), -12);
    EXPECT_FALSE(window(gain, {2, -12, -12, 48, 2048}, 999, 500));
    EXPECT_EQ(window(gain, {2, -8, -10, 48, 2048}, 999, 500), -10)
        << "the lowest gain need not be on the grid";
}

TEST(AutoGain, BetweenTheLimitsItStays) {
    AutoGain gain;
    EXPECT_FALSE(window(gain, {2, 18, -12, 48, 2048}, 999, 2)) << "exactly 0.2 percent is not below it";
    EXPECT_EQ(window(gain, {2, 18, -12, 48, 2048}, 999, 1), 24);
    EXPECT_EQ(window(gain, {2, 19, -12, 48, 2048}, 999, 5), 18) << "off the grid it is put on it";
}

TEST(AutoGain, AHighPeakForbidsTheStepUp) {
    AutoGain gain;
    EXPECT_FALSE(window(gain, {2, 18, -12, 48, 2048}, 999, 0, 676)) << "676 / 2048 is above 0.33";
    EXPECT_EQ(window(gain, {2, 18, -12, 48, 2048}, 999, 0, 675), 24);
    EXPECT_EQ(window(gain, {2, 18, -12, 48, 2048}, 999, 0), 24) << "the peak belongs to one window";
}

TEST(AutoGain, NegativeGainsRoundTowardsZero) {
    AutoGain gain;
    EXPECT_EQ(window(gain, {2, -8, -12, 48, 2048}, 999, 5), -6);
    EXPECT_EQ(window(gain, {2, -5, -12, 48, 2048}, 999, 5), 0);
}

TEST(AutoGain, TheHighestGainCaps) {
    AutoGain gain;
    EXPECT_EQ(window(gain, {2, 12, -12, 15, 2048}, 999, 0), 15);
    EXPECT_FALSE(window(gain, {2, 15, -12, 15, 2048}, 999, 0)) << "12 and up again to the cap";
}

TEST(AutoGain, ASenselessAdcWidthDoesNoHarm) {
    AutoGain gain;
    window(gain, {2, 12, -12, 48, 0}, 999, 0, 5);
    window(gain, {2, 12, -12, 48, -3}, 999, 0, 5);
}

} // namespace
} // namespace ferrow
