// Single sideband: which one is only a matter of the sign of the one-sided filters.
#pragma once

#include "modes/latest_value.hpp"
#include "modes/voice_chain.hpp"
#include "trx/mod_demod.hpp"

#include <mutex>

namespace ferrow {

class ssbModDemod : public modDemod {
public:
    explicit ssbModDemod(std::shared_ptr<syncTask> context);

    asyncProperty<double> compression{1.0};
    // Whether the microphone curve of Wireless shapes the transmission. This and a new curve take effect at
    // the next setTxFilter.
    asyncProperty<bool> UseMicEQ{true};

    buff<float> demodulate(buff<std::complex<float>> block) override { return realPart(block); }

    // Blocks of 512. May run while another thread is in setTxFilter: what that designs is taken whole at the
    // start of a block.
    void modulate(buff<std::complex<float>> in, buff<std::complex<float>> out) override;

    // Hz. The chain keeps 100 Hz away from either edge.
    void setTxFilter(int low, int high) override;

private:
    struct Design {
        VoiceChain::Samples eq, clean;
    };

    void design(float low, float high);

    std::mutex designing_;
    LatestValue<Design> design_;
    VoiceChain chain_;
};

} // namespace ferrow
