#include "host/s_meter.hpp"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

namespace ferrow {
namespace {

constexpr double kUnit = 6;
constexpr double kBottom = -48, kTop = 40; // dB from S9

} // namespace

std::string sUnits(double decibel, double s9) {
    const double over = decibel - s9;
    if (std::lround(over / 10) >= 1)
        return fmt::format("S9+{}", 10 * std::lround(over / 10));
    return fmt::format("S{}", std::clamp(std::lround(9 + over / kUnit), 0L, 9L));
}

std::string meterBar(double decibel, double s9, int width) {
    const double part = std::clamp((decibel - s9 - kBottom) / (kTop - kBottom), 0.0, 1.0);
    const auto filled = static_cast<int>(std::lround(part * width));
    std::string bar;
    for (int i = 0; i < width; ++i)
        bar += i < filled ? "#" : ".";
    return bar;
}

} // namespace ferrow
