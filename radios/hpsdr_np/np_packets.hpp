// Packets of the new HPSDR protocol. Each stream has a UDP port of its own; all fields are big-endian. What a
// packet holds besides the bytes named here is zero, the sequence number of outgoing packets included.
#pragma once

#include <array>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <span>

namespace ferrow {

// Ports of the radio, by direction.
inline constexpr std::uint16_t kNpGeneralPort = 1024;      // to the radio
inline constexpr std::uint16_t kNpDdcPort = 1025;          // to
inline constexpr std::uint16_t kNpDucPort = 1026;          // to
inline constexpr std::uint16_t kNpHighPriorityPort = 1027; // to
inline constexpr std::uint16_t kNpStatusPort = 1025;       // from it
inline constexpr std::uint16_t kNpMicrophonePort = 1026;   // from
inline constexpr std::uint16_t kNpWidebandPort = 1027;     // from
inline constexpr std::uint16_t kNpFirstIqPort = 1035;      // from, one port a receiver
inline constexpr int kNpIqPorts = 16;

inline constexpr std::size_t kNpShortPacket = 60;
inline constexpr std::size_t kNpLongPacket = 1444;
inline constexpr int kNpMostReceivers = 64; // more phase words would not fit before the transmitter's

using NpShortPacket = std::array<std::uint8_t, kNpShortPacket>;
using NpLongPacket = std::array<std::uint8_t, kNpLongPacket>;

NpShortPacket npGeneralPacket();
NpShortPacket npDucPacket();

// The lower `receivers` receivers run; `sampleRate` in samples a second.
NpLongPacket npDdcPacket(int receivers, int maxReceivers, int sampleRate);

struct NpHighPriority {
    bool running = false;
    std::span<const long long> frequencies; // Hz, of the existing receivers
    int maxReceivers = 1;                   // positions beyond the existing ones repeat receiver 0
    int clockFrequency = 122880000;         // Hz
    int attenuator = 0;                     // dB, the low 8 bits
};
NpLongPacket npHighPriorityPacket(const NpHighPriority& state);

// Frequency as the share of the clock in 1/2^32, the low 32 bits; not folded into a Nyquist zone.
std::uint32_t npPhaseWord(long long frequency, int clockFrequency);

// From the radio.
inline constexpr std::size_t kNpIqRecords = 238; // from offset 16
inline constexpr std::size_t kNpIqRecord = 6;    // bytes: I and Q of 24 bits
inline constexpr std::size_t kNpIqOffset = 16;

// Reads consecutive samples of an I/Q packet, I and Q swapped if `mirrored`.
class NpIqReader {
public:
    NpIqReader(const std::uint8_t* packet, float scale, bool mirrored)
        : at_(packet + kNpIqOffset), scale_(scale), mirrored_(mirrored) {}
    void operator()(std::complex<float>* to, std::size_t count);

private:
    const std::uint8_t* at_;
    float scale_;
    bool mirrored_;
};

// Whether a receiver at `frequency` sees the band reversed: an odd Nyquist zone.
bool npMirrored(long long frequency, int clockFrequency);

// 512 signed 16-bit samples at `data`, times `scale`, to `out`. Returns their largest magnitude.
int decodeNpWideband(const std::uint8_t* data, double scale, float* out);

} // namespace ferrow
