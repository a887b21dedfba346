#include "radios/hpsdr/wire.hpp"

#include <cstring>

namespace ferrow {

namespace {

void writeCommand(std::uint8_t* packet, std::uint8_t command) {
    std::memset(packet, 0, kHpsdrCommandSize);
    packet[0] = 0xEF;
    packet[1] = 0xFE;
    packet[2] = 0x04;
    packet[3] = command;
}

} // namespace

void writeStartPacket(std::uint8_t* packet, bool disableWatchdog) {
    writeCommand(packet, disableWatchdog ? 0x83 : 0x03);
}

void writeStopPacket(std::uint8_t* packet) {
    writeCommand(packet, 0x00);
}

void writeDataHeader(std::uint8_t* packet, std::uint32_t sequence) {
    packet[0] = 0xEF;
    packet[1] = 0xFE;
    packet[2] = 0x01;
    packet[3] = 0x02;
    putBe32(packet + 4, sequence);
}

IncomingHead readHead(const std::uint8_t* packet) {
    IncomingHead head;
    head.endpoint = packet[3];
    head.sequence = getBe32(packet + 4);
    head.known = packet[2] == 0x01 &&
                 (head.endpoint == kHpsdrEndpointReceive || head.endpoint == kHpsdrEndpointWideband);
    return head;
}

} // namespace ferrow
