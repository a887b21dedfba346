// What \dump_state tells a client of rig control about the radio.
#pragma once

#include "host/neighbours/rig_port.hpp"

#include <string>
#include <vector>

namespace ferrow {

// Its lines, without their ends. `keyed`: with the lines of the form key=value behind the older ones, and
// "done".
std::vector<std::string> rigState(const RigPort& port, bool keyed);

} // namespace ferrow
