// A plain UDP endpoint on a loopback address for tests to play the radio with.
#pragma once

#include <arpa/inet.h>
#include <cstdint>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <optional>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace ferrow::test {

class UdpPeer {
public:
    explicit UdpPeer(const char* address = "127.0.0.1", std::uint16_t port = 0)
        : file(::socket(AF_INET, SOCK_DGRAM, 0)) {
        sockaddr_in own{};
        own.sin_family = AF_INET;
        own.sin_port = htons(port);
        own.sin_addr.s_addr = inet_addr(address);
        bound = bind(file, reinterpret_cast<sockaddr*>(&own), sizeof own) == 0;
        EXPECT_TRUE(bound) << address << ":" << port;
        socklen_t length = sizeof own;
        getsockname(file, reinterpret_cast<sockaddr*>(&own), &length);
        ownAddress = own.sin_addr.s_addr;
        ownPort = ntohs(own.sin_port);
        const int bytes = 4 << 20;
        setsockopt(file, SOL_SOCKET, SO_RCVBUF, &bytes, sizeof bytes);
    }
    ~UdpPeer() { close(file); }
    UdpPeer(const UdpPeer&) = delete;
    UdpPeer& operator=(const UdpPeer&) = delete;

    std::uint32_t address() const { return ownAddress; } // network order
    std::uint16_t port() const { return ownPort; }

    // The next datagram, or nothing within the time.
    std::optional<std::vector<std::uint8_t>> receive(int milliseconds = 1000) {
        pollfd ready{file, POLLIN, 0};
        if (poll(&ready, 1, milliseconds) <= 0)
            return std::nullopt;
        std::vector<std::uint8_t> packet(4096);
        socklen_t length = sizeof last;
        const ssize_t got =
            recvfrom(file, packet.data(), packet.size(), 0, reinterpret_cast<sockaddr*>(&last), &length);
        if (got < 0)
            return std::nullopt;
        packet.resize(static_cast<std::size_t>(got));
        return packet;
    }

    void sendTo(std::uint16_t toPort, const std::vector<std::uint8_t>& packet) {
        sockaddr_in to{};
        to.sin_family = AF_INET;
        to.sin_port = htons(toPort);
        to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        sendto(file, packet.data(), packet.size(), 0, reinterpret_cast<sockaddr*>(&to), sizeof to);
    }

    // To whoever sent the last datagram.
    void reply(const std::vector<std::uint8_t>& packet) {
        sendto(file, packet.data(), packet.size(), 0, reinterpret_cast<sockaddr*>(&last), sizeof last);
    }

    std::uint16_t lastPort() const { return ntohs(last.sin_port); }

private:
    int file;
    bool bound = false;
    std::uint32_t ownAddress = 0;
    std::uint16_t ownPort = 0;
    sockaddr_in last{};
};

} // namespace ferrow::test
