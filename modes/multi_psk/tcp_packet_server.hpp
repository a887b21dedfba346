// A small TCP server of length-framed packets for one client at a time.
#pragma once

#include "core/async/async_object.hpp"
#include "core/buff/buff.hpp"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>

namespace ferrow {

// Lives in an asyncObject, its owner. A service thread of its own, made by the first listen, does all that
// the socket needs and never waits for a client; it ends with the server, whatever the client does. A second
// client waits, connected but unheard, until the first has gone.
class asyncTcpIpPacketServer {
public:
    using DataCallback = std::function<void(buff<char>)>;
    using ConnectionCallback = std::function<void(bool)>;

    // Packets that may wait for the client; what comes on top is dropped.
    static constexpr int kMostWaiting = 256;

    // Both callbacks run on the owner's context, and only while it lives: `data` with each body of at most
    // `packetLimit` bytes, `connection` when a client has come and when it has gone. The next packet is not
    // read before the last one has been taken.
    asyncTcpIpPacketServer(DataCallback data, ConnectionCallback connection, std::uint32_t packetLimit);
    asyncTcpIpPacketServer(const asyncTcpIpPacketServer&) = delete;
    asyncTcpIpPacketServer& operator=(const asyncTcpIpPacketServer&) = delete;
    // Any thread. The port is free afterwards.
    ~asyncTcpIpPacketServer();

    // The owner's context. `address` is an IPv4 or IPv6 address in figures. A failure is logged as
    // "listen err " and its reason; then nothing listens.
    bool listen(const std::string& address, std::uint16_t port, const std::shared_ptr<asyncObject>& owner);
    bool listening() const noexcept { return listening_; }
    // Leaves client and port; another listen may follow.
    void close();

    // Any thread; neither waits nor, once a thread has sent before, allocates. The packet is sent as it is,
    // and must not change any more. Without a client it is dropped.
    void send(buff<char> packet);

private:
    struct Link; // shared with the thread

    std::shared_ptr<Link> link_;
    std::thread thread_;
    bool listening_ = false;
};

} // namespace ferrow
