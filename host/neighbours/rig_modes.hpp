// Modes of rig control, as this host receives them.
#pragma once

#include "host/neighbours/rig_port.hpp"
#include "host/tuning.hpp"

#include <optional>
#include <vector>

namespace ferrow {

// All of them, with their usual passbands. PKTUSB and PKTLSB, which digital-mode programs ask for, are usb
// and lsb.
std::vector<RigMode> rigModes();

// A tuning's mode and the width of its filter.
RigMode rigModeOf(const Tuning& tuning);

// The same frequency in that mode; a passband of 0 is the usual one, a negative one as wide as it was.
// Sidebands keep their lower edge while they can, the others stay in the middle. Nothing for an unknown mode,
// or a passband that no filter can have.
std::optional<Tuning> tuningIn(const RigMode& mode, const Tuning& before);

} // namespace ferrow
