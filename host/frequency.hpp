// Frequencies as people write them.
#pragma once

#include <string>
#include <string_view>

namespace ferrow {

// "14.2M", "14200k", "14200000", with or without a trailing "Hz"; whole Hz, 1 kHz up to 4294967295 Hz (the
// width of the radio's frequency word). Throws UsageError.
long long parseFrequency(std::string_view text);

// "14.200000 MHz"; with dots every three digits it is easy to compare: "14.200.000".
std::string showFrequency(long long hertz);

// Shortest form in kHz or MHz for axes: "14.2", "14.0745" (MHz).
std::string showMegahertz(double hertz);

} // namespace ferrow
