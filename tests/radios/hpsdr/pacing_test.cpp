#include "radios/hpsdr/pacing.hpp"

#include <cmath>
#include <gtest/gtest.h>

namespace ferrow {
namespace {

int blocks(int rate, int receivers, std::uint32_t from, int packets) {
    const int perPacket = samplesPerPacket(receivers);
    const long long perBlock = blockInReceiveSamples(rate);
    int due = 0;
    for (int i = 0; i < packets; ++i)
        due += blockDue(from + static_cast<std::uint32_t>(i), perPacket, perBlock);
    return due;
}

TEST(Pacing, At96kHzWithOneReceiverABlockOnEverySecondPacket) {
    EXPECT_EQ(samplesPerPacket(1), 126);
    EXPECT_EQ(blockInReceiveSamples(96000), 252);
    for (std::uint32_t sequence = 0; sequence < 1000; ++sequence)
        ASSERT_EQ(blockDue(sequence, 126, 252), sequence % 2 == 1);
}

TEST(Pacing, At48kHzWithTwoReceiversFourBlocksInSevenPackets) {
    EXPECT_EQ(samplesPerPacket(2), 72);
    EXPECT_EQ(blockInReceiveSamples(48000), 126);
    for (std::uint32_t start = 0; start < 700; start += 7)
        ASSERT_EQ(blocks(48000, 2, start, 7), 4);
}

TEST(Pacing, AtAnyRateAndCountABlockLeaves380Point95TimesASecond) {
    for (const int rate : {48000, 96000, 192000, 384000})
        for (int receivers = 1; receivers <= 12; ++receivers) {
            const double packetsPerSecond = static_cast<double>(rate) / samplesPerPacket(receivers);
            const int seconds = 20;
            const int packets = static_cast<int>(packetsPerSecond * seconds);
            EXPECT_NEAR(blocks(rate, receivers, 12345, packets), 48000.0 / 126 * seconds, 2.0)
                << rate << " " << receivers;
        }
}

TEST(Pacing, TheLastSequenceNumbersPaceLikeAnyOther) {
    EXPECT_NEAR(blocks(192000, 3, 0xFFFFF000u, 4000), 4000.0 * samplesPerPacket(3) / 504, 1.0);
}

TEST(Pacing, RatesTooLowForABlockGiveNone) {
    for (const int rate : {0, 380, -48000})
        EXPECT_EQ(blocks(rate, 1, 0, 1000), 0) << rate;
}

TEST(Pacing, IntervalsScaleWithRateAndReceivers) {
    EXPECT_EQ(telemetryFramesPerRefresh(1, 48000), 80);
    EXPECT_EQ(telemetryFramesPerRefresh(4, 384000), 4 * 640);
    EXPECT_EQ(autoGainWindow(1, 48000), 1000);
    EXPECT_EQ(autoGainWindow(2, 96000), 4000);
    EXPECT_EQ(autoGainWindow(1, 2000000000), 2000000000LL * 1000 / 48000);
}

} // namespace
} // namespace ferrow
