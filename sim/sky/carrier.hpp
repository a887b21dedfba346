#pragma once
#include "sim/sky/station.hpp"

namespace ferrow::sim {

/// An unmodulated carrier.
class CarrierStation : public Station {
public:
    CarrierStation(std::string name, double frequency, double levelDb);
    void render(const SkyTime& time, std::int64_t first, std::span<Cfloat> out) const override;

private:
    float amplitude_;
};

} // namespace ferrow::sim
