// The server of the web page: HTTP, and a websocket for each listener, on a thread of its own.
#pragma once

#include "host/serve/access.hpp"
#include "host/serve/station_door.hpp"
#include "host/serve/traffic.hpp"

#include <chrono>
#include <memory>
#include <string>

namespace ferrow::serve {

struct ServerOptions {
    ListenAddress listen;
    std::string token;              // empty: none is needed
    std::vector<std::string> names; // see AccessRules
    int mostListeners = 32;
    std::chrono::milliseconds requestTime{10000}; // for the head of a request to come
    std::chrono::milliseconds idleTime{30000};    // of a connection between requests, or a silent websocket
    std::chrono::milliseconds writeTime{20000};   // for a message to be taken
};

class Server {
public:
    // Listens, and serves from here on. Throws Failure if it cannot. `door` and `traffic` must outlive it.
    Server(const ServerOptions& options, StationDoor& door, Traffic& traffic);
    // Says goodbye to all, and waits for them a little.
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    // Where the page is, with the token.
    std::string url() const;

private:
    struct Work;
    std::unique_ptr<Work> work_;
};

} // namespace ferrow::serve
