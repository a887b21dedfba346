#include "radios/hpsdr/telemetry.hpp"

#include <array>
#include <gtest/gtest.h>

namespace ferrow {
namespace {

using Control = std::array<std::uint8_t, 5>;

TEST(Telemetry, C0Bit7SkipsTheControlBytesWhole) {
    Telemetry telemetry;
    for (const int kind : {0, 1, 2, 3}) {
        const Control c{static_cast<std::uint8_t>(0x80 | kind << 3 | 5), 0xFF, 0xFF, 0xFF, 0xFF};
        const TelemetryReport report = telemetry.read(c.data(), true, true);
        EXPECT_TRUE(report.skipped);
        EXPECT_FALSE(report.adcOverload);
        EXPECT_FALSE(report.minTxBufferLevel);
        EXPECT_FALSE(report.txOverflow || report.txUnderflow || report.radioPtt || report.cwKey);
    }
    EXPECT_EQ(telemetry.inputs().ain1, 0.0);
    EXPECT_EQ(telemetry.inputs().ain5, 0.0);
}

TEST(Telemetry, Bits0And2ArePttAndKeyWhateverTheKind) {
    for (int kind = 0; kind < 16; ++kind)
        for (int bits = 0; bits < 8; ++bits) {
            Telemetry telemetry;
            const Control c{static_cast<std::uint8_t>(kind << 3 | bits), 0, 0, 0, 0};
            const TelemetryReport report = telemetry.read(c.data(), false, false);
            EXPECT_FALSE(report.skipped);
            EXPECT_EQ(report.radioPtt, (bits & 1) != 0);
            EXPECT_EQ(report.cwKey, (bits & 4) != 0);
            EXPECT_EQ(report.adcOverload.has_value(), kind == 0);
        }
}

TEST(Telemetry, AdcOverloadIsBit0OfC1) {
    Telemetry telemetry;
    for (const int c1 : {0, 1, 2, 0xFE, 0xFF}) {
        const Control c{0, static_cast<std::uint8_t>(c1), 0, 0, 0};
        EXPECT_EQ(telemetry.read(c.data(), false, false).adcOverload, (c1 & 1) != 0);
    }
}

TEST(Telemetry, AnalogueInputsByKindAveraged) {
    Telemetry telemetry;
    const auto feed = [&](int kind, int first, int second) {
        const Control c{static_cast<std::uint8_t>(kind << 3), static_cast<std::uint8_t>(first >> 8),
                        static_cast<std::uint8_t>(first), static_cast<std::uint8_t>(second >> 8),
                        static_cast<std::uint8_t>(second)};
        telemetry.read(c.data(), false, false);
    };
    feed(1, 0x0510, 0x0101);
    feed(2, 0x0202, 0x0303);
    feed(3, 0x0404, 0x0606);
    feed(4, 0x7777, 0x7777);
    feed(15, 0x7777, 0x7777);
    const AnalogInputs& ain = telemetry.inputs();
    EXPECT_NEAR(ain.ain5, 0.1 * 0x0510, 1e-9);
    EXPECT_NEAR(ain.ain1, 0.1 * 0x0101, 1e-9);
    EXPECT_NEAR(ain.ain2, 0.1 * 0x0202, 1e-9);
    EXPECT_NEAR(ain.ain3, 0.1 * 0x0303, 1e-9);
    EXPECT_NEAR(ain.ain4, 0.1 * 0x0404, 1e-9);
    EXPECT_NEAR(ain.ain6, 0.1 * 0x0606, 1e-9);
    feed(1, 0xFFFF, 0);
    EXPECT_NEAR(ain.ain5, 0.9 * 0.1 * 0x0510 + 0.1 * 65535, 1e-9);
    EXPECT_NEAR(ain.ain1, 0.9 * 0.1 * 0x0101, 1e-9);
}

TelemetryReport buffer(Telemetry& telemetry, int c3, bool ptt, bool refreshed) {
    const Control c{0, 0, 0, static_cast<std::uint8_t>(c3), 0};
    return telemetry.read(c.data(), ptt, refreshed);
}

TEST(Telemetry, ALevelOf127HasNoEffectOnALowerMinimumAndC0IsAnUnderflow) {
    Telemetry telemetry;
    buffer(telemetry, 40, true, false);
    buffer(telemetry, 0x7F, true, false);
    EXPECT_EQ(buffer(telemetry, 60, true, true).minTxBufferLevel, 40);
    const TelemetryReport report = buffer(telemetry, 0xC0, true, false);
    EXPECT_TRUE(report.txUnderflow);
    EXPECT_FALSE(report.txOverflow);
}

TEST(Telemetry, TransmitBufferReports) {
    for (int c3 = 0; c3 < 256; ++c3) {
        Telemetry telemetry;
        const TelemetryReport report = buffer(telemetry, c3, true, true);
        EXPECT_EQ(report.txOverflow, c3 >= 128 && (c3 & 0x40) == 0) << c3;
        EXPECT_EQ(report.txUnderflow, c3 >= 128 && (c3 & 0x40) != 0) << c3;
        EXPECT_EQ(report.minTxBufferLevel.has_value(), c3 < 128) << c3;
        if (c3 < 128) {
            EXPECT_EQ(*report.minTxBufferLevel, c3);
        }
    }
}

TEST(Telemetry, TheMinimumIsPublishedByTheFirstLevelBehindARefreshAndStartsAgain) {
    Telemetry telemetry;
    EXPECT_FALSE(buffer(telemetry, 90, true, false).minTxBufferLevel);
    EXPECT_FALSE(buffer(telemetry, 0x80, true, true).minTxBufferLevel) << "an overflow is no level";
    EXPECT_EQ(buffer(telemetry, 100, true, true).minTxBufferLevel, 90);
    EXPECT_EQ(buffer(telemetry, 110, true, true).minTxBufferLevel, 110);
}

TEST(Telemetry, WithoutPttTheBufferIsNotLookedAt) {
    Telemetry telemetry;
    for (const int c3 : {5, 0x80, 0xC0}) {
        const TelemetryReport report = buffer(telemetry, c3, false, true);
        EXPECT_FALSE(report.txOverflow || report.txUnderflow || report.minTxBufferLevel.has_value());
    }
    EXPECT_EQ(buffer(telemetry, 50, true, true).minTxBufferLevel, 50);
}

} // namespace
} // namespace ferrow
