// How often the decoder finds a lone signal in white noise.
#pragma once

#include "tests/modes/ft8/ft8_signal.hpp"

namespace ferrow::test {

struct Trials {
    int decoded = 0; // payload right, bit for bit
    int wrong = 0;   // further records, with payloads nobody sent
    int trials = 0;
};

// One period per trial: a published vector at a random frequency (300 to 2700 Hz) and start (0.2 to 0.9 s),
// at `snrDb` in 2500 Hz. The same seed gives the same periods.
Trials measureDecodes(Mode mode, double snrDb, int trials, unsigned seed);

} // namespace ferrow::test
