// How much a recording resembles the sound that was sent.
#pragma once

#include "host/sound_file.hpp"

#include <span>

namespace ferrow {

struct Likeness {
    double correlation = 0; // 0 to 1 for the best place; 0 if there is too little to compare
    double offset = 0;      // seconds into the loop where the recording begins
    double seconds = 0;     // that were compared
};

// Normalised correlation between `low` and `high` Hz of a recording at 48000 a second with a sound at 12000
// that was sent as a loop, at the best shift in time. With `anyPhase` also at the best constant phase: single
// sideband has no carrier to tell the phase by, and the ear does not hear it.
Likeness compareWithLoop(std::span<const float> recording, const Sound& loop, double low, double high,
                         bool anyPhase);

} // namespace ferrow
