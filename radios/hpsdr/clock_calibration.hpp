// The radio's clock against the host's: from the times at which packets come to a factor for every frequency.
#pragma once

#include "radios/hpsdr/moving_average.hpp"

#include <cstddef>
#include <optional>

namespace ferrow {

class ClockCalibration {
public:
    static constexpr int kPacketsToSkip = 3000;
    static constexpr std::size_t kAverageLength = 180000;

    explicit ClockCalibration(std::size_t averageLength = kAverageLength)
        : averageA(averageLength), averageB(averageLength) {}

    // The stream has changed: everything starts anew.
    void reset();

    // A stream starts: its first 3000 packets are passed over, and the time of the pause before it with them.
    void skipPackets() { packetsToSkip = 0; }

    // One packet that came in sequence: `measured` is the time since the one before, `expected` what its
    // samples last, both in seconds; `time` is its wall clock in units of 100 ns since 1970. A new factor
    // comes out only when `enabled`, both averages are full, a new pair of minutes has begun and the factor
    // lies within 1e-5 of 1.
    std::optional<double> step(double measured, double expected, long long time, bool enabled);

private:
    MovingAverage averageA;
    MovingAverage averageB;
    int packetsToSkip = 0;
    double sumMeasured = 0;
    double sumExpected = 0;
    int lastHalfMinute = 0;
};

} // namespace ferrow
