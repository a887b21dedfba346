#include "radios/hpsdr/wideband.hpp"

#include <cmath>
#include <gtest/gtest.h>
#include <vector>

namespace ferrow {
namespace {

TEST(Wideband, TheLowTwoBitsOfTheSequenceGiveTheQuarter) {
    for (std::uint32_t sequence : {0u, 1u, 2u, 3u, 4u, 0xFFFFFFFFu, 0xFFFFFFFEu})
        EXPECT_EQ(widebandPosition(sequence), (sequence % 4) * 512);
}

TEST(Wideband, ScaleByGainAndAdcWidth) {
    EXPECT_DOUBLE_EQ(widebandScale(1.0, 2048), 0.0004886962890625);
    EXPECT_DOUBLE_EQ(widebandScale(0.5, 2048), 0.5 * 0.0004886962890625);
    EXPECT_DOUBLE_EQ(widebandScale(1.0, 32768), 0.0004886962890625 / 16);
    EXPECT_DOUBLE_EQ(widebandScale(1.0, 32767), 0.0004886962890625) << "exactly 32768 only";
}

TEST(Wideband, SamplesAreSignedLittleEndian) {
    std::vector<std::uint8_t> data(1024, 0);
    const int values[] = {0, 1, -1, 256, -256, 32767, -32767, 0x0102};
    for (std::size_t i = 0; i < 512; ++i) {
        data[2 * i] = static_cast<std::uint8_t>(values[i % 8] & 0xFF);
        data[2 * i + 1] = static_cast<std::uint8_t>(values[i % 8] >> 8 & 0xFF);
    }
    std::vector<float> out(513, 77.0f);
    EXPECT_EQ(decodeWideband(data.data(), 0.25, out.data()), 32767);
    for (std::size_t i = 0; i < 512; ++i)
        ASSERT_EQ(out[i], static_cast<float>(values[i % 8] * 0.25));
    EXPECT_EQ(out[512], 77.0f);
}

TEST(Wideband, PeakIsTheLargestMagnitude) {
    std::vector<std::uint8_t> data(1024, 0);
    std::vector<float> out(512);
    EXPECT_EQ(decodeWideband(data.data(), 1.0, out.data()), 0);
    data[100] = 0x00;
    data[101] = 0x80;
    EXPECT_EQ(decodeWideband(data.data(), 1.0, out.data()), 32768);
    data[101] = 0xFF;
    data[100] = 0x9C;
    EXPECT_EQ(decodeWideband(data.data(), 1.0, out.data()), 100);
}

} // namespace
} // namespace ferrow
