// The recurrent network of the noise reduction: 42 features in, 22 band gains and a voice probability out.
//
// Layers, with their weight tables in weights.hpp; `|` joins vectors:
//     dense   = tanh(features)                  42 -> 24   input_dense
//     vad     = GRU(dense)                      24 -> 24   vad_gru
//     noise   = GRU(dense | vad | features)     90 -> 48   noise_gru
//     denoise = GRU(vad | noise | features)    114 -> 96   denoise_gru
//     gains   = sigmoid(denoise)                96 -> 22   denoise_output
//     voice   = sigmoid(vad)                    24 -> 1    vad_output
//
// A GRU of input x and state h, with its three gates side by side in the tables, in this order:
//     r = sigmoid(Wr x + Ur h + br), z = sigmoid(Wz x + Uz h + bz), n = tanh(Wn x + r (Un h) + bn)
//     h = z h + (1 - z) n
#pragma once

#include "trx/denoise/frame.hpp"

namespace ferrow::denoise {

inline constexpr int kDenseNeurons = 24, kVadNeurons = 24, kNoiseNeurons = 48, kDenoiseNeurons = 96;

struct RNNState {
    std::array<float, kVadNeurons> vad{};
    std::array<float, kNoiseNeurons> noise{};
    std::array<float, kDenoiseNeurons> denoise{};
};

// One frame; returns the voice probability.
float runNetwork(RNNState& state, const Features& features, Bands& gains);

} // namespace ferrow::denoise
