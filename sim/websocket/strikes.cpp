#include "sim/websocket/strikes.hpp"

#include "sim/sky/noise.hpp"

#include <algorithm>

namespace ferrow::sim::proxy {

std::vector<std::string> Strike::foreign(const std::string& block) const {
    if (!garbage)
        return {};
    std::string otherKind = block;
    otherKind[0] = 2;
    return {block.substr(0, block.size() - 1), block + '\0', otherKind};
}

Strikes::Strikes(std::vector<FaultSpec> faults, std::uint64_t seed)
    : faults_(std::move(faults)), struck_(faults_.size(), false), seed_(seed) {}

double Strikes::uniform(std::size_t fault, std::int64_t message, std::uint64_t salt) const {
    const std::uint64_t h = hashOf(hashOf(seed_ + salt, fault), static_cast<std::uint64_t>(message));
    return static_cast<double>(h >> 11) * 0x1p-53;
}

bool Strikes::strikes(std::size_t fault, std::int64_t message, double seconds) {
    const FaultSpec& spec = faults_[fault];
    if (seconds < spec.start || seconds >= spec.end)
        return false;
    if (spec.every > 0)
        return (message + 1) % spec.every == 0;
    if (spec.probability > 0.0)
        return uniform(fault, message, 0) < spec.probability;
    if (spec.kind != FaultKind::Stall && spec.kind != FaultKind::Restart)
        return true;
    const bool first = !struck_[fault];
    struck_[fault] = true;
    return first;
}

Strike Strikes::next(std::int64_t message, double seconds, std::int64_t nowNs) {
    Strike strike;
    strike.number = message;
    for (std::size_t f = 0; f < faults_.size(); ++f) {
        if (!strikes(f, message, seconds))
            continue;
        const FaultSpec& spec = faults_[f];
        const auto lengthNs = static_cast<std::int64_t>(spec.milliseconds * 1e6);
        ++counts_[static_cast<std::size_t>(spec.kind)];
        switch (spec.kind) {
        case FaultKind::Loss:
            strike.copies = 0;
            break;
        case FaultKind::Duplicate:
            ++strike.copies;
            break;
        case FaultKind::Jitter:
            strike.dueNs =
                nowNs + static_cast<std::int64_t>(uniform(f, message, 1) * spec.milliseconds * 1e6);
            break;
        case FaultKind::Stall:
            stallUntil_ = std::max(stallUntil_, nowNs + lengthNs);
            stallDrops_ = spec.drop;
            break;
        case FaultKind::Restart:
            strike.restart = true;
            break;
        case FaultKind::Garbage:
            strike.garbage = true;
            break;
        case FaultKind::WrongEndpoint:
            strike.badText = true;
            break;
        case FaultKind::Short:
            strike.bytes = static_cast<std::size_t>(spec.bytes);
            break;
        case FaultKind::Reorder:
            break;
        }
    }
    if (nowNs < stallUntil_) {
        strike.dueNs = std::max(strike.dueNs, stallUntil_);
        if (stallDrops_)
            strike.copies = 0;
    }
    return strike;
}

} // namespace ferrow::sim::proxy
