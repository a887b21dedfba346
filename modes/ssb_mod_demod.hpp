// Single sideband: the filter has selected the sideband, so the real part is the audio.
#pragma once

#include "trx/mod_demod.hpp"

namespace ferrow {

class ssbModDemod : public modDemod {
public:
    using modDemod::modDemod;

    asyncProperty<double> compression{1.0};
    asyncProperty<bool> UseMicEQ{true};

    buff<float> demodulate(buff<std::complex<float>> block) override { return realPart(block); }
};

} // namespace ferrow
