// Amplitude modulation: received by its envelope, sent as a half-scale carrier with both sidebands.
#pragma once

#include "modes/fixed_band_voice.hpp"

namespace ferrow {

class amModDemod : public fixedBandVoice {
public:
    explicit amModDemod(std::shared_ptr<syncTask> context);

    asyncProperty<double> compression{1.0};

    buff<float> demodulate(buff<std::complex<float>> block) override;

    // The carrier lies at 45 degrees; the audio, 150 to 3000 Hz whatever the transmit filter, moves its real
    // part only.
    void modulate(buff<std::complex<float>> in, buff<std::complex<float>> out) override;

private:
    double dc_ = 0; // the carrier, as a slow tracker sees it
};

} // namespace ferrow
