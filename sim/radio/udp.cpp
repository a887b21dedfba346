#include "sim/radio/udp.hpp"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <fmt/format.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace ferrow::sim {
namespace {

constexpr std::size_t kBatch = 64;

} // namespace

int bindUdp(const std::string& address, int port, bool shared) {
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0)
        throw std::runtime_error(fmt::format("socket: {}", std::strerror(errno)));
    sockaddr_in local{};
    local.sin_family = AF_INET;
    local.sin_port = htons(static_cast<std::uint16_t>(port));
    const int on = 1;
    if (shared)
        setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    const int buffer = 4 << 20;
    setsockopt(fd, SOL_SOCKET, SO_SNDBUF, &buffer, sizeof buffer);
    setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &buffer, sizeof buffer);
    if (inet_pton(AF_INET, address.c_str(), &local.sin_addr) != 1) {
        close(fd);
        throw std::runtime_error(fmt::format("\"{}\" is no IPv4 address", address));
    }
    if (bind(fd, reinterpret_cast<const sockaddr*>(&local), sizeof local) != 0) {
        const int error = errno;
        close(fd);
        throw std::runtime_error(fmt::format("cannot bind {}:{}: {}", address, port, std::strerror(error)));
    }
    return fd;
}

PortSet::~PortSet() {
    close();
}

void PortSet::close() {
    const std::lock_guard lock(mutex_);
    for (const auto& [port, fd] : sockets_)
        if (fd >= 0)
            ::close(fd);
    sockets_.clear();
}

int PortSet::at(std::uint16_t port) {
    const std::lock_guard lock(mutex_);
    const auto known = sockets_.find(port);
    if (known != sockets_.end())
        return known->second;
    int fd = -1;
    try {
        fd = bindUdp(address_, port, false);
    } catch (const std::runtime_error& error) {
        fmt::print(stderr, "ferrow-sim: {}\n", error.what());
    }
    sockets_.emplace(port, fd);
    return fd;
}

void SendCount::add(const SendCount& more) {
    stream += more.stream;
    other += more.other;
    bytes += more.bytes;
    errors += more.errors;
    latestNs = std::max(latestNs, more.latestNs);
}

SendCount sendDue(std::deque<Datagram>& queue, std::int64_t now, const sockaddr_in& peer,
                  const std::function<int(const Datagram&)>& socketOf) {
    SendCount total;
    sockaddr_in to = peer;
    while (!queue.empty() && queue.front().releaseNs <= now) {
        std::array<iovec, kBatch> pieces;
        std::array<mmsghdr, kBatch> messages{};
        std::size_t count = 0;
        const std::uint16_t port = queue.front().port;
        while (count < kBatch && count < queue.size() && queue[count].releaseNs <= now &&
               queue[count].port == port) {
            Datagram& datagram = queue[count];
            pieces[count] = {datagram.bytes.data(), static_cast<std::size_t>(datagram.size)};
            messages[count].msg_hdr.msg_name = &to;
            messages[count].msg_hdr.msg_namelen = sizeof to;
            messages[count].msg_hdr.msg_iov = &pieces[count];
            messages[count].msg_hdr.msg_iovlen = 1;
            total.latestNs = std::max(total.latestNs, now - datagram.releaseNs);
            ++count;
        }
        int sent = sendmmsg(socketOf(queue.front()), messages.data(), static_cast<unsigned>(count), 0);
        if (sent <= 0) {
            if (sent < 0 && errno == EINTR)
                continue;
            ++total.errors; // the first one cannot leave: drop it and go on
            sent = 1;
        } else {
            for (std::size_t i = 0; i < static_cast<std::size_t>(sent); ++i) {
                (queue[i].stream ? total.stream : total.other) += 1;
                total.bytes += queue[i].size;
            }
        }
        queue.erase(queue.begin(), queue.begin() + sent);
    }
    return total;
}

} // namespace ferrow::sim
