// Signal strength for the eye.
#pragma once

#include <string>

namespace ferrow {

// S units of 6 dB below S9, and dB above it: "S7", "S9+20"; `s9` is the library's level that counts as S9.
std::string sUnits(double decibel, double s9);

// A bar of `width` characters, from S1 to 40 dB over S9.
std::string meterBar(double decibel, double s9, int width);

} // namespace ferrow
