// Serves a radio to programs that speak with rigctld(1), over TCP.
#pragma once

#include "host/neighbours/endpoint.hpp"
#include "host/neighbours/rig_port.hpp"

#include <boost/asio/io_context.hpp>
#include <memory>

namespace ferrow {

inline constexpr std::uint16_t kRigPort = 4532;

class RigServer {
public:
    static constexpr std::size_t kMostClients = 16;
    static constexpr std::size_t kLongestLine = 1024; // bytes without its end; longer ones are refused

    // Listens; port 0 takes a free one. `vfoMode` as for RigDialogue. Runs on whatever thread runs `io`,
    // where the port is called too. Both must outlive it. Throws Failure.
    RigServer(boost::asio::io_context& io, RigPort& port, const Endpoint& at, bool vfoMode = false);
    // Ends all connections; on the thread of `io`.
    ~RigServer();
    RigServer(const RigServer&) = delete;
    RigServer& operator=(const RigServer&) = delete;

    // Where it listens.
    Endpoint endpoint() const;
    std::size_t clients() const;

private:
    class Work;
    std::shared_ptr<Work> work_;
};

} // namespace ferrow
