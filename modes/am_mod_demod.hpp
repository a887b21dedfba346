// Amplitude modulation, received by its envelope.
#pragma once

#include "trx/mod_demod.hpp"

namespace ferrow {

class amModDemod : public modDemod {
public:
    using modDemod::modDemod;

    asyncProperty<double> compression{1.0};

    buff<float> demodulate(buff<std::complex<float>> block) override;

private:
    double dc_ = 0; // the carrier, as a slow tracker sees it
};

} // namespace ferrow
