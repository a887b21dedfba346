#pragma once
#include "sim/ft8/gfsk.hpp"
#include "sim/sky/station.hpp"

#include <string>
#include <vector>

namespace ferrow::sim {

enum class SlotRule { Even, Odd, Every };

/// An FT8 or FT4 station: sends in UTC slots, one message of its list after the other.
class SlotStation : public Station {
public:
    /// `frequency`: that of tone 0, dial plus audio offset. `dt` seconds late against the usual start of 0.5
    /// s.
    SlotStation(std::string name, bool ft4, double frequency, double levelDb,
                const std::vector<std::string>& messages, SlotRule rule, double dt);
    void render(const SkyTime& time, std::int64_t first, std::span<Cfloat> out) const override;

    bool sendsIn(std::int64_t slot) const;

private:
    const GfskForm& form_;
    std::vector<std::vector<Cfloat>> waves_;
    SlotRule rule_;
    double dt_;
};

} // namespace ferrow::sim
