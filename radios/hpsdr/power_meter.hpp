// Analogue readings of the board to degrees, milliamperes and watts.
#pragma once

#include <span>

namespace ferrow {

// Smoothed readings, ADC counts.
struct AnalogInputs {
    double ain1 = 0, ain2 = 0, ain3 = 0, ain4 = 0, ain5 = 0, ain6 = 0;
};

struct CalibrationPoint {
    double inp = 0;  // reading, counts
    double outp = 0; // power, W
};

// Piecewise linear; the end segments go on beyond the table, which is expected in ascending order of `inp`.
// Fewer than two points give 0. Two equal `inp` on the chosen segment divide by zero.
double lookup(std::span<const CalibrationPoint> table, double x);

// Points of the board's own bridge, for an empty table.
std::span<const CalibrationPoint> defaultPowerTable();

double boardTemperature(const AnalogInputs& ain); // °C
double boardCurrent(const AnalogInputs& ain);     // mA

struct PowerReading {
    float forward = 0;
    float reverse = 0;
    float swr = 0;
};
// The larger of ain1 and ain2 counts as forward: boards differ in the sense of their bridge.
PowerReading readPower(const AnalogInputs& ain, std::span<const CalibrationPoint> table);

} // namespace ferrow
