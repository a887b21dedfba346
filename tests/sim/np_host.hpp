#pragma once
#include <arpa/inet.h>
#include <cstdint>
#include <map>
#include <optional>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace ferrow::sim::testing {

using Bytes = std::vector<std::uint8_t>;

/// A packet of that size with the bytes that are not 0.
inline Bytes packetOf(std::size_t size, const std::map<std::size_t, int>& bytes) {
    Bytes packet(size);
    for (const auto& [at, value] : bytes)
        packet[at] = static_cast<std::uint8_t>(value);
    return packet;
}

/// Big-endian number of `count` bytes.
inline std::uint64_t numberAt(const Bytes& packet, std::size_t at, std::size_t count) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < count; ++i)
        value = value << 8 | packet.at(at + i);
    return value;
}

/// A host of protocol 2 at its plainest: one UDP socket, packets written out by hand.
class NpHost {
public:
    explicit NpHost(const std::string& radio) {
        socket_ = socket(AF_INET, SOCK_DGRAM, 0);
        const int size = 8 << 20;
        if (setsockopt(socket_, SOL_SOCKET, SO_RCVBUFFORCE, &size, sizeof size) != 0)
            setsockopt(socket_, SOL_SOCKET, SO_RCVBUF, &size, sizeof size);
        radio_.sin_family = AF_INET;
        inet_pton(AF_INET, radio.c_str(), &radio_.sin_addr);
    }
    ~NpHost() { close(socket_); }
    NpHost(const NpHost&) = delete;
    NpHost& operator=(const NpHost&) = delete;

    void send(int port, const Bytes& bytes) {
        radio_.sin_port = htons(static_cast<std::uint16_t>(port));
        sendto(socket_, bytes.data(), bytes.size(), 0, reinterpret_cast<const sockaddr*>(&radio_),
               sizeof radio_);
    }
    void discover() { send(1024, packetOf(60, {{4, 2}})); }

    /// General packet with the usual ports, phase words, and these bytes besides.
    void general(std::map<std::size_t, int> more = {}) {
        std::map<std::size_t, int> bytes{{5, 4},  {6, 1},  {7, 4},  {8, 2},  {9, 4},  {10, 3}, {11, 4},
                                         {12, 1}, {13, 4}, {14, 4}, {15, 4}, {16, 5}, {17, 4}, {18, 11},
                                         {19, 4}, {20, 2}, {21, 4}, {22, 3}, {37, 8}};
        for (const auto& [at, value] : more)
            bytes[at] = value;
        send(1024, packetOf(60, bytes));
    }
    /// Receivers with those rates in kHz, 0 for none.
    void receivers(const std::vector<int>& kilohertz, int port = 1025) {
        Bytes packet(1444);
        packet[4] = 1;
        for (std::size_t i = 0; i < kilohertz.size(); ++i) {
            packet[7] = static_cast<std::uint8_t>(packet[7] | (kilohertz[i] != 0 ? 1 << i : 0));
            packet[18 + 6 * i] = static_cast<std::uint8_t>(kilohertz[i] >> 8);
            packet[19 + 6 * i] = static_cast<std::uint8_t>(kilohertz[i]);
            packet[22 + 6 * i] = 24;
        }
        send(port, packet);
    }
    /// High priority packet with a frequency for each receiver.
    void highPriority(bool run, const std::vector<double>& hertz = {}, int attenuator = 0) {
        Bytes packet(1444);
        packet[4] = run ? 1 : 0;
        for (std::size_t i = 0; i < hertz.size(); ++i) {
            const auto word = static_cast<std::uint32_t>(hertz[i] / 122880000.0 * 4294967296.0 + 0.5);
            for (std::size_t b = 0; b < 4; ++b)
                packet[9 + 4 * i + b] = static_cast<std::uint8_t>(word >> (24 - 8 * b));
        }
        packet[1443] = static_cast<std::uint8_t>(attenuator);
        send(1027, packet);
    }

    struct Received {
        Bytes bytes;
        int port = 0; ///< of the radio
        std::uint32_t sequence() const { return static_cast<std::uint32_t>(numberAt(bytes, 0, 4)); }
    };
    std::optional<Received> receive(int timeoutMs = 1000) {
        pollfd fd{socket_, POLLIN, 0};
        if (poll(&fd, 1, timeoutMs) <= 0)
            return std::nullopt;
        Received got{Bytes(2048), 0};
        sockaddr_in from{};
        socklen_t length = sizeof from;
        const ssize_t size = recvfrom(socket_, got.bytes.data(), got.bytes.size(), 0,
                                      reinterpret_cast<sockaddr*>(&from), &length);
        got.bytes.resize(static_cast<std::size_t>(size < 0 ? 0 : size));
        got.port = ntohs(from.sin_port);
        return got;
    }
    /// The next packet from that port, or nothing after a second of silence.
    std::optional<Received> receiveFrom(int port) {
        for (int i = 0; i < 100000; ++i) {
            auto got = receive();
            if (!got || got->port == port)
                return got;
        }
        return std::nullopt;
    }
    void drain() {
        while (receive(0)) {
        }
    }

private:
    int socket_ = -1;
    sockaddr_in radio_{};
};

} // namespace ferrow::sim::testing
