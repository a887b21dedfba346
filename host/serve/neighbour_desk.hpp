// The station's other programs: rig control, loggers and maps, the log.
#pragma once

#include "host/neighbours/neighbours.hpp"
#include "host/serve/station_rig.hpp"

#include <boost/asio/io_context.hpp>

namespace ferrow::serve {

// For the thread that pumps the library.
class NeighbourDesk {
public:
    // Opens what the options name. Throws Failure and UsageError. `halt`: a program asks for the end of all
    // transmission.
    NeighbourDesk(const NeighbourOptions& options, RigSeat seat, std::function<void()> halt);

    // Answers what has come; also from within the library's pump.
    void poll();

    // Whether contacts go anywhere.
    bool logs() const { return logs_; }
    // Throws Failure if the log cannot be written.
    void logged(const LogOrder& order);
    void decoded(SlotMode mode, const DecodedSlot& slot);
    // Where the rig stands, and whether it transmits. Goes out when it has changed.
    void setStatus(const Receiver* receiver, bool transmitting, bool allowed);

private:
    boost::asio::io_context io_{1};
    StationRig rig_;
    const std::string call_, grid_;
    const bool logs_;
    bool polling_ = false;
    Neighbours neighbours_; // last: its servers end first
};

} // namespace ferrow::serve
