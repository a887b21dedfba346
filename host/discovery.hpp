// Finding radios of both HPSDR protocols on the network.
#pragma once

#include "host/radio_address.hpp"

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace ferrow {

inline constexpr std::uint16_t kRadioPort = 1024; // UDP

// A radio to start. Of receivers behind an API or a websocket only kind, address and model are known.
struct FoundRadio {
    std::string address; // dotted IPv4; or see RadioAddress::place
    RadioKind kind = RadioKind::Hpsdr;
    int remoteId = 0;  // WsProxy
    std::string model; // SdrPlay
    std::array<std::uint8_t, 6> mac{};
    int board = 0;
    int firmware = 0;
    int firmwareMinor = -1; // -1: the board does not tell
    int receivers = 1;      // the board's own word, else what is known of its kind
    bool running = false;   // serves a host already

    std::string macText() const;
    std::string firmwareText() const;
    const char* boardName() const;
    // What --radio takes.
    std::string url() const { return RadioAddress{kind, address, remoteId}.url(); }
    bool hermesLite() const { return kind == RadioKind::Hpsdr && (board == 6 || board == 7); }
    bool hermesLite2() const { return hermesLite() && firmware >= 40; }
};

// The questions of the two protocols.
std::array<std::uint8_t, 63> discoveryRequest();
std::array<std::uint8_t, 60> discoveryRequest2();

// Reads an answer of either protocol; nothing for a datagram that is none.
std::optional<FoundRadio> readDiscoveryReply(std::span<const std::uint8_t> datagram, const std::string& from);

struct DiscoveryOptions {
    std::vector<std::string> addresses; // asked one by one, beside the broadcasts
    bool broadcast = true;              // to 255.255.255.255, every interface's own, and 127.0.0.1
    std::chrono::milliseconds timeout{1000};
    std::optional<RadioKind> only = std::nullopt; // Hpsdr or HpsdrNp; nothing: both
};

// Asks, a few times over, until the time is up; without broadcast it ends once every address has answered.
// Radios by address, each once a protocol. Throws UsageError for an address that is no dotted IPv4, Failure
// if there is no socket to be had.
std::vector<FoundRadio> discoverRadios(const DiscoveryOptions& options);

// The radio at one address. Throws Failure if none of its kind answers there. Only HPSDR radios are asked:
// what else there is, the session finds out.
FoundRadio findRadio(const RadioAddress& address,
                     std::chrono::milliseconds timeout = std::chrono::milliseconds(1500));

} // namespace ferrow
