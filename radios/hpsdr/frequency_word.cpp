#include "radios/hpsdr/frequency_word.hpp"

#include <cmath>

namespace ferrow {

long long nyquistZone(long long frequency, int clockFrequency) {
    const long long half = clockFrequency / 2;
    return half < 1 ? 0 : frequency / half;
}

std::uint32_t frequencyWord(long long frequency, double calibration, int clockFrequency) {
    const long long hertz = std::llround(static_cast<double>(frequency) * calibration);
    const long long half = clockFrequency / 2;
    if (half < 1)
        return static_cast<std::uint32_t>(hertz);
    const long long within = hertz % half;
    return static_cast<std::uint32_t>((hertz / half & 1) != 0 ? half - within : within);
}

} // namespace ferrow
