// How a mode takes its transceiver off the air.
#pragma once

#include "trx/mod_demod.hpp"

#include <functional>

namespace ferrow {

// Any thread. Ptt goes off, with its notice, by a task on the transceiver's context; nothing happens if the
// mode has none. `stillWanted`, if given, is asked when that task runs, and may refuse.
void endTransmission(modDemod& mode, std::function<bool()> stillWanted = {});

} // namespace ferrow
