// Finding radios of the first HPSDR protocol on the network.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace ferrow {

inline constexpr std::uint16_t kRadioPort = 1024; // UDP

struct FoundRadio {
    std::string address; // dotted IPv4
    std::array<std::uint8_t, 6> mac{};
    int board = 0;
    int firmware = 0;
    int firmwareMinor = -1; // -1: the board does not tell
    int receivers = 1;      // the board's own word, else what is known of its kind
    bool running = false;   // serves a host already

    std::string macText() const;
    std::string firmwareText() const;
    const char* boardName() const;
    bool hermesLite() const { return board == 6 || board == 7; }
    bool hermesLite2() const { return hermesLite() && firmware >= 40; }
};

// The question: 63 bytes.
std::array<std::uint8_t, 63> discoveryRequest();

// Reads an answer; nothing for a datagram that is none.
std::optional<FoundRadio> readDiscoveryReply(std::span<const std::uint8_t> datagram, const std::string& from);

struct DiscoveryOptions {
    std::vector<std::string> addresses; // asked one by one, beside the broadcasts
    bool broadcast = true;              // to 255.255.255.255, every interface's own, and 127.0.0.1
    std::chrono::milliseconds timeout{1000};
};

// Asks, a few times over, until the time is up; without broadcast it ends once every address has answered.
// Radios by address, each once. Throws UsageError for an address that is no dotted IPv4, Failure if there is
// no socket to be had.
std::vector<FoundRadio> discoverRadios(const DiscoveryOptions& options);

// The radio at one address. Throws Failure if none answers there.
FoundRadio findRadio(const std::string& address,
                     std::chrono::milliseconds timeout = std::chrono::milliseconds(1500));

} // namespace ferrow
