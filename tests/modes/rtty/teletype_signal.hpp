// Teletype made by the tests' own table, and the reading of a sent waveform element by element.
#pragma once

#include <complex>
#include <string>
#include <vector>

namespace ferrow::test {

inline constexpr int kFigs = 27, kLtrs = 31;

// Codes (first element in bit 0) of upper-case text, with shifts where they are needed. `unshiftOnSpace`: the
// far end goes back to letters with a space, so figures behind one are shifted anew. Opens with a letters
// shift.
std::vector<int> teletypeCodes(const std::string& text, bool unshiftOnSpace);

struct Line {
    double mark = 2125, space = 2295; // Hz above the tuned frequency
    double baud = 1 / 0.022;
    double stop = 1.5;
    double lead = 0.3, tail = 0.5; // seconds of mark
};

// Phase-continuous, level 1, 48000 samples a second, e^(-j 2 pi f n / 48000) for f above the tuned frequency.
std::vector<std::complex<float>> teletypeSignal(const std::vector<int>& codes, const Line& line);

struct Tone {
    double hertz;
    std::size_t samples;
};

// Runs of equal frequency, from the turn of each sample against the one before.
std::vector<Tone> tones(const std::vector<std::complex<float>>& signal);

} // namespace ferrow::test
