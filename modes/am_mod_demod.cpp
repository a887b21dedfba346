#include "modes/am_mod_demod.hpp"

#include <cmath>

namespace ferrow {

namespace {

constexpr double kTracking = 0.01; // share of the way to the envelope, a sample

} // namespace

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

} // namespace ferrow
