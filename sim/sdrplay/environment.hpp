#pragma once
#include "sim/sdrplay/control.hpp"
#include "sim/sdrplay/sky_source.hpp"

#include <memory>
#include <vector>

namespace ferrow::sim::rsp {

/// FERROW_STANDIN_DEVICES: "MODEL:SERIAL,MODEL:SERIAL..." with the models RSP1, RSP1A, RSP2, RSPduo, RSPdx.
/// Without it one device of each. What cannot be read is left out, with a word on the error stream.
std::vector<DeviceEntry> devicesFromEnvironment();

/// FERROW_STANDIN_CARRIERS: "HERTZ:DB,HERTZ:DB...", levels at the antenna. Without it two in the 40 m band.
std::vector<CarrierEntry> carriersFromEnvironment();

/// FERROW_STANDIN_SCENE: a scene file or "builtin", heard in place of the carriers. FERROW_STANDIN_CLOCK_PPM:
/// error of the device's clock. FERROW_STANDIN_UTC_OFFSET: seconds that the sky's clock is ahead. Null
/// without a scene. Throws std::runtime_error for a scene that cannot be used.
std::unique_ptr<SkySource> skyFromEnvironment();
/// Whether there is one, used or not.
bool sceneInEnvironment();
double clockPpmFromEnvironment();

/// FERROW_STANDIN_UNPLUG: seconds of a stream after which its device is removed; 0: never.
double unplugFromEnvironment();

} // namespace ferrow::sim::rsp
