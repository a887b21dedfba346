// Noise reduction of voice by a recurrent network: one block of 512 samples at 48000 a second in, the block
// before it out, with less noise. The network turns features of the spectrum and of the pitch into gains of
// 22 bands; a comb filter at the pitch clears the gaps between harmonics. The method is that of J.-M. Valin,
// "A Hybrid DSP/Deep Learning Approach to Real-Time Full-Band Speech Enhancement", 2018.
//
// Plain class, one thread at a time. The first frame of a process makes the tables, the first one of a state
// its transform buffers, and that of a thread its transform plans of 1024 points, if it has none; after that
// a frame allocates nothing.
#pragma once

#include "core/buff/buff.hpp"
#include "trx/denoise/frame.hpp"
#include "trx/denoise/network.hpp"

namespace ferrow {

// All zeroes at first. `pitch_enh_buf` serves the pitch search as scratch.
struct DenoiseState {
    std::array<float, denoise::FRAME_SIZE> analysis_mem{};
    std::array<denoise::Bands, denoise::kCepstra> cepstral_mem{};
    int memid = 0; // the row of cepstral_mem that is written next
    std::array<float, denoise::FRAME_SIZE> synthesis_mem{};
    std::array<float, denoise::PITCH_BUF_SIZE> pitch_buf{};
    std::array<float, denoise::PITCH_BUF_SIZE> pitch_enh_buf{};
    float last_gain = 0;
    int last_period = 0;
    std::array<float, 2> mem_hp_x{};
    denoise::Bands lastg{};
    denoise::RNNState rnn;

    long framesThroughNetwork = 0;
    // Scratch of 1024. Two, since a transform in place has a plan of its own, which works with memory of the
    // heap.
    buff<std::complex<float>> wave, spectrum;
};

// Samples are scaled to the range of 16-bit integers. `out` may be `in`. `mix` is the percentage of the gains
// that is applied: 100 the network's own, 0 none; it is limited to that range, and what is no number counts
// as 100. Samples are limited to a thousand times full scale; what is no number counts as 0. Returns the
// probability that the frame holds voice, 0 for silence.
float rnnoise_process_frame(DenoiseState* st, float* out, const float* in, float mix);

namespace denoise {

// What one frame's analysis gives. For tests and the training, too.
struct Analysis {
    Spectrum x, p;  // the frame's and the pitch-delayed frame's
    Bands ex, ep;   // their energies
    Bands likeness; // correlation of the two, 0 to 1 for a voiced band
    Features features;
    bool silent = false; // features are zero
};

// The first half of rnnoise_process_frame: the high-pass and all that the network is given.
void analyse(DenoiseState& state, const float* in, Analysis& analysis);

// The second half: the network's gains, of which a silent frame needs none, to the sound of the frame before.
void applyGains(DenoiseState& state, Analysis& analysis, Bands gains, float mix, float* out);

} // namespace denoise

} // namespace ferrow
