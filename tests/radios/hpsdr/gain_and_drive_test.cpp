#include "radios/hpsdr/drive_table.hpp"
#include "radios/hpsdr/gain_rule.hpp"

#include <cmath>
#include <gtest/gtest.h>

namespace ferrow {
namespace {

TEST(DriveTable, WithoutFineStepsDriveIsTheLevel) {
    DriveTable table;
    table.build(true);
    table.build(false);
    for (int i = 0; i < 256; ++i) {
        EXPECT_EQ(table[i].drive, i);
        EXPECT_EQ(table[i].gain, 1.0);
    }
}

TEST(DriveTable, WithFineStepsSixteenLevelsAndTenthsOfADecibel) {
    DriveTable table;
    table.build(true);
    // Level 255 − 5 × m − k is drive 240 − 16 × m with k tenths, until the drive has come down to 0 at 180.
    for (int i = 1; i < 256; ++i) {
        const int down = 255 - i;
        const bool made = down >= 75;
        const int drive = made ? 0 : 240 - 16 * (down / 5);
        const double decibels = made ? -0.1 * (down - 75) : -0.1 * (down % 5);
        EXPECT_EQ(table[i].drive, drive) << i;
        EXPECT_NEAR(20.0 * std::log10(table[i].gain), decibels, 1e-9) << i;
    }
    EXPECT_EQ(table[255].drive, 240);
    EXPECT_EQ(table[255].gain, 1.0);
    EXPECT_EQ(table[251].drive, 240);
    EXPECT_NEAR(20.0 * std::log10(table[251].gain), -0.4, 1e-9);
    EXPECT_EQ(table[250].drive, 224);
    EXPECT_EQ(table[250].gain, 1.0);
    EXPECT_EQ(table[181].drive, 16);
    EXPECT_EQ(table[180].drive, 0);
    EXPECT_EQ(table[180].gain, 1.0);
    EXPECT_NEAR(20.0 * std::log10(table[1].gain), -17.9, 1e-9);
}

TEST(DriveTable, Drive0OnTheSecondHermesLiteHasGain0) {
    DriveTable table;
    table.build(true);
    EXPECT_EQ(table[0].drive, 0);
    EXPECT_EQ(table[0].gain, 0.0);
}

TEST(DriveTable, LevelsOutsideTheTableCountAsItsEnds) {
    DriveTable table;
    EXPECT_EQ(table[-1].drive, 0);
    EXPECT_EQ(table[1000].drive, 255);
}

TEST(GainRule, SecondHermesLiteCountsUpFromTheLowestGain) {
    for (int gain = -12; gain <= 48; ++gain) {
        const GainCodes codes = gainCodes(gain, -12, true, true, {true, 1});
        EXPECT_EQ(codes.gainCode, gain + 12);
        EXPECT_TRUE(codes.extraGain) << "not touched";
    }
    EXPECT_EQ(gainCodes(-20, -12, false, true, {}).gainCode, 256 - 8);
}

TEST(GainRule, FirstHermesLiteCountsDownAndSwitchesItsExtraGain) {
    struct Row {
        int gain;
        bool extra;
        int code;
    };
    // c = −12 − gain + 63: 63 at −12 dB, 31 at 20 dB, 27 at 24 dB, 3 at 48 dB, −1 at 52 dB, −33 at 84 dB.
    for (const Row& row : {Row{-12, true, 31}, Row{19, true, 0}, Row{20, false, 31}, Row{24, false, 27},
                           Row{48, false, 3}, Row{51, false, 0}, Row{52, false, 255}, Row{84, false, 255}}) {
        const GainCodes codes = gainCodes(row.gain, -12, true, false, {!row.extra, 0});
        EXPECT_EQ(codes.extraGain, row.extra) << row.gain;
        EXPECT_EQ(codes.gainCode, row.code) << row.gain;
    }
}

TEST(GainRule, OtherBoardsKeepTheExtraGainFlag) {
    EXPECT_TRUE(gainCodes(48, -12, false, false, {true, 0}).extraGain);
    EXPECT_FALSE(gainCodes(-12, -12, false, false, {false, 0}).extraGain);
    EXPECT_EQ(gainCodes(24, -12, false, false, {}).gainCode, 27);
    EXPECT_EQ(GainCodes{}.gainCode, 26);
}

TEST(GainRule, UndoGainIsTheInverseOfTheGainInDecibels) {
    EXPECT_DOUBLE_EQ(undoGain(0), 1.0);
    EXPECT_DOUBLE_EQ(undoGain(20), 0.1);
    EXPECT_DOUBLE_EQ(undoGain(-20), 10.0);
    EXPECT_NEAR(undoGain(24), 0.0630957344480193, 1e-15);
    EXPECT_NEAR(undoGain(3), 0.7079457843841379, 1e-15);
}

} // namespace
} // namespace ferrow
