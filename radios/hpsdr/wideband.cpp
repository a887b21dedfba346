#include "radios/hpsdr/wideband.hpp"

#include <algorithm>
#include <cstdlib>

namespace ferrow {

double widebandScale(double rxScale, int maxAdcValue) {
    const double scale = rxScale * 0.0004886962890625;
    return maxAdcValue == 32768 ? scale * 0.0625 : scale;
}

int decodeWideband(const std::uint8_t* data, double scale, float* out) {
    int peak = 0;
    for (std::size_t i = 0; i < kWidebandQuarter; ++i, data += 2) {
        const int sample = static_cast<std::int16_t>(data[0] | data[1] << 8);
        peak = std::max(peak, std::abs(sample));
        out[i] = static_cast<float>(sample * scale);
    }
    return peak;
}

} // namespace ferrow
