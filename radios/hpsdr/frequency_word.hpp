// Frequencies as the radio's oscillators take them. The oscillator runs inside the first Nyquist zone of the
// ADC clock; what lies above is folded, mirrored in the odd zones.
#pragma once

#include <cstdint>

namespace ferrow {

// Nyquist zone of `frequency` (Hz), counted from 0. A clock below 2 Hz has one zone only.
long long nyquistZone(long long frequency, int clockFrequency);

// Odd zones arrive with the spectrum mirrored: I and Q change places.
inline bool inOddZone(long long frequency, int clockFrequency) {
    return (nyquistZone(frequency, clockFrequency) & 1) != 0;
}

// The word for `frequency` × `calibration`, rounded to the nearest Hz, halves away from zero.
std::uint32_t frequencyWord(long long frequency, double calibration, int clockFrequency);

} // namespace ferrow
