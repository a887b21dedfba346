#include "sim/ft8/slot_station.hpp"

#include "sim/decibel.hpp"
#include "sim/ft8/coding.hpp"
#include "sim/ft8/message.hpp"

#include <algorithm>
#include <cmath>

namespace ferrow::sim {

SlotStation::SlotStation(std::string name, bool ft4, double frequency, double levelDb,
                         const std::vector<std::string>& messages, SlotRule rule, double dt)
    : Station(std::move(name), ft4 ? "ft4" : "ft8", frequency, levelDb), form_(ft4 ? kFt4Form : kFt8Form),
      rule_(rule), dt_(dt) {
    const auto amplitude = static_cast<float>(amplitudeFromDb(levelDb));
    for (const std::string& message : messages) {
        const Payload payload = packMessage(message);
        waves_.push_back(modulateGfsk(form_, ft4 ? ft4Tones(payload) : ft8Tones(payload)));
        for (Cfloat& x : waves_.back())
            x *= amplitude;
    }
}

bool SlotStation::sendsIn(std::int64_t slot) const {
    return rule_ == SlotRule::Every || (slot % 2 == 0) == (rule_ == SlotRule::Even);
}

void SlotStation::render(const SkyTime& time, std::int64_t first, std::span<Cfloat> out) const {
    std::fill(out.begin(), out.end(), Cfloat{});
    const auto count = static_cast<std::int64_t>(out.size());
    const double lead = form_.startSeconds + dt_;
    const double length = static_cast<double>(waves_.front().size()) / time.trueRate;
    const auto slotBefore = [&](double utc) {
        return static_cast<std::int64_t>(std::floor((utc - lead) / form_.slotSeconds));
    };
    const std::int64_t lastSlot = slotBefore(time.utcOf(first + count));
    for (std::int64_t slot = slotBefore(time.utcOf(first) - length); slot <= lastSlot; ++slot) {
        if (!sendsIn(slot))
            continue;
        const auto turn = static_cast<std::size_t>(rule_ == SlotRule::Every ? slot : slot / 2);
        const auto& wave = waves_[turn % waves_.size()];
        const double begin = static_cast<double>(slot) * form_.slotSeconds + lead;
        const std::int64_t start = std::llround((begin - time.utcOfZero) * time.trueRate);
        const std::int64_t from = std::max(first, start);
        const std::int64_t to = std::min(first + count, start + static_cast<std::int64_t>(wave.size()));
        for (std::int64_t i = from; i < to; ++i)
            out[static_cast<std::size_t>(i - first)] += wave[static_cast<std::size_t>(i - start)];
    }
}

} // namespace ferrow::sim
