// What the MultiPSK program is to the link: a plain TCP client with its own idea of the packets. And the mode
// on a transceiver, at a loopback address of this process.
#pragma once

#include "modes/multi_psk_mod_demod.hpp"
#include "tests/trx/trx_fixture.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

namespace ferrow::test {

inline std::string word(std::int64_t value) {
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8)
        bytes += static_cast<char>(value >> shift & 255);
    return bytes;
}

inline std::string framed(const std::string& body) {
    return word(static_cast<std::int64_t>(body.size())) + body;
}

inline std::string initBody(std::int64_t hertz, std::size_t size = 18) {
    std::string body = "InitHWMP\1\2\3\4\5" + word(hertz);
    body.resize(size, '\6');
    return body;
}

// What belongs to the address and port of a listener in IPv4, as the system takes it.
inline sockaddr_in placeOf(const std::string& address, int port) {
    sockaddr_in place{};
    place.sin_family = AF_INET;
    place.sin_port = htons(static_cast<std::uint16_t>(port));
    inet_pton(AF_INET, address.c_str(), &place.sin_addr);
    return place;
}

class LinkClient {
public:
    LinkClient(const std::string& address, int port) {
        socket_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const timeval patience{5, 0};
        ::setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        ::setsockopt(socket_, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
        const sockaddr_in place = placeOf(address, port);
        connected_ = ::connect(socket_, reinterpret_cast<const sockaddr*>(&place), sizeof place) == 0;
    }
    ~LinkClient() { close(); }
    LinkClient(const LinkClient&) = delete;
    LinkClient& operator=(const LinkClient&) = delete;

    bool connected() const { return connected_; }

    void close() {
        if (socket_ >= 0)
            ::close(socket_);
        socket_ = -1;
    }

    // Ends both directions; a call that waits returns.
    void shutDown() { ::shutdown(socket_, SHUT_RDWR); }

    // Goes with a reset in place of a farewell.
    void abort() {
        const linger now{1, 0};
        ::setsockopt(socket_, SOL_SOCKET, SO_LINGER, &now, sizeof now);
        close();
    }

    bool send(const std::string& bytes) {
        std::size_t done = 0;
        while (done < bytes.size()) {
            const ssize_t n = ::send(socket_, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
            if (n <= 0)
                return false;
            done += static_cast<std::size_t>(n);
        }
        return true;
    }

    // Exactly `count` bytes, or fewer when they do not come within 5 s.
    std::string receive(std::size_t count) {
        std::string bytes(count, '\0');
        std::size_t done = 0;
        while (done < count) {
            const ssize_t n = ::recv(socket_, bytes.data() + done, count - done, 0);
            if (n <= 0)
                break;
            done += static_cast<std::size_t>(n);
        }
        bytes.resize(done);
        return bytes;
    }

    // The body of the next packet.
    std::string packet() {
        const std::string head = receive(4);
        if (head.size() < 4)
            return "";
        std::uint32_t size;
        std::memcpy(&size, head.data(), 4);
        return receive(size);
    }

    // The next packet with this tag.
    std::string packetOf(const std::string& tag) {
        for (;;) {
            std::string body = packet();
            if (body.empty() || body.compare(0, 8, tag) == 0)
                return body;
        }
    }

    // Whether the far end has closed: nothing more comes.
    bool ended() {
        char byte;
        ssize_t n;
        while ((n = ::recv(socket_, &byte, 1, 0)) > 0) {
        }
        return n == 0 || errno == ECONNRESET;
    }

    bool nothingWaits(int milliseconds = 100) {
        const timeval brief{0, milliseconds * 1000}, patience{5, 0};
        ::setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &brief, sizeof brief);
        char byte;
        const ssize_t n = ::recv(socket_, &byte, 1, MSG_PEEK);
        const bool none = n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK);
        ::setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        return none;
    }

    // All that was sent has been heard: the answer to a question behind it has come.
    bool heard() { return send(framed("Pversion")) && !packetOf("Pversion").empty(); }

private:
    int socket_ = -1;
    bool connected_ = false;
};

class LinkTest : public TrxTest {
protected:
    static constexpr long long kTuned = 14070000;

    std::string address;
    std::shared_ptr<vtrx> t;
    std::shared_ptr<MultiPskModDemod> mode;

    void SetUp() override {
        const int pid = getpid();
        address = "127." + std::to_string(100 + (pid >> 14 & 63)) + "." + std::to_string(pid >> 7 & 127) +
                  "." + std::to_string(1 + (pid & 127));
        setenv("FERROW_MULTIPSK_ADDRESS", address.c_str(), 1);
        radio->addReceiver(kTuned, 48000);
    }

    // The mode on its transceiver, once it listens or has given up.
    void use(int port = 50001) {
        mode = std::make_shared<MultiPskModDemod>(rootSyncTask);
        mode->port.setFromHost(port);
        t = listen(kTuned, mode);
        settle(rootSyncTask);
    }

    LinkClient client() const { return LinkClient(address, mode->port.value()); }

    // With a client that has its answer, so that all is in place.
    std::unique_ptr<LinkClient> connect() const {
        auto made = std::make_unique<LinkClient>(address, mode->port.value());
        EXPECT_TRUE(made->connected());
        EXPECT_TRUE(made->heard());
        return made;
    }

    // And the stream running.
    std::unique_ptr<LinkClient> stream() const {
        auto made = connect();
        EXPECT_TRUE(made->send(framed(initBody(kTuned))));
        EXPECT_TRUE(made->heard());
        EXPECT_TRUE(mode->sending.value());
        return made;
    }

    long long vfo() {
        settle(rootSyncTask);
        settle(t->context());
        return t->vfo.value();
    }

    buff<float> receive(const Samples& block) { return mode->demodulate(block); }
};

} // namespace ferrow::test
