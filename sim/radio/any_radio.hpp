#pragma once
#include <nlohmann/json_fwd.hpp>
#include <string>

namespace ferrow::sim {

/// What the program knows of a radio of any kind.
class AnyRadio {
public:
    virtual ~AnyRadio() = default;

    virtual const std::string& address() const = 0;
    virtual int port() const = 0;
    /// Statistics and what the host has set.
    virtual nlohmann::json report() const = 0;
    /// Puts recordings on the disk.
    virtual void flush() {}
    /// Ends the threads and closes the sockets; what has been counted stays. For good.
    virtual void shutDown() = 0;
};

} // namespace ferrow::sim
