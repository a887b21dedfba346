#pragma once
#include <array>
#include <cstdint>
#include <span>

/// The radio's side of HPSDR protocol 1: packet forms, in and out. Multi-byte fields are big-endian, except
/// the wideband samples.
namespace ferrow::sim {

inline constexpr int kRadioPort = 1024;
inline constexpr int kDataBytes = 1032;
inline constexpr int kFrameBytes = 512;
inline constexpr int kFrameSamples = 63;
inline constexpr int kDiscoveryReplyBytes = 60;
inline constexpr int kMaxReceivers = 12;

using Packet = std::array<std::uint8_t, kDataBytes>;
using ControlBytes = std::array<std::uint8_t, 5>;

/// What a host's datagram is.
enum class HostPacket {
    Foreign,   ///< none of the others: ignored and counted
    Discovery, ///< EF FE 02, at least 60 bytes
    Command,   ///< EF FE 04 cmd, 64 bytes
    Data       ///< EF FE 01 02, 1032 bytes
};

HostPacket classify(std::span<const std::uint8_t> datagram);

/// Bits of the command byte of a start or stop packet.
inline constexpr std::uint8_t kCommandIq = 0x01;
inline constexpr std::uint8_t kCommandWideband = 0x02;
inline constexpr std::uint8_t kCommandNoWatchdog = 0x80;

struct Identity {
    std::array<std::uint8_t, 6> mac{0x00, 0x1C, 0xC0, 0xA2, 0x00, 0x01};
    std::uint8_t firmware = 73;
    std::uint8_t firmwareMinor = 2;
    std::uint8_t boardId = 6;
    std::uint8_t hardwareReceivers = kMaxReceivers;
    std::array<std::uint8_t, 4> fixedIp{0, 0, 0, 0};
};

/// Discovery reply: byte 2 is 2, or 3 while the radio streams; then MAC, firmware, board id, and from byte 11
/// the Hermes-Lite 2 extras: configuration bits, fixed address, receivers (0x13), build (0x14), minor version
/// (0x15).
std::array<std::uint8_t, kDiscoveryReplyBytes> discoveryReply(const Identity& who, bool streaming);

std::uint32_t readBig32(const std::uint8_t* at);
void writeBig32(std::uint8_t* at, std::uint32_t value);

/// C0 to C4 of frame 0 or 1 of a data packet.
ControlBytes controlBytes(std::span<const std::uint8_t> packet, int frame);

/// Transmit words 1 and 2 of sample 0 to 125 of a data packet.
std::array<std::int16_t, 2> transmitWords(std::span<const std::uint8_t> packet, int sample);

/// Sample records in one 512-byte receive frame for that many receivers: floor(504 / (6 n + 2)).
constexpr int recordsPerFrame(int receivers) {
    return 504 / (6 * receivers + 2);
}

/// Samples of each receiver in one endpoint 6 packet.
constexpr int samplesPerPacket(int receivers) {
    return 2 * recordsPerFrame(receivers);
}

/// Writes EF FE 01, endpoint and sequence number.
void writeHeader(Packet& packet, std::uint8_t endpoint, std::uint32_t sequence);

/// Writes one 24-bit value, saturated.
inline void writeSample24(std::uint8_t* at, float value) {
    constexpr float kLimit = 8388607.0f;
    const float bounded = value > kLimit ? kLimit : (value < -kLimit ? -kLimit : value);
    const auto word = static_cast<std::int32_t>(bounded >= 0.0f ? bounded + 0.5f : bounded - 0.5f);
    at[0] = static_cast<std::uint8_t>(word >> 16);
    at[1] = static_cast<std::uint8_t>(word >> 8);
    at[2] = static_cast<std::uint8_t>(word);
}

} // namespace ferrow::sim
