// How the sound follows a radio whose clock is not the sound card's.
#pragma once

#include "tests/soak/soak.hpp"

namespace ferrow::soak {

// The phases of the plan, each with criteria of its own: no jump, and the samples on the way from the radio
// to the sink within 256 frames of their mean, once the control has settled.
void runDrift(Soak& soak, const Plan& plan, Verdict& verdict, nlohmann::json& report);

} // namespace ferrow::soak
