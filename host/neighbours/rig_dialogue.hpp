// The language of rigctld(1), as one client speaks it: lines in, answers out. No socket.
#pragma once

#include "host/neighbours/rig_port.hpp"

#include <string>
#include <string_view>

namespace ferrow {

// What stands behind RPRT: Hamlib's error numbers.
enum RigError {
    kRigDone = 0,
    kRigBadArgument = -1,
    kRigFailed = -6,
    kRigRejected = -9,
    kRigNotAvailable = -11, // also for commands that are not known here
};

class RigDialogue {
public:
    // The port must outlive it. `vfoMode`: what chk_vfo says, which makes clients of Hamlib put a VFO in
    // front of the arguments; it is taken there in either case.
    explicit RigDialogue(RigPort& port, bool vfoMode = false) : port_(port), vfoMode_(vfoMode) {}

    // The answer to a line without its end; nothing to an empty line or a comment. Always ends with the end
    // of a line, or with the separator that the client asked for.
    std::string answer(std::string_view line);

    // Whether the client has said goodbye, or turned out to be a web browser.
    bool ended() const { return ended_; }

private:
    friend struct RigCommands;

    RigPort& port_;
    bool vfoMode_;
    bool askedVfo_ = false; // clients that know chk_vfo read more lines of dump_state
    bool ended_ = false;
};

} // namespace ferrow
