#pragma once
#include "sim/sky/station.hpp"

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace ferrow::sim {

/// How a PSK station keys its text.
struct PskLine {
    double baud = 31.25; ///< divides kBaseRate: 31.25, 62.5 or 125
    bool four = false;   ///< four phases, with the convolutional code of QPSK31
    double idle = 3.0;   ///< reversals before the text, seconds
    double gap = 2.0;    ///< silence behind it, seconds
};

/// The Varicode of every byte, first bit first, without the 00 behind it.
extern const std::array<std::string_view, 256> kPskCodes;

/// One transmission around its own frequency at kBaseRate, steady carrier 1: idling, text, idling for 40
/// symbols, silence. The carrier comes and goes by half periods of a cosine, as the phase changes do.
std::vector<Cfloat> pskLoop(std::string_view text, const PskLine& line);

} // namespace ferrow::sim
