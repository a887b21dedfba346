// The modes that a listener may choose.
#pragma once

#include "host/ft8_bands.hpp"
#include "host/tuning.hpp"

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string_view>

namespace ferrow::serve {

enum class Family { Voice, Cw, Psk, Rtty, Slots };
const char* nameOf(Family family);

struct ServeMode {
    const char* name;
    Family family;
    int low, high;  // usual filter, Hz relative to the dial
    Mode voice;     // of Family::Voice
    SlotMode slots; // of Family::Slots
    int marker;     // Hz of audio where the signal stands at first; 0: the mode has none
};

// Null if there is none of the name.
const ServeMode* findMode(std::string_view name);

// The list of the greeting.
nlohmann::json modesJson();

} // namespace ferrow::serve
