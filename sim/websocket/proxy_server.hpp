#pragma once
#include "sim/radio/faults.hpp"
#include "sim/sky/sky.hpp"

#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace ferrow::sim::proxy {

struct ServerSettings {
    std::string host = "127.0.0.1"; ///< IPv4 address to listen at
    int port = 4810;                ///< 0: any free one
    std::string path = "/iq";       ///< the only request target that is served
    double clockPpm = 0.0;
    bool silent = false; ///< answers, never sends samples
    std::vector<FaultSpec> faults;
    std::uint64_t seed = 1;
};

/// Reads "HOST[:PORT][/PATH]" into settings; what is absent stays. Throws std::invalid_argument.
void parsePlace(const std::string& text, ServerSettings& settings);
/// Throws std::invalid_argument for faults that make no sense on a websocket.
void checkFaults(const std::vector<FaultSpec>& faults);

/// The server side of the websocket proxy: any number of clients, each with receivers of its own at 48 kHz,
/// all hearing the same sky. One thread does everything; the clock is the monotonic one, times its error.
class Server {
public:
    /// Listens and serves. Throws std::runtime_error if that fails.
    Server(ServerSettings settings, std::shared_ptr<const Sky> sky);
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    std::string url() const; ///< ws://host:port/path
    /// Any thread.
    nlohmann::json statistics() const;

private:
    class Work;
    std::unique_ptr<Work> work_;
};

} // namespace ferrow::sim::proxy
