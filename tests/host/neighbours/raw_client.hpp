// A TCP connection for tests: bytes out, and what comes back up to a mark.
#pragma once

#include <arpa/inet.h>
#include <cstdint>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>

namespace ferrow::test {

class RawClient {
public:
    RawClient(const std::string& address, std::uint16_t port)
        : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in there{};
        there.sin_family = AF_INET;
        there.sin_port = htons(port);
        inet_pton(AF_INET, address.c_str(), &there.sin_addr);
        connected_ = connect(socket_, reinterpret_cast<sockaddr*>(&there), sizeof there) == 0;
    }
    ~RawClient() { ::close(socket_); }
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;

    bool connected() const { return connected_; }
    void send(std::string_view bytes) const {
        while (!bytes.empty()) {
            const ssize_t n = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (n <= 0)
                return;
            bytes.remove_prefix(static_cast<std::size_t>(n));
        }
    }
    // Everything up to the first `mark` and with it; what has come by then, if the other end closes or says
    // nothing for a long time.
    std::string readTo(std::string_view mark = "\n") {
        for (;;) {
            const std::size_t at = waiting_.find(mark);
            if (at != std::string::npos) {
                const std::string text = waiting_.substr(0, at + mark.size());
                waiting_.erase(0, text.size());
                return text;
            }
            if (!readSome())
                return std::exchange(waiting_, "");
        }
    }
    std::string ask(std::string_view line, std::string_view mark = "\n") {
        send(std::string(line) + '\n');
        return readTo(mark);
    }
    // Whether the other end closes the connection, with nothing more said.
    bool closes() {
        while (readSome()) {
        }
        return closed_ && waiting_.empty();
    }
    void shutdownWrite() const { ::shutdown(socket_, SHUT_WR); }

private:
    bool readSome() {
        constexpr int kLongMilliseconds = 20'000;
        pollfd one{socket_, POLLIN, 0};
        if (poll(&one, 1, kLongMilliseconds) <= 0)
            return false;
        char bytes[4096];
        const ssize_t n = recv(socket_, bytes, sizeof bytes, 0);
        if (n > 0)
            waiting_.append(bytes, static_cast<std::size_t>(n));
        else
            closed_ = true;
        return n > 0;
    }

    int socket_;
    bool connected_ = false, closed_ = false;
    std::string waiting_;
};

} // namespace ferrow::test
