#include "radios/hpsdr/power_meter.hpp"

#include <algorithm>
#include <array>
#include <cmath>

namespace ferrow {

double lookup(std::span<const CalibrationPoint> table, double x) {
    const std::size_t n = table.size();
    if (n < 2)
        return 0.0;
    std::size_t i = 0;
    while (i < n - 2 && x > table[i + 1].inp)
        ++i;
    const double slope = (table[i + 1].outp - table[i].outp) / (table[i + 1].inp - table[i].inp);
    const double offset = table[i].outp - slope * table[i].inp;
    return slope * x + offset;
}

std::span<const CalibrationPoint> defaultPowerTable() {
    // Single-precision constants, widened.
    static constexpr std::array<CalibrationPoint, 15> kTable{{
        {0.0F, 0.0F},
        {25.865385F, 0.00255025F},
        {101.02454F, 0.012752045F},
        {265.29013F, 0.05060093F},
        {647.91559F, 0.21645831F},
        {1196.5935F, 0.66548049F},
        {1603.7032F, 1.155723F},
        {2012.3271F, 1.8118922F},
        {2616.7727F, 3.008585F},
        {3173.8181F, 4.3927426F},
        {3382.7922F, 4.9791327F},
        {3721.0715F, 6.0247507F},
        {4093.1785F, 7.2899485F},
        {4502.4966F, 8.820838F},
        {4952.746F, 10.673214F},
    }};
    return kTable;
}

double boardTemperature(const AnalogInputs& ain) {
    return (3.26 * ain.ain5 / 4096 - 0.5) / 0.01;
}

double boardCurrent(const AnalogInputs& ain) {
    return (3.26 * ain.ain3 / 4096) / 50.0 / 0.04 * 1000.0 * 1270.0 / 1000.0;
}

PowerReading readPower(const AnalogInputs& ain, std::span<const CalibrationPoint> table) {
    PowerReading reading;
    reading.forward = static_cast<float>(lookup(table, std::max(ain.ain1, ain.ain2)));
    reading.reverse = static_cast<float>(lookup(table, std::min(ain.ain1, ain.ain2)));
    const double r = std::sqrt(reading.reverse / std::max(static_cast<double>(reading.forward), 1e-38));
    reading.swr = static_cast<float>((1 + r) / std::max(1 - r, 1e-38));
    return reading;
}

} // namespace ferrow
