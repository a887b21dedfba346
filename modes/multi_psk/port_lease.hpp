// Which TCP ports the objects of this process have taken for themselves.
#pragma once

#include <utility>

namespace ferrow {

// The first port from `first` on that no other lease of the process holds. Nothing if `first`, or what is
// left above it, lies outside of 1 to 65535. Any thread.
class PortLease {
public:
    PortLease() = default;
    explicit PortLease(int first);
    PortLease(PortLease&& other) noexcept : port_(std::exchange(other.port_, 0)) {}
    PortLease& operator=(PortLease&& other) noexcept;
    ~PortLease() { release(); }

    int port() const noexcept { return port_; } // 0 for none

private:
    void release() noexcept;

    int port_ = 0;
};

} // namespace ferrow
