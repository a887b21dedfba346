// Tells a logger or map what is received and worked, by the WSJT-X network protocol over UDP, and hears what
// it wants.
#pragma once

#include "host/neighbours/endpoint.hpp"
#include "host/neighbours/wsjtx_messages.hpp"

#include <boost/asio/io_context.hpp>
#include <functional>
#include <memory>

namespace ferrow {

inline constexpr std::uint16_t kWsjtxPort = 2237;

// All members, and the functions that it calls, belong to the thread that runs the io_context. Nobody at the
// other end is no error; whoever comes later gets the status within a heartbeat.
class WsjtxLink {
public:
    static constexpr std::chrono::seconds kHeartbeatPause{15};
    static constexpr std::size_t kMostKept =
        200; // decodes: as many datagrams as a usual socket takes at once

    // Sends a heartbeat at once, and one every `pause`, each followed by the status. Obeys datagrams that
    // come from the address of `peer`, whatever their port. Throws Failure.
    WsjtxLink(boost::asio::io_context& io, const Endpoint& peer, std::string id = "ferrow",
              std::chrono::milliseconds pause = kHeartbeatPause);
    // Says goodbye.
    ~WsjtxLink();
    WsjtxLink(const WsjtxLink&) = delete;
    WsjtxLink& operator=(const WsjtxLink&) = delete;

    // Goes out if anything in it has changed.
    void setStatus(const WsjtxStatus& status);
    // Goes out, and is kept for peers that ask for what has been decoded, until clear().
    void decoded(const WsjtxDecode& decode);
    void clear();
    // As QSO Logged, and as an ADIF file of one record.
    void logged(const Contact& contact);

    // A decode that has gone out before is to be answered.
    std::function<void(const WsjtxReply&)> onReply;
    std::function<void(const WsjtxHaltTx&)> onHaltTx;
    std::function<void(const WsjtxFreeText&)> onFreeText;
    // The peer has cleared its window. Decodes are forgotten first.
    std::function<void()> onClear;
    // The program is asked to end.
    std::function<void()> onClose;

private:
    class Work;
    std::shared_ptr<Work> work_;
};

} // namespace ferrow
