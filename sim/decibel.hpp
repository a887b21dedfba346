#pragma once
#include <cmath>

namespace ferrow::sim {

inline double amplitudeFromDb(double db) {
    return std::pow(10.0, db / 20.0);
}
inline double powerFromDb(double db) {
    return std::pow(10.0, db / 10.0);
}
inline double dbFromPower(double power) {
    return 10.0 * std::log10(power);
}

} // namespace ferrow::sim
