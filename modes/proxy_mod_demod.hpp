// A mode that the host works out itself, in line.
#pragma once

#include "modes/direct_call.hpp"
#include "trx/mod_demod.hpp"

namespace ferrow {

class proxyModDemod : public modDemod {
public:
    using modDemod::modDemod;

    DirectCall<buff<std::complex<float>>> rxChunk; // the received block itself, on the transceiver's context
    DirectCall<buff<std::complex<float>>, buff<std::complex<float>>> getTxChunk; // to fill, microphone

    buff<float> demodulate(buff<std::complex<float>> block) override;
    void modulate(buff<std::complex<float>> in, buff<std::complex<float>> out) override;
};

} // namespace ferrow
