#include "modes/ssb_mod_demod.hpp"

#include "core/audio/wireless.hpp"
#include "modes/bounded_number.hpp"
#include "trx/dsp/bandpass_design.hpp"
#include "trx/dsp/weighted_bandpass.hpp"

namespace ferrow {

namespace {

constexpr float kScale = 0.94f;
constexpr float kMargin = 100; // Hz

VoiceChain::Samples curvedBandpass(float low, float high) {
    constexpr std::size_t n = VoiceChain::kEqTaps;
    const buff<float> curve = microphoneEq();
    return weightedBandpass(low, high, VoiceChain::kRate, n, [&](std::size_t bin, double frequency) {
        if (frequency < low || frequency >= high)
            return 1.0;
        const std::size_t point = frequency < 0 || bin == 0 ? bin : n - 1 - bin;
        return boundedNumber(curve[point], VoiceChain::kMaxGain);
    });
}

} // namespace

ssbModDemod::ssbModDemod(std::shared_ptr<syncTask> context) : modDemod(std::move(context)), chain_(kScale) {
    // Reversed: both filters turn the sign, and the curve finds no bin in the band.
    design(3100, 50);
}

void ssbModDemod::setTxFilter(int low, int high) {
    design(static_cast<float>(low) + kMargin, static_cast<float>(high) - kMargin);
}

void ssbModDemod::design(float low, float high) {
    const std::lock_guard lock(designing_);
    Design& next = design_.draft();
    next.clean = designBandpass(low, high, VoiceChain::kRate, VoiceChain::kCleanTaps, VoiceChain::kCleanTaps);
    next.eq = UseMicEQ.value()
                  ? curvedBandpass(low, high)
                  : designBandpass(low, high, VoiceChain::kRate, VoiceChain::kEqTaps, VoiceChain::kEqTaps);
    design_.publish();
}

void ssbModDemod::modulate(buff<std::complex<float>> in, buff<std::complex<float>> out) {
    if (design_.take()) {
        chain_.loadClean(design_.current().clean);
        chain_.loadEq(design_.current().eq);
    }
    chain_.process(in, compression.value(), out);
}

} // namespace ferrow
