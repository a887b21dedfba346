// One half-band stage of the decimator: half the rate, on samples that stand split into an even and an odd
// phase. The even phase runs through the symmetric taps, the odd phase is the centre of 0.5.
#pragma once

#include "core/buff/buff.hpp"
#include "trx/dsp/mixing.hpp"

#include <complex>
#include <cstddef>
#include <span>

namespace ferrow {

enum class HalfBandKind { Short, Medium, Long }; // 11, 19 and 39 taps

// Pairs of taps from the centre outward.
std::span<const float> halfBandTaps(HalfBandKind kind);

// Keeps the last samples between calls, so that blocks of any sizes give one continuous output: bit for bit
// the same, however they are cut.
class HalfBandStage {
public:
    // At most `most` input pairs at a time. Allocates.
    HalfBandStage(HalfBandKind kind, size_t most);
    HalfBandStage(const HalfBandStage&) = delete;
    HalfBandStage& operator=(const HalfBandStage&) = delete;
    HalfBandStage(HalfBandStage&&) = default;
    HalfBandStage& operator=(HalfBandStage&&) = default;

    // Where the caller writes the next pairs.
    SplitOutput input() const;

    // Takes `pairs` input pairs to as many output samples, either split for the next stage (an even number of
    // them) or with real and imaginary parts in one row each.
    void run(size_t pairs, SplitOutput next);
    void run(size_t pairs, float* re, float* im);

private:
    template <class Sink>
    void filter(size_t pairs, const Sink& sink);
    void keep(size_t pairs);

    HalfBandKind kind;
    size_t history; // samples kept per phase
    size_t lead;    // history rounded up to whole vectors
    buff<float> memory;
    SplitOutput rows;
};

// The plain form on one row: out[k] from even[k] onward, 2 * taps.size() of them, and the centre odd[k +
// taps.size() - 1].
void halfBand_ref(std::span<const float> taps, const float* even, const float* odd, float* out, size_t n);

} // namespace ferrow
