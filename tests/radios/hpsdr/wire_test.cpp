#include "radios/hpsdr/wire.hpp"

#include <algorithm>
#include <gtest/gtest.h>
#include <vector>

namespace ferrow {
namespace {

using Bytes = std::vector<std::uint8_t>;

TEST(HpsdrWire, StartAndStopPackets) {
    for (const int command : {0x03, 0x83, 0x00}) {
        Bytes packet(70, 0xCC);
        if (command == 0)
            writeStopPacket(packet.data());
        else
            writeStartPacket(packet.data(), command == 0x83);
        Bytes expected(64, 0);
        expected[0] = 0xEF;
        expected[1] = 0xFE;
        expected[2] = 0x04;
        expected[3] = static_cast<std::uint8_t>(command);
        expected.resize(70, 0xCC);
        EXPECT_EQ(packet, expected);
    }
}

TEST(HpsdrWire, DataHeaderIsBigEndian) {
    Bytes packet(9, 0xCC);
    writeDataHeader(packet.data(), 0x12345678);
    EXPECT_EQ(packet, (Bytes{0xEF, 0xFE, 0x01, 0x02, 0x12, 0x34, 0x56, 0x78, 0xCC}));
}

TEST(HpsdrWire, OnlyByte2AndTheEndpointDecideWhatIsKnown) {
    Bytes packet(1032, 0);
    const auto head = [&](int byte2, int endpoint) {
        packet[2] = static_cast<std::uint8_t>(byte2);
        packet[3] = static_cast<std::uint8_t>(endpoint);
        return readHead(packet.data());
    };
    for (int byte2 = 0; byte2 < 256; ++byte2)
        for (int endpoint = 0; endpoint < 256; ++endpoint)
            ASSERT_EQ(head(byte2, endpoint).known, byte2 == 1 && (endpoint == 6 || endpoint == 4));
    // The first two bytes are not checked.
    for (const int first : {0xEF, 0x00, 0x55}) {
        packet[0] = packet[1] = static_cast<std::uint8_t>(first);
        EXPECT_TRUE(head(1, 6).known);
    }
    packet[4] = 0xFE;
    packet[5] = 0xDC;
    packet[6] = 0xBA;
    packet[7] = 0x98;
    EXPECT_EQ(head(1, 4).sequence, 0xFEDCBA98u);
    EXPECT_EQ(head(1, 4).endpoint, 4);
}

} // namespace
} // namespace ferrow
