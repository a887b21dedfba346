// The pitch of the last 1024 of 1792 samples: the period at which the signal best repeats itself.
#pragma once

#include "trx/denoise/frame.hpp"

#include <span>

namespace ferrow::denoise {

struct Pitch {
    int period = 0; // samples, 60 to 768: 800 Hz to 62.5 Hz
    float gain = 0; // normalised correlation with the signal one period ago, 0 to 1
};

// Searches at half the rate on the spectrally flattened signal: all periods from 180 samples coarsely, the
// two best finely, and then whole fractions of the winner, for a periodic signal repeats at multiples of its
// period too. A fraction near the period of the `last` frame is taken more readily. `scratch` holds the
// signal at half the rate afterwards.
Pitch findPitch(std::span<const float, PITCH_BUF_SIZE> signal, std::span<float, PITCH_BUF_SIZE> scratch,
                const Pitch& last);

} // namespace ferrow::denoise
