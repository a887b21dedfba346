// The beacon's signal: a frame, a pause, and the frame again.
#pragma once

#include "modes/chirp/chirp_frame.hpp"
#include "modes/chirp/chirp_wave.hpp"

#include <complex>
#include <span>
#include <string_view>

namespace ferrow {

// One thread.
class ChirpTransmitter {
public:
    static constexpr double kLevel = 0.95;

    explicit ChirpTransmitter(std::string_view callsign) : frame_(ChirpFrame::of(callsign)) {}

    // Begins anew with the silence before the first frame.
    void restart();

    // The next samples, 48000 a second; `centre` in Hz above the tuned frequency.
    void process(std::span<std::complex<float>> out, double centre);

private:
    ChirpFrame frame_;
    int symbol_ = -ChirpWave::kLead; // of the frame; silence before 0 and from kSymbols on
    int sample_ = 0;
};

} // namespace ferrow
