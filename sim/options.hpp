#pragma once
#include "sim/radio/radio.hpp"
#include "sim/sdrplay/launch.hpp"
#include "sim/websocket/proxy_server.hpp"

#include <optional>
#include <string>
#include <vector>

namespace ferrow::sim {

/// The command line of ferrow-sim.
struct Options {
    std::vector<std::string> addresses;
    int protocol = 1;
    std::string scene = "builtin";
    RadioSettings radio; ///< address aside
    std::vector<std::string> faults;
    double duration = 0.0; ///< seconds; 0: until a signal
    double utcOffset = 0.0;
    bool listScene = false;
    bool dieWithParent = false;
    bool quiet = false;
    std::string writeSources;
    std::string statsFile;
    std::string traceFile;
    int readyFd = -1;
    std::optional<proxy::ServerSettings> websocket; ///< serve this in place of radios
    std::optional<rsp::LaunchSettings> sdrplay;     ///< run a program on the stand-in in place of radios
    std::vector<std::string> program;               ///< with its arguments
};

/// Reads the command line. Returns -1 to go on, else the exit code (0 after --help, 2 after a mistake, which
/// has been told on stderr).
int parseOptions(int argc, const char* const* argv, Options& options);

} // namespace ferrow::sim
