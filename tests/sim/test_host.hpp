#pragma once
#include <arpa/inet.h>
#include <array>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <optional>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace ferrow::sim::testing {

/// A host at its plainest: a UDP socket and the packets of protocol 1, written out by hand.
class TestHost {
public:
    explicit TestHost(const std::string& radio, int port = 1024) {
        socket_ = socket(AF_INET, SOCK_DGRAM, 0);
        const int size = 8 << 20;
        if (setsockopt(socket_, SOL_SOCKET, SO_RCVBUFFORCE, &size, sizeof size) != 0)
            setsockopt(socket_, SOL_SOCKET, SO_RCVBUF, &size, sizeof size);
        const int on = 1;
        setsockopt(socket_, SOL_SOCKET, SO_BROADCAST, &on, sizeof on);
        setsockopt(socket_, SOL_SOCKET, SO_TIMESTAMPNS, &on, sizeof on);
        radio_.sin_family = AF_INET;
        radio_.sin_port = htons(static_cast<std::uint16_t>(port));
        inet_pton(AF_INET, radio.c_str(), &radio_.sin_addr);
    }
    ~TestHost() { close(socket_); }
    TestHost(const TestHost&) = delete;
    TestHost& operator=(const TestHost&) = delete;

    void send(const std::vector<std::uint8_t>& bytes) {
        sendto(socket_, bytes.data(), bytes.size(), 0, reinterpret_cast<const sockaddr*>(&radio_),
               sizeof radio_);
    }
    void discover() { send(packet(63, {0xEF, 0xFE, 2})); }
    void command(std::uint8_t bits) { send(packet(64, {0xEF, 0xFE, 4, bits})); }
    void start(std::uint8_t bits = 3) { command(bits); }
    void stop() { command(0); }

    using Control = std::array<std::uint8_t, 5>;

    /// One data packet; transmit words count up from `firstWord`.
    void data(const Control& a, const Control& b, int firstWord = 0) {
        dataWithSequence(sequence_++, a, b, firstWord);
    }
    void dataWithSequence(std::uint32_t sequence, const Control& a, const Control& b, int firstWord = 0) {
        std::vector<std::uint8_t> p = packet(1032, {0xEF, 0xFE, 1, 2});
        for (std::size_t i = 0; i < 4; ++i)
            p[4 + i] = static_cast<std::uint8_t>(sequence >> (24 - 8 * i));
        for (std::size_t f = 0; f < 2; ++f) {
            const std::size_t base = 8 + 512 * f;
            p[base] = p[base + 1] = p[base + 2] = 0x7F;
            for (std::size_t i = 0; i < 5; ++i)
                p[base + 3 + i] = (f == 0 ? a : b)[i];
            for (std::size_t s = 0; s < 63; ++s) {
                const int word = firstWord + static_cast<int>(63 * f + s);
                const std::size_t at = base + 8 + 8 * s + 4;
                p[at] = static_cast<std::uint8_t>(word >> 8);
                p[at + 1] = static_cast<std::uint8_t>(word);
                p[at + 2] = static_cast<std::uint8_t>(-word >> 8);
                p[at + 3] = static_cast<std::uint8_t>(-word);
            }
        }
        send(p);
    }
    /// Tells rate (code 0 to 3), receiver count and one frequency for all receivers.
    void tune(int rateCode, int receivers, std::uint32_t frequency) {
        const Control bank0{0, static_cast<std::uint8_t>(rateCode), 0, 0,
                            static_cast<std::uint8_t>((receivers - 1) << 3 | 4)};
        for (int r = 0; r < receivers; ++r) {
            const int bank = r < 7 ? 2 + r : 11 + r;
            data(bank0, {static_cast<std::uint8_t>(bank * 2), static_cast<std::uint8_t>(frequency >> 24),
                         static_cast<std::uint8_t>(frequency >> 16),
                         static_cast<std::uint8_t>(frequency >> 8), static_cast<std::uint8_t>(frequency)});
        }
    }

    struct Received {
        std::vector<std::uint8_t> bytes;
        sockaddr_in from{};
        double seconds = 0.0; ///< when the kernel took it

        int endpoint() const { return bytes.size() > 3 ? bytes[3] : -1; }
        std::uint32_t sequence() const {
            return static_cast<std::uint32_t>(bytes[4]) << 24 | static_cast<std::uint32_t>(bytes[5]) << 16 |
                   static_cast<std::uint32_t>(bytes[6]) << 8 | static_cast<std::uint32_t>(bytes[7]);
        }
    };

    std::optional<Received> receive(int timeoutMs = 1000) {
        pollfd fd{socket_, POLLIN, 0};
        if (poll(&fd, 1, timeoutMs) <= 0)
            return std::nullopt;
        Received got;
        got.bytes.resize(2048);
        iovec piece{got.bytes.data(), got.bytes.size()};
        alignas(cmsghdr) char control[128];
        msghdr message{};
        message.msg_name = &got.from;
        message.msg_namelen = sizeof got.from;
        message.msg_iov = &piece;
        message.msg_iovlen = 1;
        message.msg_control = control;
        message.msg_controllen = sizeof control;
        const ssize_t size = recvmsg(socket_, &message, 0);
        for (cmsghdr* c = CMSG_FIRSTHDR(&message); c != nullptr; c = CMSG_NXTHDR(&message, c)) {
            if (c->cmsg_level == SOL_SOCKET && c->cmsg_type == SCM_TIMESTAMPNS) {
                timespec at{};
                std::memcpy(&at, CMSG_DATA(c), sizeof at);
                got.seconds = static_cast<double>(at.tv_sec) + 1e-9 * static_cast<double>(at.tv_nsec);
            }
        }
        got.bytes.resize(static_cast<std::size_t>(size < 0 ? 0 : size));
        return got;
    }
    /// The next packet of that endpoint, or nothing after a second without.
    std::optional<Received> receiveEndpoint(int endpoint) {
        for (int i = 0; i < 100000; ++i) {
            auto got = receive();
            if (!got || (got->bytes.size() == 1032 && got->endpoint() == endpoint))
                return got;
        }
        return std::nullopt;
    }
    /// Throws away what has come in.
    void drain() {
        while (receive(0)) {
        }
    }

private:
    static std::vector<std::uint8_t> packet(std::size_t size, const std::vector<std::uint8_t>& head) {
        std::vector<std::uint8_t> p(size);
        std::copy(head.begin(), head.end(), p.begin());
        return p;
    }

    int socket_ = -1;
    sockaddr_in radio_{};
    std::uint32_t sequence_ = 0;
};

} // namespace ferrow::sim::testing
