#pragma once
#include "sim/sky/station.hpp"

#include <string>
#include <vector>

namespace ferrow::sim {

/// How a teletype station keys its carrier.
struct TeletypeLine {
    double baud = 1.0 / 0.022; ///< 45.45, elements of 22 ms
    double shift = 170.0;      ///< Hz
    double stop = 1.5;         ///< stop elements
    bool reverse = false;      ///< space above mark
    double gap = 2.0;          ///< silence before the text comes again, seconds
};

/// Five-unit code of a text, with shifts where they are needed and again behind each space; unknown
/// characters are skipped. A code's first element is bit 0. Four letters shifts go before.
std::vector<int> teletypeCodes(const std::string& text);

/// Frequency-shift keying of level 1 and continuous phase around the mark at 0 Hz; space lies a shift below
/// it, or above if reversed. A quarter of a second of mark on either side of the text.
std::vector<Cfloat> teletypeLoop(const std::string& text, const TeletypeLine& line);

} // namespace ferrow::sim
