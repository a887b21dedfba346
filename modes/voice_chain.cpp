#include "modes/voice_chain.hpp"

#include "modes/bounded_number.hpp"

#include <algorithm>
#include <cmath>

namespace ferrow {

void VoiceChain::process(const Samples& in, double compression, const Samples& out) {
    if (in.size() != kBlock || out.size() != kBlock) {
        std::fill(out.begin(), out.end(), std::complex<float>());
        return;
    }
    in.copy(eqFilter_.input);
    eqFilter_.run();
    const auto gain = static_cast<float>(2 * boundedNumber(compression, kMaxGain));
    float largest = 0;
    for (std::size_t i = 0; i < kBlock; ++i) {
        std::complex<float> z = eqFilter_.output[i] * gain;
        const float power = std::norm(z);
        if (!std::isfinite(power)) // nothing of it may stay in the filter behind
            z = 0;
        else if (power > 1)
            z /= std::sqrt(power);
        largest = std::max(largest, power);
        cleanFilter_.input[i] = z;
    }
    peak_ = std::max(peak_, static_cast<double>(largest));
    cleanFilter_.run();
    limiter_.push(cleanFilter_.output);
    limiter_.limit(scale_, out);
}

} // namespace ferrow
