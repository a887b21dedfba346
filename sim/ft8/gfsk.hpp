#pragma once
#include "sim/sky/station.hpp"

#include <span>
#include <vector>

namespace ferrow::sim {

struct GfskForm {
    int samplesPerSymbol; ///< at 12 kHz
    double bandwidthTime; ///< BT of the Gaussian pulse
    double slotSeconds;
    double startSeconds; ///< of a transmission in its slot, at DT 0
    bool rampSymbols;    ///< a symbol of tone 0 before and after carries the ramps; else they are 1/8 of the
                         ///< first and last symbol
};

inline constexpr GfskForm kFt8Form{1920, 2.0, 15.0, 0.5, false};
inline constexpr GfskForm kFt4Form{576, 1.0, 7.5, 0.5, true};

/// Constant-envelope waveform of amplitude 1 at 12 kHz, tone 0 at 0 Hz. Tones stand 12000 / samplesPerSymbol
/// Hz apart; the frequency steps are smoothed with the pulse (erf(k BT (t + 1/2)) - erf(k BT (t - 1/2))) / 2,
/// k = pi sqrt(2 / ln 2), t in symbols.
std::vector<Cfloat> modulateGfsk(const GfskForm& form, std::span<const int> tones);

} // namespace ferrow::sim
