#include "modes/am_mod_demod.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ferrow {

namespace {

constexpr double kTracking = 0.01; // share of the way to the envelope, a sample
constexpr auto kCarrier = static_cast<float>(0.5 / std::numbers::sqrt2);
constexpr float kDepth = 0.48f;

} // namespace

amModDemod::amModDemod(std::shared_ptr<syncTask> context)
    : fixedBandVoice(
          std::move(context), 150, [](double) { return 1.0; }, "amModDemod.micEQ") {}

buff<float> amModDemod::demodulate(buff<std::complex<float>> block) {
    buff<float> out(block.size());
    if (!std::isfinite(dc_)) // a block held what is no number
        dc_ = 0;
    for (std::size_t i = 0; i < block.size(); ++i) {
        const float envelope = std::hypot(block[i].real(), block[i].imag());
        dc_ += (envelope - dc_) * kTracking;
        out[i] = static_cast<float>(envelope - dc_);
    }
    return out;
}

void amModDemod::modulate(buff<std::complex<float>> in, buff<std::complex<float>> out) {
    const auto& audio = shape(in, compression.value());
    for (std::size_t i = 0; i < std::min(out.size(), audio.size()); ++i)
        out[i] = {audio[i].real() * kDepth + kCarrier, kCarrier};
}

} // namespace ferrow
