// Intermodulation of an idle PSK signal, from the energies of its two tones' products.
#pragma once

#include "modes/psk/ring_filter.hpp"

#include <array>

namespace ferrow {

// An idle signal is two tones, half the symbol rate above and below its frequency; distortion adds tones at
// odd multiples of that. At 16 samples a symbol they lie at 1/32, 2/32 and 3/32 of the rate.
class CCalcIMD {
public:
    static constexpr int kSpan = 288; // samples a measurement: 9, 18 and 27 turns

    // One sample, at 16 a symbol.
    void process(Iq sample) noexcept;

    // Forgets what it has of a measurement; the last result stays.
    void clear() noexcept;

    // Energies at 1, 2 and 3 times half the symbol rate of the last complete measurement, above and below
    // together.
    const std::array<double, 3>& energies() const noexcept { return energies_; }

private:
    // A Goertzel filter on each component.
    struct Resonator {
        Iq last, before;
    };

    std::array<Resonator, 3> resonators_{};
    std::array<double, 3> energies_{};
    int samples_ = 0;
};

} // namespace ferrow
