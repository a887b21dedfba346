// Numbers of a two-tone mode, kept for the host.
#pragma once

#include "trx/mod_demod.hpp"

namespace ferrow {

// It receives silence and sends nothing.
class fskModDemod : public modDemod {
public:
    using modDemod::modDemod;

    asyncProperty<int> baud{0};
    asyncProperty<int> f0{0}, f1{0}; // Hz

    buff<float> demodulate(buff<std::complex<float>> block) override {
        return buff<float>(block.size(), 0.0f);
    }
};

} // namespace ferrow
