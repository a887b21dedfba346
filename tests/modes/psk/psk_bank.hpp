// A PSK mode with all its text collected, fed with audio.
#pragma once

#include "modes/psk_mod_demod.hpp"

#include <array>
#include <string>
#include <vector>

namespace ferrow::test {

// What each detector, and the mode as a whole, has reported since bindAll.
extern std::array<std::string, PskModDemod::kDetectors> detectorTexts;
extern std::array<int, PskModDemod::kDetectors> detectorResets;
extern std::string primaryText, sentText;

// Binds the events of the mode and its detectors; one mode at a time.
void bindAll(PskModDemod& mode);

// Feeds samples of 8000 a second to demodulate, on this thread, in blocks of 512 at 48000, and pumps. The
// mode takes every sixth sample, so that each of them stands for six.
void feedAudio(PskModDemod& mode, const std::vector<double>& samples, double level = 0.2);

// Simultaneous PSK31 signals in white noise.
struct BankSignal {
    double hz, snr; // in 2500 Hz
    std::string text;
    bool copied = false; // by some hunting detector, with at most one character in ten wrong
};

// `count` of them 100 Hz apart from about 560 Hz on, or from 600 Hz if they stand where the bank starts out,
// with 3 to 20 dB in no order, read by a mode of its own.
std::vector<BankSignal> copyBank(int count, std::uint64_t seed, bool onHundreds = false);

} // namespace ferrow::test
