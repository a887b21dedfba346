#include "radios/hpsdr/packet_builder.hpp"

#include <gtest/gtest.h>
#include <vector>

namespace ferrow {
namespace {

using Complex = std::complex<float>;

struct Stream {
    std::vector<ReceiverTuning> receivers{{7100000, 0}, {14200000, 0}};
    PacketInputs inputs;
    std::vector<std::pair<long long, bool>> filterAsked;
    PacketBuilder builder{[this](long long frequency, bool transmit) {
        filterAsked.emplace_back(frequency, transmit);
        return transmit ? 0x11 : 0x22;
    }};
    std::vector<std::uint8_t> packet = std::vector<std::uint8_t>(1032, 0xCC);

    Stream() { inputs.control.receivers = receivers; }
    void build(const std::vector<Complex>& block = std::vector<Complex>(126)) {
        builder.build(packet.data(), inputs, block);
    }
    int c(int frame, int index) const {
        return packet[static_cast<std::size_t>((frame == 0 ? 8 : 520) + 3 + index)];
    }
    // Banks of the packet's two frames.
    std::pair<int, int> banks() {
        build();
        return {c(0, 0) >> 1, c(1, 0) >> 1};
    }
};

using Pair = std::pair<int, int>;

TEST(PacketBuilder, HeaderSyncSequenceAndBothHalvesOfTheBlock) {
    Stream stream;
    std::vector<Complex> block(126);
    for (int i = 0; i < 126; ++i)
        block[static_cast<std::size_t>(i)] = {0.0f, static_cast<float>(i) / 256.0f};
    for (unsigned sequence = 0; sequence < 3; ++sequence) {
        stream.build(block);
        const std::vector<std::uint8_t> head(stream.packet.begin(), stream.packet.begin() + 8);
        EXPECT_EQ(head, (std::vector<std::uint8_t>{0xEF, 0xFE, 1, 2, 0, 0, 0,
                                                   static_cast<std::uint8_t>(sequence)}));
        for (const std::size_t frame : {std::size_t{8}, std::size_t{520}})
            for (std::size_t i = 0; i < 3; ++i)
                EXPECT_EQ(stream.packet[frame + i], 0x7F);
        for (std::size_t i = 0; i < 126; ++i) {
            const std::size_t at = (i < 63 ? 8 + 8 + 8 * i : 520 + 8 + 8 * (i - 63)) + 4;
            const int word = stream.packet[at] << 8 | stream.packet[at + 1];
            ASSERT_EQ(word, static_cast<int>(32766.0 * static_cast<double>(i) / 256.0 + 0.5)) << i;
        }
    }
    stream.builder.restartSequence();
    stream.build();
    EXPECT_EQ(stream.packet[7], 0);
}

TEST(PacketBuilder, TheSequenceNumberIs32Bits) {
    Stream stream;
    for (int i = 0; i < 70000; ++i)
        stream.build();
    EXPECT_EQ(stream.packet[4], 0);
    EXPECT_EQ(stream.packet[5], 1);
    EXPECT_EQ(stream.packet[6] << 8 | stream.packet[7], 69999 - 65536);
}

TEST(PacketBuilder, BanksRotateThroughAll46) {
    Stream stream;
    for (int round = 0; round < 3; ++round)
        for (int bank = 0; bank < 46; bank += 2)
            ASSERT_EQ(stream.banks(), (Pair{bank, bank + 1}));
    // Off by one: 45 is followed by 0 within a packet.
    stream.builder.setBank(45);
    EXPECT_EQ(stream.banks(), (Pair{45, 0}));
    EXPECT_EQ(stream.banks(), (Pair{1, 2}));
}

TEST(PacketBuilder, NewFrequenciesGoOutInTheNextPacket) {
    Stream stream;
    for (int i = 0; i < 10; ++i)
        stream.build();
    stream.builder.setBank(2);
    EXPECT_EQ(stream.banks(), (Pair{2, 3}));
    EXPECT_EQ(stream.banks(), (Pair{4, 5}));
}

TEST(PacketBuilder, KeyDownSendsBanks0And10First) {
    Stream stream;
    for (int i = 0; i < 4; ++i)
        stream.build();
    stream.inputs.control.ptt = true;
    EXPECT_EQ(stream.banks(), (Pair{0, 10}));
    EXPECT_EQ(stream.c(0, 0) & 1, 1);
    EXPECT_EQ(stream.c(1, 0) & 1, 1);
    EXPECT_EQ(stream.banks(), (Pair{11, 12})) << "the rotation goes on behind bank 10";
    EXPECT_EQ(stream.banks(), (Pair{13, 14}));
}

TEST(PacketBuilder, KeyUpKeepsTransmitSettingsFor49PacketsThenSwitchesBack) {
    Stream stream;
    stream.inputs.control.ptt = true;
    stream.build();
    stream.inputs.control.ptt = false;
    EXPECT_EQ(stream.banks(), (Pair{0, 1})) << "the rotation restarts";
    EXPECT_EQ(stream.c(0, 0) & 1, 0) << "the flag is down at once";
    EXPECT_EQ(stream.c(0, 2), 0x22) << "filters stay on transmit";
    EXPECT_EQ(stream.builder.hangPackets(), 49);
    int expected = 2;
    for (int packet = 2; packet <= 49; ++packet) {
        ASSERT_EQ(stream.banks(), (Pair{expected, expected + 1})) << "packet " << packet;
        if (expected == 0) {
            ASSERT_EQ(stream.c(0, 2), 0x22);
        }
        expected = (expected + 2) % 46;
    }
    EXPECT_EQ(stream.builder.hangPackets(), 1);
    EXPECT_EQ(stream.banks(), (Pair{0, 10}));
    EXPECT_EQ(stream.c(0, 2), 0x44) << "receive filter word × 2";
    EXPECT_EQ(stream.builder.hangPackets(), 0);
    EXPECT_EQ(stream.banks(), (Pair{11, 12}));
}

TEST(PacketBuilder, KeyDownWithinTheTailEndsIt) {
    Stream stream;
    stream.inputs.control.ptt = true;
    stream.build();
    stream.inputs.control.ptt = false;
    for (int i = 0; i < 10; ++i)
        stream.build();
    stream.inputs.control.ptt = true;
    EXPECT_EQ(stream.banks(), (Pair{0, 10}));
    EXPECT_EQ(stream.builder.hangPackets(), 0);
    for (int i = 0; i < 100; ++i)
        stream.build();
    EXPECT_EQ(stream.builder.hangPackets(), 0) << "no tail while transmitting";
}

TEST(PacketBuilder, TheFilterIsChosenByTheFrequencyThatCounts) {
    Stream stream;
    stream.inputs.hasTransmitter = true;
    stream.inputs.transmitterFrequency = 21000000;
    stream.build();
    ASSERT_EQ(stream.filterAsked.size(), 1u);
    EXPECT_EQ(stream.filterAsked[0], std::make_pair(7100000LL, false));
    stream.inputs.control.ptt = true;
    stream.inputs.transmitterFrequency = 28000000;
    stream.build();
    // Bank 1 of the first packet stored 21 MHz; 28 MHz is not known to the radio before the next bank 1.
    EXPECT_EQ(stream.filterAsked.back(), std::make_pair(21000000LL, true));
    EXPECT_EQ(stream.c(0, 2), 0x22);
}

TEST(PacketBuilder, TheTransmitFrequencyIsComputedInBank1) {
    Stream stream;
    EXPECT_EQ(stream.builder.transmitFrequency(), 14095600);
    const auto sent = [&] {
        stream.builder.setBank(1);
        stream.build();
        return stream.c(0, 1) << 24 | stream.c(0, 2) << 16 | stream.c(0, 3) << 8 | stream.c(0, 4);
    };
    EXPECT_EQ(sent(), 14095600) << "without a transmitter the stored value stays";
    stream.inputs.transmitterFrequency = 3560000;
    EXPECT_EQ(sent(), 14095600);
    stream.inputs.hasTransmitter = true;
    EXPECT_EQ(sent(), 3560000);
    stream.inputs.hasTransmitter = false;
    stream.inputs.transmitterFrequency = 1;
    EXPECT_EQ(sent(), 3560000);
}

TEST(PacketBuilder, SamplesFollowTheZoneOfTheTransmitFrequency) {
    Stream stream;
    stream.inputs.hasTransmitter = true;
    stream.inputs.transmitterFrequency = 50000000; // odd at 73.728 MHz
    stream.builder.setBank(0);
    stream.build(std::vector<Complex>(126, {0.5f, 0.0f}));
    const auto word = [&](std::size_t at) {
        return static_cast<std::int16_t>(stream.packet[at] << 8 | stream.packet[at + 1]);
    };
    EXPECT_EQ(word(8 + 8 + 4), 0) << "frame A still has the stored 14 MHz";
    EXPECT_EQ(word(8 + 8 + 6), -16383);
    EXPECT_EQ(word(520 + 8 + 4), -16383) << "frame B carried bank 1";
    EXPECT_EQ(word(520 + 8 + 6), 0);
}

TEST(PacketBuilder, AnI2cEntryTakesTheTurnOfABankThatThenWaitsForItsNextRound) {
    Stream stream;
    stream.build();
    stream.builder.i2c().writeMac(0xABCD, 60);
    stream.inputs.control.ptt = false;
    stream.build();
    EXPECT_EQ(stream.c(0, 0), 0xFA);
    EXPECT_EQ(stream.c(0, 1), 0x06);
    EXPECT_EQ(stream.c(0, 2), 0xAC);
    EXPECT_EQ(stream.c(0, 3), 0xC0);
    EXPECT_EQ(stream.c(0, 4), 0xAB);
    EXPECT_EQ(stream.c(1, 0), 0x06) << "bank 2 was passed over, bank 3 follows";
    // The second entry comes with the 41st frame behind the first.
    std::vector<int> c0;
    for (int i = 0; i < 21; ++i) {
        stream.build();
        c0.push_back(stream.c(0, 0));
        c0.push_back(stream.c(1, 0));
    }
    for (std::size_t i = 0; i < 39; ++i)
        ASSERT_EQ(c0[i], static_cast<int>(2 * (4 + i)) % 92) << i;
    EXPECT_EQ(c0[39], 0xFA);
    EXPECT_EQ(c0[40], 2 * 44);
}

TEST(PacketBuilder, AnI2cEntryMayTakeBank0AtKeyDown) {
    Stream stream;
    stream.builder.i2c().writeStatus(1, 60);
    stream.inputs.control.ptt = true;
    stream.build();
    EXPECT_EQ(stream.c(0, 0), 0xFB);
    EXPECT_EQ(stream.c(1, 0), 2 * 10 + 1);
    EXPECT_TRUE(stream.filterAsked.empty());
}

TEST(PacketBuilder, TypeId7GetsTheBank9BitsButNotTheAudioRamp) {
    for (const int type : {6, 7}) {
        Stream stream;
        stream.inputs.control.typeId = type;
        stream.inputs.control.enablePA = true;
        stream.builder.setBank(9);
        stream.build();
        stream.build();
        stream.builder.setBank(9);
        stream.build();
        EXPECT_EQ(stream.c(0, 2), 0x08);
        const std::size_t record = 8 + 8 + 8 * 5;
        const int left = stream.packet[record] << 8 | stream.packet[record + 1];
        const int right = stream.packet[record + 2] << 8 | stream.packet[record + 3];
        // The ramp runs on from frame to frame and from packet to packet.
        EXPECT_EQ(left, type == 6 ? 2 * 126 + 5 : 0);
        EXPECT_EQ(right, type == 6 ? 16 * (2 * 126 + 5) : 0);
    }
}

} // namespace
} // namespace ferrow
