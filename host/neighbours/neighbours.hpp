// What the commands that own a radio offer to other programs: rig control, a link to loggers and maps, a log
// file.
//
// In a command: addNeighbourOptions on its command line; an io_context, which it runs or polls in its loop;
// and a Neighbours beside the radio.
#pragma once

#include "host/neighbours/adif_log.hpp"
#include "host/neighbours/rig_server.hpp"
#include "host/neighbours/wsjtx_link.hpp"

#include <CLI/CLI.hpp>
#include <memory>
#include <optional>
#include <string>

namespace ferrow {

struct NeighbourOptions {
    std::optional<std::string> rigctl; // where to serve, as parseEndpoint reads it; nothing: not at all
    bool rigctlVfo = false;
    std::optional<std::string> wsjtx; // where the logger is
    std::string adif;                 // log file
    std::string call, grid;           // the station's
};

// --rigctl and --rigctl-vfo
void addRigctlOptions(CLI::App& command, NeighbourOptions& options);
// These, --wsjtx, --adif, --call and --grid
void addNeighbourOptions(CLI::App& command, NeighbourOptions& options);

class Neighbours {
public:
    // Opens what the options name. Lives on the thread that runs `io`, where the port is called too; both
    // must outlive it. Throws Failure, and UsageError before anything is open. That others than this machine
    // can reach the server is said on stderr, and so is where it listens if that was left to the system.
    Neighbours(boost::asio::io_context& io, RigPort& port, const NeighbourOptions& options);

    // Where rig control is served, if it is.
    std::optional<Endpoint> rigctl() const {
        return server_ ? std::optional(server_->endpoint()) : std::nullopt;
    }
    // Null without --wsjtx. For statuses, decodes, and to hear requests.
    WsjtxLink* wsjtx() { return wsjtx_.get(); }

    // Into the log, and to the logger; call and grid of the station are put in where they are empty. Throws
    // Failure if the log cannot be written; the logger has been told by then.
    void logged(Contact contact);

private:
    std::string call_, grid_;
    std::unique_ptr<AdifLog> adif_;
    std::unique_ptr<RigServer> server_;
    std::unique_ptr<WsjtxLink> wsjtx_;
};

} // namespace ferrow
