#pragma once
#include "sim/wire/protocol1.hpp"

#include <array>
#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <span>

/// The radio's side of HPSDR protocol 2: each stream has a UDP port, multi-byte fields are big-endian.
namespace ferrow::sim::p2 {

inline constexpr double kAdcClock = 122880000.0; ///< Hz; phase words count in 1/2^32 of it
inline constexpr int kMaxReceivers = 8;
inline constexpr int kIqRecords = 238;
inline constexpr int kIqBytes = 16 + 6 * kIqRecords;
inline constexpr int kMicrophoneSamples = 64; ///< in a packet, at 48 kHz
inline constexpr int kMicrophoneBytes = 4 + 2 * kMicrophoneSamples;
inline constexpr int kStatusBytes = 60;
inline constexpr int kShortBytes = 60;  ///< discovery, general, DUC specific
inline constexpr int kLongBytes = 1444; ///< DDC specific, high priority

/// What a datagram to the general port is.
enum class GeneralPacket { Foreign, General, Discovery };
GeneralPacket classify(std::span<const std::uint8_t> datagram);

/// General packet, 60 bytes. A port of 0 stands for its default.
struct General {
    std::uint16_t ddcPort = 1025;
    std::uint16_t ducPort = 1026;
    std::uint16_t highPriorityPort = 1027; ///< from the host
    std::uint16_t statusPort = 1025;       ///< to the host
    std::uint16_t audioPort = 1028;
    std::uint16_t ducIqPort = 1029;
    std::uint16_t firstIqPort = 1035; ///< receiver i sends from this one + i
    std::uint16_t microphonePort = 1026;
    std::uint16_t widebandPort = 1027;
    std::uint8_t widebandEnable = 0; ///< a bit an ADC
    std::uint16_t widebandSamples = 512;
    std::uint8_t widebandBits = 16;
    std::uint8_t widebandInterval = 20; ///< ms from frame to frame
    std::uint8_t widebandPackets = 32;  ///< a frame
    std::uint8_t flags = 0;             ///< byte 37: bit 3 phase words, else Hz
    std::uint8_t timer = 0;             ///< byte 38: bit 0 stops a radio whose host is silent
    std::uint8_t amplifier = 0;         ///< byte 58: bit 0 enables it
    std::uint8_t filterBoards = 0;      ///< byte 59: a bit a board

    bool phaseWords() const { return (flags & 0x08) != 0; }
    bool watchdog() const { return (timer & 0x01) != 0; }
};

/// DDC specific packet, 1444 bytes: the receivers.
struct Ddc {
    struct Receiver {
        bool enabled = false;
        std::uint8_t adc = 0;
        std::uint16_t kilohertz = 0;
        std::uint8_t bits = 0;
    };
    std::uint8_t adcs = 0;
    std::uint8_t dither = 0; ///< a bit an ADC
    std::uint8_t random = 0;
    std::uint16_t enableBits = 0; ///< of receivers 0 to 15
    std::array<Receiver, kMaxReceivers> receivers{};
};

/// DUC specific packet, 60 bytes: the transmitter and its keyer.
struct Duc {
    std::uint8_t dacs = 0;
    std::uint8_t cwMode = 0;
    std::uint8_t sidetoneLevel = 0;
    std::uint16_t sidetoneHz = 0;
    std::uint8_t keyerSpeed = 0;
    std::uint8_t keyerWeight = 0;
    std::uint16_t hangDelay = 0;               ///< ms
    std::uint8_t rfDelay = 0;                  ///< ms
    std::uint16_t sampleRate = 0;              ///< kHz
    std::uint8_t microphoneBits = 0;           ///< byte 50
    std::uint8_t lineGain = 0;                 ///< byte 51
    std::array<std::uint8_t, 3> attenuators{}; ///< while transmitting: ADC 2, 1, 0
};

/// High priority packet, 1444 bytes.
struct HighPriority {
    bool run = false;
    std::uint8_t ptt = 0; ///< a bit a transmitter
    std::array<std::uint32_t, kMaxReceivers> receiverWord{};
    std::uint32_t transmitWord = 0;
    std::uint8_t drive = 0;
    std::uint32_t filterBits = 0;             ///< bytes 1432 to 1435
    std::array<std::uint8_t, 2> attenuator{}; ///< dB, of ADC 0 and 1
};

// Each takes the datagram's bytes; one of a wrong length is refused, the record is as it was then.
bool read(std::span<const std::uint8_t> datagram, General& out);
bool read(std::span<const std::uint8_t> datagram, Ddc& out);
bool read(std::span<const std::uint8_t> datagram, Duc& out);
bool read(std::span<const std::uint8_t> datagram, HighPriority& out);

void to_json(nlohmann::json& json, const General& packet);
void to_json(nlohmann::json& json, const Ddc& packet);
void to_json(nlohmann::json& json, const Duc& packet);
void to_json(nlohmann::json& json, const HighPriority& packet);

/// Hz that a word of the high priority packet stands for.
double frequencyOf(std::uint32_t word, const General& general);

/// Discovery reply: byte 4 is 2, or 3 while the radio streams; MAC, board, protocol version times ten,
/// firmware; 20 receivers, 21 bit 0: phase words.
std::array<std::uint8_t, kShortBytes> discoveryReply(const Identity& who, bool streaming);

/// What discovery tells unless it is ordered otherwise.
inline Identity usualIdentity() {
    Identity who;
    who.boardId = 5; // Orion MkII
    who.firmware = 21;
    who.hardwareReceivers = kMaxReceivers;
    return who;
}

/// Samples a second of a receiver as the host asks for it: 48000 times a power of two up to 1536000 in 24
/// bits; 0 for one that is off or wants anything else.
int usableRate(const Ddc::Receiver& receiver);

/// What the status packet reports. 12-bit counts, except the flags.
struct Status {
    bool ptt = false;
    bool key = false;
    std::uint8_t overload = 0; ///< a bit an ADC
    std::uint16_t forward = 0;
    std::uint16_t reverse = 0;
    std::uint16_t supply = 0;
    std::uint16_t current = 0;     ///< user ADC 0
    std::uint16_t temperature = 0; ///< user ADC 1
    std::uint16_t user2 = 0;
};
std::array<std::uint8_t, kStatusBytes> statusPacket(std::uint32_t sequence, const Status& status);

/// Header of an I/Q packet: sequence number, time stamp 0, sample size, samples.
void writeIqHeader(std::span<std::uint8_t> packet, std::uint32_t sequence);

} // namespace ferrow::sim::p2
