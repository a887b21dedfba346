// The transmit chain that the voice modes share, as plain signal processing:
//
//     equaliser -> x 2 compression -> clipper at 1 -> clean-up filter -> look-ahead limiter
//
// The input is the microphone as (0.707 x, 0.707 x). A one-sided equaliser keeps half of a real sample's
// amplitude, and the factor 2 gives it back: with a compression of 1 a full-scale tone just reaches the
// clipper.
#pragma once

#include "core/buff/buff.hpp"
#include "trx/dsp/look_ahead_buffer.hpp"
#include "trx/dsp/overlap_filter.hpp"

#include <complex>
#include <cstddef>

namespace ferrow {

// One thread at a time. 48000 samples a second.
class VoiceChain {
public:
    using Samples = buff<std::complex<float>>;

    static constexpr std::size_t kBlock = overlapFilter::hop;
    static constexpr std::size_t kEqTaps = 2048;
    static constexpr std::size_t kCleanTaps = 1536;
    static constexpr double kRate = 48000;
    // Bound of the compression and of the gains of a microphone curve; what is no number counts as 0.
    static constexpr double kMaxGain = 1e6;

    // `scale`: of the limiter's output.
    explicit VoiceChain(float scale) : scale_(scale) {}

    // From the next block on, without a gap. Allocate.
    void loadEq(const Samples& taps) { eqFilter_.load(taps); }
    void loadClean(const Samples& taps) { cleanFilter_.load(taps); }

    // 512 samples in and out; `out` may be any memory but `in`. Other sizes give silence.
    void process(const Samples& in, double compression, const Samples& out);

    // The largest |z|^2 that went into the clipper so far.
    double peak() const noexcept { return peak_; }

private:
    overlapFilter eqFilter_, cleanFilter_;
    lookAheadBuffer limiter_;
    float scale_;
    double peak_ = 0;
};

} // namespace ferrow
