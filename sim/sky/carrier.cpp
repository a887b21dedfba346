#include "sim/sky/carrier.hpp"

#include "sim/decibel.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ferrow::sim {

namespace {

// Share of the amplitude `t` seconds after an edge upward.
double edge(double t) {
    return 0.5 + 0.5 * std::sin(std::numbers::pi * std::clamp(t / kPulseEdge, -0.5, 0.5));
}

} // namespace

CarrierStation::CarrierStation(std::string name, double frequency, double levelDb, Pulse pulse)
    : Station(std::move(name), "carrier", frequency, levelDb),
      amplitude_(static_cast<float>(amplitudeFromDb(levelDb))), pulse_(pulse) {}

void CarrierStation::render(const SkyTime& time, std::int64_t first, std::span<Cfloat> out) const {
    if (pulse_.every <= 0) {
        std::fill(out.begin(), out.end(), Cfloat{amplitude_, 0.0f});
        return;
    }
    for (std::size_t i = 0; i < out.size(); ++i) {
        const double utc = time.utcOf(first + static_cast<std::int64_t>(i));
        // From half a pause before the edge to half a pause before the next.
        const double early = 0.5 * (pulse_.every - pulse_.length);
        const double t = utc + early - pulse_.every * std::floor((utc + early) / pulse_.every) - early;
        const double share = edge(t) - edge(t - pulse_.length);
        out[i] = {static_cast<float>(amplitude_ * share), 0.0f};
    }
}

} // namespace ferrow::sim
