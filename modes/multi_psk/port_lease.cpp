#include "modes/multi_psk/port_lease.hpp"

#include <mutex>
#include <set>

namespace ferrow {

namespace {

constexpr int kLastPort = 65535;

struct PortsInUse {
    std::mutex mutex;
    std::set<int> ports;
};

// Never destroyed: objects may die after every other static.
PortsInUse& portsInUse() {
    static auto* const inUse = new PortsInUse;
    return *inUse;
}

} // namespace

PortLease::PortLease(int first) {
    PortsInUse& inUse = portsInUse();
    const std::lock_guard lock(inUse.mutex);
    while (inUse.ports.contains(first))
        ++first;
    if (first < 1 || first > kLastPort)
        return;
    inUse.ports.insert(first);
    port_ = first;
}

PortLease& PortLease::operator=(PortLease&& other) noexcept {
    if (this != &other) {
        release();
        port_ = std::exchange(other.port_, 0);
    }
    return *this;
}

void PortLease::release() noexcept {
    if (port_ == 0)
        return;
    PortsInUse& inUse = portsInUse();
    const std::lock_guard lock(inUse.mutex);
    inUse.ports.erase(port_);
    port_ = 0;
}

} // namespace ferrow
