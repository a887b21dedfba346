#include "sim/sky/carrier.hpp"

#include "sim/decibel.hpp"

#include <algorithm>

namespace ferrow::sim {

CarrierStation::CarrierStation(std::string name, double frequency, double levelDb)
    : Station(std::move(name), "carrier", frequency, levelDb),
      amplitude_(static_cast<float>(amplitudeFromDb(levelDb))) {}

void CarrierStation::render(const SkyTime&, std::int64_t, std::span<Cfloat> out) const {
    std::fill(out.begin(), out.end(), Cfloat{amplitude_, 0.0f});
}

} // namespace ferrow::sim
