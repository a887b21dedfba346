#include "radios/hpsdr/sample_writer.hpp"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

namespace ferrow {
namespace {

using Complex = std::complex<float>;

int word(const std::vector<std::uint8_t>& bytes, std::size_t at) {
    const int value = bytes[at] << 8 | bytes[at + 1];
    return value >= 32768 ? value - 65536 : value;
}

struct Written {
    AudioRamp ramp;
    std::vector<std::uint8_t> bytes;

    void write(const std::vector<Complex>& samples, const TransmitFormat& format) {
        bytes.assign(8 * samples.size(), 0xCC);
        writeSamples(bytes.data(), samples, format, ramp);
    }
    int left(std::size_t i) const { return word(bytes, 8 * i) & 0xFFFF; }
    int right(std::size_t i) const { return word(bytes, 8 * i + 2) & 0xFFFF; }
    int first(std::size_t i) const { return word(bytes, 8 * i + 4); }
    int second(std::size_t i) const { return word(bytes, 8 * i + 6); }
};

TEST(SampleWriter, InAnEvenZoneTheWordsAreQAndMinusI) {
    Written out;
    out.write({{0.5f, 0.25f}, {-0.5f, -0.25f}, {0.0f, 0.0f}}, {});
    // 0.5 × 32766 = 16383, 0.25 × 32766 = 8191.5 rounds away from zero.
    EXPECT_EQ(out.first(0), 8192);
    EXPECT_EQ(out.second(0), -16383);
    EXPECT_EQ(out.first(1), -8192);
    EXPECT_EQ(out.second(1), 16383);
    EXPECT_EQ(out.first(2), 0);
    EXPECT_EQ(out.second(2), 0);
    EXPECT_EQ(out.left(0), 0);
    EXPECT_EQ(out.right(0), 0);
}

TEST(SampleWriter, InAnOddZoneTheyAreMinusIAndQ) {
    Written out;
    TransmitFormat format;
    format.oddZone = true;
    out.write({{0.5f, 0.25f}}, format);
    EXPECT_EQ(out.first(0), -16383);
    EXPECT_EQ(out.second(0), 8192);
}

TEST(SampleWriter, TheDriveGainScalesTheSamples) {
    Written out;
    TransmitFormat format;
    format.gain = 0.5;
    out.write({{1.0f, 0.0f}, {0.0f, 1.0f}}, format);
    EXPECT_EQ(out.second(0), -16383);
    EXPECT_EQ(out.first(1), 16383);
    format.gain = 0.0;
    out.write({{1.0f, 1.0f}, {100.0f, -3.0f}}, format);
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(out.first(i), 0) << "drive 0: silence at any level";
        EXPECT_EQ(out.second(i), 0);
    }
}

TEST(SampleWriter, MagnitudeIsLimitedToFullScaleWithItsPhaseKept) {
    Written out;
    std::vector<Complex> samples;
    for (int i = 0; i < 63; ++i) {
        const double phase = 0.1 * i;
        const double level = 0.9 + 0.05 * i;
        samples.emplace_back(static_cast<float>(level * std::cos(phase)),
                             static_cast<float>(level * std::sin(phase)));
    }
    out.write(samples, {});
    for (std::size_t i = 0; i < samples.size(); ++i) {
        double expectedI = static_cast<double>(samples[i].real()) * 32766.0;
        double expectedQ = static_cast<double>(samples[i].imag()) * 32766.0;
        const double magnitude = std::hypot(expectedI, expectedQ);
        if (magnitude > 32766.0) {
            expectedI *= 32766.0 / magnitude;
            expectedQ *= 32766.0 / magnitude;
        }
        EXPECT_NEAR(out.first(i), expectedQ, 0.5001) << i;
        EXPECT_NEAR(out.second(i), -expectedI, 0.5001) << i;
    }
    out.write({{1.0f, 0.0f}, {-1.0f, 0.0f}, {0.0f, 1.0f}, {3e38f, 0.0f}, {1e30f, -1e30f}}, {});
    EXPECT_EQ(out.second(0), -32766);
    EXPECT_EQ(out.second(1), 32766);
    EXPECT_EQ(out.first(2), 32766);
    EXPECT_EQ(out.second(3), -32766);
    EXPECT_EQ(out.first(4), -23169);
    EXPECT_EQ(out.second(4), -23169);
}

TEST(SampleWriter, WhatIsNoNumberBecomesSilence) {
    Written out;
    const float inf = std::numeric_limits<float>::infinity();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    out.write({{nan, 0.5f}, {inf, 0.0f}}, {});
    EXPECT_EQ(out.second(0), 0);
    EXPECT_EQ(out.second(1), 0);
    TransmitFormat format;
    format.cwInternal = true;
    out.write({{nan, 0.0f}, {inf, 0.0f}, {-inf, 0.0f}}, format);
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_EQ(out.first(i), 0);
}

TEST(SampleWriter, WithTheInternalKeyerTheWordIsTheKey) {
    Written out;
    TransmitFormat format;
    format.cwInternal = true;
    format.oddZone = true;
    out.write({{1.0f, 9.0f}, {0.0f, 9.0f}, {0.99f, 0.0f}, {-1.0f, 0.0f}, {256.0f, 0.0f}, {257.0f, 0.0f}},
              format);
    const int expected[] = {3, 0, 0, 3, 0, 3};
    for (std::size_t i = 0; i < 6; ++i) {
        EXPECT_EQ(out.first(i), expected[i]) << i;
        EXPECT_EQ(out.second(i), 0) << i;
    }
}

TEST(SampleWriter, TheAudioRampRunsAndWrapsAt4096) {
    Written out;
    TransmitFormat format;
    format.audioRamp = true;
    int index = 0;
    for (int frame = 0; frame < 140; ++frame) {
        out.write(std::vector<Complex>(63), format);
        for (std::size_t i = 0; i < 63; ++i) {
            ASSERT_EQ(out.left(i), index);
            ASSERT_EQ(out.right(i), 16 * index);
            ASSERT_EQ(out.first(i), 0);
            index = (index + 1) % 4096;
        }
    }
}

} // namespace
} // namespace ferrow
