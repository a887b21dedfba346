#pragma once
#include "sim/sky/station.hpp"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

/// What a proxy server and its clients say to each other.
namespace ferrow::sim::proxy {

inline constexpr int kRate = 48000;
inline constexpr std::size_t kBlockSamples = 512;
inline constexpr std::size_t kBlockBytes = 8209;
inline constexpr std::uint8_t kBlockKind = 3;

/// A binary message: kind 3, receiver (32 bit), centre frequency in Hz (double), number of the block (32
/// bit), then 512 pairs of doubles, I and Q, full scale 1. All little-endian.
std::string blockMessage(int receiver, double frequency, std::uint32_t number,
                         std::span<const Cfloat> samples);

/// {"cmd":"addReceiverResponse","ID":n}
std::string addedMessage(int receiver);

/// A client's wish.
struct Request {
    enum class Kind { AddReceiver, Subscribe, SetFrequency, Other } kind = Kind::Other;
    int id = 0; ///< AddReceiver: the client's choice; else the receiver's number
    bool enable = true;
    double frequency = 0.0; ///< Hz
};

/// Nothing for what is no JSON or lacks a field of its command.
std::optional<Request> readRequest(std::string_view text);

} // namespace ferrow::sim::proxy
