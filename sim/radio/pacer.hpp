#pragma once
#include "sim/sky/station.hpp"

#include <cstdint>

namespace ferrow::sim {

/// The radio's sample clock as packet times. Packet k is due when its last sample has been taken:
/// start + (k + 1) * samples / rate.
class Pacer {
public:
    /// `startNs`: time of sample 0 on the monotonic clock. `trueRate`: samples a second, clock error
    /// included.
    void begin(std::int64_t startNs, double trueRate, int samplesPerPacket) {
        start_ = startNs;
        nsPerPacket_ = 1e9 * samplesPerPacket / trueRate;
    }
    std::int64_t dueNs(std::int64_t packet) const {
        return start_ + static_cast<std::int64_t>(static_cast<double>(packet + 1) * nsPerPacket_);
    }
    /// Seconds of the stream at which packet `packet` begins.
    double seconds(std::int64_t packet) const { return static_cast<double>(packet) * nsPerPacket_ * 1e-9; }

private:
    std::int64_t start_ = 0;
    double nsPerPacket_ = 1e9;
};

/// Monotonic clock in nanoseconds.
std::int64_t monotonicNs();
/// UTC in seconds since 1970, moved by `setUtcOffset`.
double utcSeconds();
void setUtcOffset(double seconds);
/// Where a stream that begins now stands in the sky: its time and the block to begin with. Blocks count from
/// the process's first stream, so that stations go on through stops and starts. `factor`: of the radio's
/// clock.
struct SkyPlace {
    SkyTime time;
    std::int64_t block = 0;
};
SkyPlace skyAt(std::int64_t nowNs, double factor);

/// Gives the calling thread what a radio's clock needs: short timer slack and, where the limits allow it, the
/// lowest real-time priority.
void becomeStreamThread();

/// Sleeps until that moment of the monotonic clock.
void sleepUntil(std::int64_t monotonicNs);

} // namespace ferrow::sim
