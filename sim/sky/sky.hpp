#pragma once
#include "sim/sky/station.hpp"

#include <memory>
#include <vector>

namespace ferrow::sim {

/// Everything that the antenna of every radio of this process hears. Immutable.
struct Sky {
    std::vector<std::shared_ptr<const Station>> stations;
    bool noise = true;
    double noiseFloorDb = -135.0; ///< dB below ADC full scale in 1 Hz, at 0 dB of RF gain
    std::uint64_t seed = 1;
    double adc1GainDb = 0.0; ///< of the second ADC against the first
    double adc1PhaseDegrees = 0.0;
};

} // namespace ferrow::sim
