// PSK signals made from the published descriptions in double precision, sharing nothing with the library:
// Varicode from the table of the test data, QPSK code from its generator polynomials, symbols joined by
// half-period cosines.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace ferrow::test {

struct PskForm {
    const char* name;
    int modeWord;
    double baud;
    bool qpsk;
};

extern const PskForm kPsk31, kPsk63, kPsk125, kQpsk31, kQpsk63, kQpsk125;
extern const std::vector<PskForm> kPskForms;

// Data bits of a text: each character's code and 00, with `lead` zeros before and `tail` zeros behind.
std::vector<int> pskBits(std::string_view text, int lead, int tail);

// Phase of each symbol in quarter turns, 0 to 3, the first for reference. `inverted`: the sideband's other
// way round.
std::vector<int> pskPhases(const std::vector<int>& bits, bool qpsk, bool inverted = false);

// The real signal of `phases` at `hz`, amplitude 1 where the phase rests.
std::vector<double> pskSignal(const std::vector<int>& phases, double baud, double hz, double rate);

// Text with `lead` symbols of idling before and 40 behind (the QPSK decoder lags 20 symbols).
std::vector<double> pskSignal(std::string_view text, const PskForm& form, double hz, double rate = 8000,
                              int lead = 32);

double meanPower(const std::vector<double>& x);

// Adds white noise so that the signal of power `power` has `snr` dB in 2500 Hz.
void addNoise(std::vector<double>& x, double power, double snr, double rate, std::mt19937_64& random);

// Characters of a keyboard contact, seeded; ends on a letter.
std::string pskText(std::size_t length, std::uint64_t seed);

} // namespace ferrow::test
