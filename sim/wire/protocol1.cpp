#include "sim/wire/protocol1.hpp"

#include <algorithm>

namespace ferrow::sim {

HostPacket classify(std::span<const std::uint8_t> datagram) {
    if (datagram.size() < 60 || datagram[0] != 0xEF || datagram[1] != 0xFE)
        return HostPacket::Foreign;
    switch (datagram[2]) {
    case 0x01:
        return datagram.size() == kDataBytes && datagram[3] == 0x02 ? HostPacket::Data : HostPacket::Foreign;
    case 0x02:
        return HostPacket::Discovery;
    case 0x04:
        return datagram.size() == 64 ? HostPacket::Command : HostPacket::Foreign;
    default:
        return HostPacket::Foreign;
    }
}

std::array<std::uint8_t, kDiscoveryReplyBytes> discoveryReply(const Identity& who, bool streaming) {
    std::array<std::uint8_t, kDiscoveryReplyBytes> reply{};
    reply[0] = 0xEF;
    reply[1] = 0xFE;
    reply[2] = streaming ? 0x03 : 0x02;
    std::copy(who.mac.begin(), who.mac.end(), reply.begin() + 3);
    reply[9] = who.firmware;
    reply[10] = who.boardId;
    std::copy(who.fixedIp.begin(), who.fixedIp.end(), reply.begin() + 0x0D);
    reply[0x11] = who.mac[4];
    reply[0x12] = who.mac[5];
    reply[0x13] = who.hardwareReceivers;
    reply[0x14] = 0x45; // wideband data of 12 bits, build 5
    reply[0x15] = who.firmwareMinor;
    return reply;
}

std::uint32_t readBig32(const std::uint8_t* at) {
    return static_cast<std::uint32_t>(at[0]) << 24 | static_cast<std::uint32_t>(at[1]) << 16 |
           static_cast<std::uint32_t>(at[2]) << 8 | static_cast<std::uint32_t>(at[3]);
}

void writeBig32(std::uint8_t* at, std::uint32_t value) {
    at[0] = static_cast<std::uint8_t>(value >> 24);
    at[1] = static_cast<std::uint8_t>(value >> 16);
    at[2] = static_cast<std::uint8_t>(value >> 8);
    at[3] = static_cast<std::uint8_t>(value);
}

ControlBytes controlBytes(std::span<const std::uint8_t> packet, int frame) {
    const std::uint8_t* at = packet.data() + 8 + frame * kFrameBytes + 3;
    return {at[0], at[1], at[2], at[3], at[4]};
}

std::array<std::int16_t, 2> transmitWords(std::span<const std::uint8_t> packet, int sample) {
    const int frame = sample / kFrameSamples;
    const std::uint8_t* at =
        packet.data() + 8 + frame * kFrameBytes + 8 + (sample - frame * kFrameSamples) * 8 + 4;
    return {static_cast<std::int16_t>(at[0] << 8 | at[1]), static_cast<std::int16_t>(at[2] << 8 | at[3])};
}

void writeHeader(Packet& packet, std::uint8_t endpoint, std::uint32_t sequence) {
    packet[0] = 0xEF;
    packet[1] = 0xFE;
    packet[2] = 0x01;
    packet[3] = endpoint;
    writeBig32(packet.data() + 4, sequence);
}

} // namespace ferrow::sim
