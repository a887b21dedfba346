#include "modes/chirp/chirp_transmitter.hpp"

#include <algorithm>
#include <cmath>

namespace ferrow {

void ChirpTransmitter::restart() {
    symbol_ = -ChirpWave::kLead;
    sample_ = 0;
}

void ChirpTransmitter::process(std::span<std::complex<float>> out, double centre) {
    for (auto& sample : out) {
        if (symbol_ < 0 || symbol_ >= ChirpFrame::kSymbols) {
            sample = 0;
        } else {
            const bool rises = frame_.rises[static_cast<std::size_t>(symbol_)];
            const double t = sample_ / ChirpWave::kRate;
            const double sweep = ChirpWave::phase(t);
            const double phase = 2 * std::numbers::pi * std::fmod(centre * t, 1.0) + (rises ? sweep : -sweep);
            const int edge = std::min({sample_, ChirpWave::kSymbol - sample_, ChirpWave::kTaper});
            const double level = kLevel * (0.5 - 0.5 * std::cos(std::numbers::pi * edge / ChirpWave::kTaper));
            sample = {static_cast<float>(level * std::cos(phase)),
                      static_cast<float>(-level * std::sin(phase))};
        }
        if (++sample_ < ChirpWave::kSymbol)
            continue;
        sample_ = 0;
        if (++symbol_ == ChirpFrame::kSymbols + ChirpWave::kPause)
            symbol_ = 0;
    }
}

} // namespace ferrow
