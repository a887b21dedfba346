// Sizes and byte order of the first HPSDR protocol, and its packets that hold nothing else: start, stop, and
// the head of the data packet. All fields are big-endian.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ferrow {

inline constexpr std::size_t kHpsdrPacketSize = 1032;
inline constexpr std::size_t kHpsdrFrameSize = 512;
inline constexpr std::size_t kHpsdrCommandSize = 64;
inline constexpr std::size_t kHpsdrFrameA = 8;   // offset of the first frame of a packet
inline constexpr std::size_t kHpsdrFrameB = 520; // and of the second
inline constexpr std::size_t kHpsdrRecords = 8;  // offset of the sample records in a frame
inline constexpr std::size_t kHpsdrRecordBytes = 504;
inline constexpr int kHpsdrFrameSamples = 63;  // transmit samples in a frame
inline constexpr int kHpsdrBlockSamples = 126; // and in a packet
inline constexpr int kHpsdrTransmitRate = 48000;

inline constexpr std::uint8_t kHpsdrEndpointReceive = 6;
inline constexpr std::uint8_t kHpsdrEndpointWideband = 4;

inline void putBe16(std::uint8_t* at, std::uint16_t value) {
    at[0] = static_cast<std::uint8_t>(value >> 8);
    at[1] = static_cast<std::uint8_t>(value);
}

inline void putBe32(std::uint8_t* at, std::uint32_t value) {
    putBe16(at, static_cast<std::uint16_t>(value >> 16));
    putBe16(at + 2, static_cast<std::uint16_t>(value));
}

inline std::uint16_t getBe16(const std::uint8_t* at) {
    return static_cast<std::uint16_t>(at[0] << 8 | at[1]);
}

inline std::uint32_t getBe32(const std::uint8_t* at) {
    return static_cast<std::uint32_t>(getBe16(at)) << 16 | getBe16(at + 2);
}

// 64 bytes at `packet`: start with I/Q and wideband data, optionally with the radio's watchdog off.
void writeStartPacket(std::uint8_t* packet, bool disableWatchdog);
// 64 bytes at `packet`.
void writeStopPacket(std::uint8_t* packet);
// The first 8 bytes of a data packet to endpoint 2.
void writeDataHeader(std::uint8_t* packet, std::uint32_t sequence);

// Head of a packet from the radio. The two bytes before it are not looked at.
struct IncomingHead {
    bool known = false; // byte 2 is 1 and the endpoint is one of the two above
    std::uint8_t endpoint = 0;
    std::uint32_t sequence = 0;
};
IncomingHead readHead(const std::uint8_t* packet);

} // namespace ferrow
