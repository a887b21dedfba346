#include "radios/hpsdr_np/np_packets.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <vector>

namespace ferrow {
namespace {

// Compares a whole packet: `bytes` are those that are not zero.
template <std::size_t N>
void expectBytes(const std::array<std::uint8_t, N>& packet, const std::map<std::size_t, int>& bytes) {
    for (std::size_t i = 0; i < N; ++i) {
        const auto wanted = bytes.find(i);
        ASSERT_EQ(packet[i], wanted == bytes.end() ? 0 : wanted->second) << "byte " << i;
    }
}

TEST(NpPackets, GeneralPacketIsTheTable) {
    expectBytes(npGeneralPacket(),
                {{5, 0x04},  {6, 0x01},  {7, 0x04},  {8, 0x02},  {9, 0x04},  {10, 0x03}, {11, 0x04},
                 {12, 0x01}, {13, 0x04}, {14, 0x04}, {15, 0x04}, {16, 0x05}, {17, 0x04}, {18, 0x0B},
                 {19, 0x04}, {20, 0x02}, {21, 0x04}, {22, 0x03}, {23, 1},    {24, 2},    {26, 16},
                 {27, 20},   {28, 32},   {37, 8},    {58, 1},    {59, 3}});
}

TEST(NpPackets, DucPacketIsTheTable) {
    expectBytes(npDucPacket(), {{4, 1},
                                {5, 0xB8},
                                {7, 0x02},
                                {8, 0x58},
                                {9, 25},
                                {10, 50},
                                {11, 0x01},
                                {12, 0x36},
                                {13, 20},
                                {15, 192},
                                {50, 4},
                                {51, 23},
                                {57, 31},
                                {58, 31},
                                {59, 31}});
}

TEST(NpPackets, DdcPacketHasARowForEveryPossibleReceiver) {
    std::map<std::size_t, int> bytes{{4, 2}, {7, 0x07}};
    for (std::size_t i = 0; i < 7; ++i) {
        bytes[18 + 6 * i] = 0x06; // 1536
        bytes[22 + 6 * i] = 24;
    }
    expectBytes(npDdcPacket(3, 7, 1536000), bytes);
}

TEST(NpPackets, TenReceiversFillTheSecondEnableByte) {
    const auto packet = npDdcPacket(10, 10, 48000);
    EXPECT_EQ(packet[7], 0xFF);
    EXPECT_EQ(packet[8], 0x03);
    EXPECT_EQ(packet[19], 48);
}

TEST(NpPackets, PhaseWordsRepeatReceiver0BeyondTheExistingOnes) {
    const std::vector<long long> frequencies{1000000, 7100000, 14095600};
    NpHighPriority state;
    state.running = true;
    state.frequencies = frequencies;
    state.maxReceivers = 7;
    state.attenuator = 31;
    const auto packet = npHighPriorityPacket(state);
    const auto word = [&](std::size_t at) {
        return packet[at] * 16777216.0 + packet[at + 1] * 65536.0 + packet[at + 2] * 256.0 + packet[at + 3];
    };
    const auto phase = [](double hertz) { return std::round(hertz / 122880000.0 * 4294967296.0); };
    EXPECT_EQ(packet[4], 1);
    for (std::size_t i = 0; i < 7; ++i)
        EXPECT_EQ(word(9 + 4 * i), phase(static_cast<double>(i < 3 ? frequencies[i] : frequencies[0]))) << i;
    EXPECT_EQ(word(37), 0) << "behind the last position";
    EXPECT_EQ(word(329), phase(1000000)) << "the transmitter's place";
    EXPECT_EQ(packet[1432], 0x21);
    EXPECT_EQ(packet[1433], 0x00);
    EXPECT_EQ(packet[1434], 0x10);
    EXPECT_EQ(packet[1435], 0x00);
    EXPECT_EQ(packet[1443], 31);
    int others = 0;
    for (std::size_t i = 0; i < packet.size(); ++i)
        if (!(i == 4 || (i >= 9 && i < 37) || (i >= 329 && i < 333) || i == 1432 || i == 1434 || i == 1443))
            others += packet[i];
    EXPECT_EQ(others, 0);
}

TEST(NpPackets, PhaseWordRoundsHalvesAwayAndDoesNotFold) {
    EXPECT_EQ(npPhaseWord(61440000, 122880000), 0x80000000U);
    EXPECT_EQ(npPhaseWord(122880000, 122880000), 0U);
    EXPECT_EQ(npPhaseWord(122880000LL + 30720000, 122880000), 0x40000000U);
    EXPECT_EQ(npPhaseWord(-30720000, 122880000), 0xC0000000U);
    EXPECT_EQ(npPhaseWord(1, 1 << 30), 4U);
    EXPECT_EQ(npPhaseWord(3, 2147483647), 6U);
    EXPECT_EQ(npPhaseWord(1000, 0), 0U) << "no clock";
    EXPECT_EQ(npPhaseWord(std::numeric_limits<long long>::max(), 1), 0U);
}

TEST(NpPackets, SamplesAre24BitsInTheTopOf32) {
    std::vector<std::uint8_t> packet(2048, 0);
    const std::uint8_t bytes[] = {0x7F, 0xFF, 0xFF, 0x80, 0x00, 0x00, 0x00, 0x00, 0x01, 0xFF, 0xFF, 0xFF};
    std::copy(std::begin(bytes), std::end(bytes), packet.begin() + 16);
    std::complex<float> out[2];
    NpIqReader plain(packet.data(), static_cast<float>(std::ldexp(1.0, -31)), false);
    plain(out, 1);
    plain(out + 1, 1);
    EXPECT_FLOAT_EQ(out[0].real(), static_cast<float>(8388607.0 / 8388608));
    EXPECT_FLOAT_EQ(out[0].imag(), -1);
    EXPECT_FLOAT_EQ(out[1].real(), static_cast<float>(1.0 / 8388608));
    EXPECT_FLOAT_EQ(out[1].imag(), static_cast<float>(-1.0 / 8388608));
    NpIqReader swapped(packet.data(), static_cast<float>(std::ldexp(1.0, -31)), true);
    swapped(out, 1);
    EXPECT_FLOAT_EQ(out[0].real(), -1);
}

TEST(NpPackets, OddZonesAreMirrored) {
    EXPECT_FALSE(npMirrored(61439999, 122880000));
    EXPECT_TRUE(npMirrored(61440000, 122880000));
    EXPECT_FALSE(npMirrored(122880000, 122880000));
    EXPECT_FALSE(npMirrored(100, 1)) << "no zone at all";
}

} // namespace
} // namespace ferrow
