// Changes the rate by up / down to 48000 samples a second: a polyphase filter of 47 taps a phase that passes
// 14 kHz. The prototype's gain of 1 is spread over `up` phases, so that the output is 1 / up of the input.
// One thread at a time.
//
//     write n samples to feed(n); take produce(out) samples of out
#pragma once

#include "core/buff/buff.hpp"

#include <complex>
#include <cstddef>
#include <span>

namespace ferrow {

class rationalResampler {
public:
    // 1:1 in effect: no taps, `produce` gives nothing.
    rationalResampler();

    // The input rate is 48000 * down / up. Allocates.
    rationalResampler(int upFactor, int downFactor);
    rationalResampler(const rationalResampler&) = delete;
    rationalResampler& operator=(const rationalResampler&) = delete;
    rationalResampler(rationalResampler&&) = default;
    rationalResampler& operator=(rationalResampler&&) = default;

    // Room for the next n samples, at most 8032. All that `produce` can make of earlier ones must have been
    // taken.
    buff<std::complex<float>> feed(size_t n);

    // Writes samples until `out` is full or the input is used up, and returns their number.
    size_t produce(std::span<std::complex<float>> out);

    int upFactor() const { return up; }
    int downFactor() const { return down; }

private:
    buff<std::complex<float>> taps; // by phase, each real tap stored twice
    buff<std::complex<float>> ring;
    int up = 0;
    int down = 0;
    int phaseIndex = 0;
    int tapsPerPhase = 47;
    int keep = 160;
    int filled = 160;
    int base = -113;
};

// Sum of n complex samples times real taps that stand twice each.
std::complex<float> dotTwiceStored(const std::complex<float>* x, const std::complex<float>* taps, size_t n);
std::complex<float> dotTwiceStored_ref(const std::complex<float>* x, const std::complex<float>* taps,
                                       size_t n);

} // namespace ferrow
