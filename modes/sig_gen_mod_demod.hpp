// A test generator: a carrier and a tone beside it.
#pragma once

#include "trx/mod_demod.hpp"

namespace ferrow {

class sigGenModDemod : public modDemod {
public:
    using modDemod::modDemod;

    // Levels are held within 1000 to either side.
    asyncProperty<double> ampl1{1.0};   // of the carrier
    asyncProperty<double> ampl2{0};     // of the tone
    asyncProperty<double> freq2{200.0}; // Hz above the carrier

    buff<float> demodulate(buff<std::complex<float>> block) override { return realPart(block); }
    void modulate(buff<std::complex<float>> in, buff<std::complex<float>> out) override;

private:
    double phase_ = 0;
};

} // namespace ferrow
