// The numbers of the beacon's chirps.
#pragma once

#include <numbers>

namespace ferrow {

// A symbol sweeps 1000 Hz in 0.1 s, upward or downward, around the centre.
struct ChirpWave {
    static constexpr double kRate = 48000.0;
    static constexpr double kCentre = 1500.0; // Hz above the tuned frequency
    static constexpr double kSweep = 1000.0;  // Hz
    static constexpr double kSeconds = 0.1;   // of a symbol
    static constexpr double kSlope = kSweep / kSeconds;
    static constexpr int kSymbol = 4800;         // samples
    static constexpr int kTaper = 240;           // samples of a raised cosine at either end
    static constexpr int kLead = 2, kPause = 15; // symbols of silence before the first frame, and behind each

    // Phase `t` seconds into a rising chirp around 0 Hz, radians. A falling one has the negative of it.
    static double phase(double t) { return 2 * std::numbers::pi * (-kSweep / 2 * t + kSlope / 2 * t * t); }
};

} // namespace ferrow
