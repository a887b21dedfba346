#pragma once
#include "sim/radio/faults.hpp"

#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <netinet/in.h>
#include <string>

namespace ferrow::sim {

/// A bound UDP socket with large buffers. `shared`: others may bind the same address (broadcasts).
/// Throws std::runtime_error.
int bindUdp(const std::string& address, int port, bool shared);

/// Sockets of one address, a port each, made when first asked for. Any thread.
class PortSet {
public:
    explicit PortSet(std::string address) : address_(std::move(address)) {}
    ~PortSet();
    PortSet(const PortSet&) = delete;
    PortSet& operator=(const PortSet&) = delete;

    /// -1 if that port cannot be bound.
    int at(std::uint16_t port);
    void close();

private:
    std::string address_;
    std::mutex mutex_;
    std::map<std::uint16_t, int> sockets_;
};

/// What has been sent.
struct SendCount {
    std::int64_t stream = 0; ///< receive packets
    std::int64_t other = 0;
    std::int64_t bytes = 0;
    std::int64_t errors = 0;
    std::int64_t latestNs = 0; ///< how late the latest one left

    void add(const SendCount& more);
};

/// Sends what is due at the head of the queue, in batches; a datagram that cannot leave is dropped.
SendCount sendDue(std::deque<Datagram>& queue, std::int64_t nowNs, const sockaddr_in& to,
                  const std::function<int(const Datagram&)>& socketOf);

} // namespace ferrow::sim
