#pragma once
#include <vector>

namespace ferrow::sim {

/// Amplitude response of a linear-phase low-pass of 64 base samples' length (5.33 ms, Kaiser window, 110 dB),
/// at the bins 0 to `bins` - 1 of the 93.75 Hz grid. -6 dB at `cutoffHz`; flat to within 0.7 kHz of it, gone
/// 0.7 kHz above.
std::vector<float> lowPassShape(double cutoffHz, int bins);

} // namespace ferrow::sim
