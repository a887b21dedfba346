// The connections of the server. Everything here but Peer::send runs on the network's thread.
#pragma once

#include "host/serve/request_head.hpp"
#include "host/serve/server.hpp"

#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <memory>
#include <set>

namespace ferrow::serve {

namespace beast = boost::beast;
namespace http = beast::http;
using boost::asio::ip::tcp;

inline constexpr std::size_t kMostMessage = 16384; // bytes from a listener

class Connection {
public:
    virtual ~Connection() = default;
    // Looks whether the time for something is up.
    virtual void check(std::chrono::steady_clock::time_point) {}
    // In order where there is one, with the goodbye of the protocol.
    virtual void leave() = 0;
    // At once.
    virtual void cut() = 0;
};

// What all connections know of the server.
struct ServerState {
    ServerOptions options;
    AccessRules rules;
    StationDoor& door;
    Traffic& traffic;
    std::set<Connection*> connections;
    int listeners = 0;
    int nextListener = 1;
};

// Serves requests until one asks for a websocket.
void startHttpSession(tcp::socket socket, ServerState& state);
void startWebsocketSession(beast::tcp_stream stream, Request request, ServerState& state);

} // namespace ferrow::serve
