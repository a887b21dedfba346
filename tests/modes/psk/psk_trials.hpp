// Receptions of single signals by one detector.
#pragma once

#include "modes/psk/psk_det.hpp"
#include "tests/modes/psk/psk_signal.hpp"

#include <string>
#include <vector>

namespace ferrow::test {

// Feeds blocks of `block` samples, the last one filled up with zeros; the signal's 1 counts as `level`.
std::string receive(CPSKDet& detector, const std::vector<double>& samples, double level = 3000,
                    std::size_t block = 512);

struct PskTrial {
    double snr = 300;             // dB in 2500 Hz; from 200 up: no noise
    std::size_t characters = 100; // of text
    double hz = 1500;             // of the signal
    int tuned = 1500;             // of the detector, Hz
    int lead = 64;                // symbols of idling before the text
    std::size_t block = 512;      // samples
    int squelch = 50;
    bool fastAfc = false;
};

// Characters wrong, as a share. Text and noise by the seed; the detector has heard a second of noise before.
double tryPsk(const PskForm& form, const PskTrial& trial, std::uint64_t seed);

} // namespace ferrow::test
