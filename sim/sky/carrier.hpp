#pragma once
#include "sim/sky/station.hpp"

namespace ferrow::sim {

/// When a carrier is on: from each multiple of `every` seconds of UTC on for `length` seconds. Its edges are
/// raised cosines of kPulseEdge, at half amplitude on the second. `every` of 0: always.
struct Pulse {
    double every = 0.0;
    double length = 0.1;
};

inline constexpr double kPulseEdge = 0.001; ///< seconds

/// An unmodulated carrier, steady or in pulses: these are markers by which delays are measured.
class CarrierStation : public Station {
public:
    CarrierStation(std::string name, double frequency, double levelDb, Pulse pulse = {});
    void render(const SkyTime& time, std::int64_t first, std::span<Cfloat> out) const override;

private:
    float amplitude_;
    Pulse pulse_;
};

} // namespace ferrow::sim
