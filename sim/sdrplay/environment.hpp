#pragma once
#include "sim/sdrplay/control.hpp"

#include <vector>

namespace ferrow::sim::rsp {

/// FERROW_STANDIN_DEVICES: "MODEL:SERIAL,MODEL:SERIAL..." with the models RSP1, RSP1A, RSP2, RSPduo, RSPdx.
/// Without it one device of each. What cannot be read is left out, with a word on the error stream.
std::vector<DeviceEntry> devicesFromEnvironment();

/// FERROW_STANDIN_CARRIERS: "HERTZ:DB,HERTZ:DB...", levels at the antenna. Without it two in the 40 m band.
std::vector<CarrierEntry> carriersFromEnvironment();

} // namespace ferrow::sim::rsp
