// Frequency modulation: narrow at 48 kHz, both ways, and broadcast reception at 384 kHz.
#pragma once

#include "modes/fixed_band_voice.hpp"
#include "modes/fm_receiver.hpp"
#include "modes/tone_oscillator.hpp"

namespace ferrow {

// The deviation decides: below 12000 Hz the mode is narrow. Transmission is at 48 kHz always.
class fmModDemod : public fixedBandVoice {
public:
    explicit fmModDemod(std::shared_ptr<syncTask> context);

    asyncProperty<double> compression{1.0};
    asyncProperty<double> deviation{75000};     // Hz, of full scale, both ways
    asyncProperty<double> CTCSS{0};             // Hz of the tone that goes with a transmission; 0 for none
    asyncProperty<double> MaxDeviation{100000}; // carried for the host
    asyncProperty<bool> Stereo{false};

    int sampleRate() override;
    buff<float> demodulate(buff<std::complex<float>> block) override;
    void modulate(buff<std::complex<float>> in, buff<std::complex<float>> out) override;

private:
    FmReceiver receiver_;

    // The transmit thread.
    double txPhase_ = 0;
    ToneOscillator toneOsc_;
};

} // namespace ferrow
