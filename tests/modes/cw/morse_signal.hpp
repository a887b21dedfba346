// Morse keying made by the tests' own table.
#pragma once

#include <complex>
#include <cstdint>
#include <string>
#include <vector>

namespace ferrow::test {

struct Keying {
    double wpm = 20;
    double jitter = 0; // each mark and space is longer or shorter by up to this share
    std::uint64_t seed = 1;
    double edge = 0.005; // seconds of a raised-cosine rise or fall
    double lead = 0.5;   // seconds of silence before
    double tail = 1.5;   // and behind
};

// Dots and dashes of a letter, digit or / ? . , = character; empty for others.
std::string dotsAndDashes(char character);

// A carrier of 1 at 0 Hz keyed with `text`, 48000 samples a second.
std::vector<std::complex<float>> morseSignal(const std::string& text, const Keying& keying);

// Bounds of each mark in seconds, as morseSignal keys them.
std::vector<std::pair<double, double>> morseMarks(const std::string& text, const Keying& keying);

// Groups of five random letters and digits.
std::string randomGroups(int groups, std::uint64_t seed);

} // namespace ferrow::test
