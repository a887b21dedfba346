#include "radios/hpsdr/clock_calibration.hpp"

namespace ferrow {

namespace {

constexpr long long kDay = 864000000000; // in units of 100 ns

} // namespace

void ClockCalibration::reset() {
    packetsToSkip = 0;
    sumMeasured = 0;
    sumExpected = 0;
    averageA.clear();
    averageB.clear();
}

std::optional<double> ClockCalibration::step(double measured, double expected, long long time, bool enabled) {
    if (packetsToSkip < kPacketsToSkip) {
        ++packetsToSkip;
        return std::nullopt;
    }
    sumExpected += expected;
    sumMeasured += measured;
    if (sumExpected < 1.0 / 300.0)
        return std::nullopt;
    averageA.feed(sumMeasured / sumExpected);
    sumMeasured = 0;
    sumExpected = 0;
    if (averageA.full())
        averageB.feed(averageA.mean());
    if (!enabled || !averageB.full())
        return std::nullopt;
    const long long milliseconds = time % kDay / 10000;
    const int pair = static_cast<int>(milliseconds / 60000 % 60 / 2);
    if (pair == lastHalfMinute)
        return std::nullopt;
    lastHalfMinute = pair;
    const double factor = averageB.mean();
    if (0.99999 < factor && factor < 1.00001)
        return factor;
    return std::nullopt;
}

} // namespace ferrow
