// Teletype characters as two tones: 2170 Hz for mark and 2000 Hz for space, above the tuned frequency.
#pragma once

#include <complex>
#include <cstdint>
#include <span>

namespace ferrow {

// One thread. A character is a start element, five bits and a stop element of one and a half; a shift goes
// before it where the half of the code changes.
class RttyTransmitter {
public:
    static constexpr int kIdle = -1;

    // `next()` gives the bytes to send; kIdle or 0 sends the letters shift.
    template <class Next>
    void process(std::span<std::complex<float>> out, Next&& next) {
        for (auto& sample : out) {
            if (--elementCount_ <= 0 && !nextElement())
                beginCharacter(next());
            phasor_ *= mark_ ? kMarkStep : kSpaceStep;
            sample = {static_cast<float>(kLevel * phasor_.real()),
                      static_cast<float>(kLevel * phasor_.imag())};
        }
        phasor_ /= std::abs(phasor_);
    }

private:
    static constexpr double kLevel = 0.95;
    static const std::complex<double> kMarkStep, kSpaceStep;

    // False when the character is over.
    bool nextElement();
    void beginCharacter(int byte);

    int elementCount_ = 0; // samples left of this element
    int bitsLeft_ = 0;
    std::uint32_t shiftRegister_ = 0;
    bool figures_ = false;
    bool mark_ = false;
    std::complex<double> phasor_{1, 0};
};

} // namespace ferrow
