#pragma once
#include "sim/radio/faults.hpp"

#include <array>
#include <string>
#include <vector>

namespace ferrow::sim::proxy {

/// What faults do to one round of messages.
struct Strike {
    int copies = 1;                        ///< 0: lost
    std::size_t bytes = std::string::npos; ///< that are left of each
    std::int64_t dueNs = 0;                ///< not sent before
    bool garbage = false, badText = false, restart = false;
    std::int64_t number = 0; ///< of the round

    /// The messages that go before a block where garbage is ordered: of 8208 and 8210 bytes, and of another
    /// kind.
    std::vector<std::string> foreign(const std::string& block) const;
};

/// Orders faults on messages in place of packets. Decisions depend on seed, place of the fault and message
/// alone. One thread.
class Strikes {
public:
    Strikes(std::vector<FaultSpec> faults, std::uint64_t seed);

    Strike next(std::int64_t message, double seconds, std::int64_t nowNs);
    const FaultCounts& counts() const { return counts_; }

private:
    bool strikes(std::size_t fault, std::int64_t message, double seconds);
    double uniform(std::size_t fault, std::int64_t message, std::uint64_t salt) const;

    std::vector<FaultSpec> faults_;
    std::vector<bool> struck_; // those that strike once
    std::uint64_t seed_;
    std::int64_t stallUntil_ = 0;
    bool stallDrops_ = false;
    FaultCounts counts_{};
};

} // namespace ferrow::sim::proxy
