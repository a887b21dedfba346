#include "trx/dsp/look_ahead_buffer.hpp"

#include <algorithm>
#include <cmath>

namespace ferrow {
namespace {

constexpr double kLookAheadSamples = 4.8; // 0.1 ms at 48 kHz

int evenLength() {
    const int length = std::max(3, static_cast<int>(std::ceil(kLookAheadSamples)));
    return length + length % 2;
}

} // namespace

lookAheadBuffer::lookAheadBuffer()
    : length(evenLength()), data(static_cast<size_t>(length) + kBlock, std::complex<float>(0)),
      newest(data.slice(static_cast<size_t>(length), kBlock)), all(data) {}

void lookAheadBuffer::push(const buff<std::complex<float>>& block) {
    data.copyTo(kBlock, static_cast<size_t>(length), data, 0);
    block.copyTo(0, std::min(block.size(), kBlock), newest, 0);
}

void lookAheadBuffer::limit(float scale, const buff<std::complex<float>>& out) const {
    const auto window = static_cast<size_t>(length);
    for (size_t i = 0; i < std::min(out.size(), kBlock); ++i) {
        float largest = 0;
        for (size_t k = i; k < i + window; ++k)
            largest = std::max(largest, std::norm(data[k]));
        const float peak = std::sqrt(largest);
        const float divisor = peak <= 1 ? 1 : 2 * (peak - 1) + 1;
        out[i] = scale * data[i + window / 2] / divisor;
    }
}

} // namespace ferrow
