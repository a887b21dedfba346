#include "trx/denoise/network.hpp"

#include "trx/denoise/inner_product.hpp"
#include "trx/denoise/weights.hpp"

#include <algorithm>
#include <cmath>
#include <span>

namespace ferrow::denoise {

namespace {

float sigmoid(float x) {
    return 1 / (1 + std::exp(-x));
}

// bias + W in.
void affine(const Layer& layer, std::span<const float> in, std::span<float> out) {
    for (std::size_t o = 0; o < out.size(); ++o)
        out[o] = layer.biasStep * static_cast<float>(layer.bias[o]);
    addWeighted(layer.input, in, layer.inputStep, out);
}

template <std::size_t Neurons>
void runGru(const Layer& layer, std::span<const float> in, std::array<float, Neurons>& state) {
    std::array<float, 3 * Neurons> fromInput, fromState{};
    affine(layer, in, fromInput);
    addWeighted(layer.recurrent, state, layer.recurrentStep, fromState);
    for (std::size_t i = 0; i < Neurons; ++i) {
        const float r = sigmoid(fromInput[i] + fromState[i]);
        const float z = sigmoid(fromInput[Neurons + i] + fromState[Neurons + i]);
        const float n = std::tanh(fromInput[2 * Neurons + i] + r * fromState[2 * Neurons + i]);
        state[i] = z * state[i] + (1 - z) * n;
    }
}

// The given vectors one after the other.
template <std::size_t Size, class... Parts>
std::array<float, Size> joined(const Parts&... parts) {
    std::array<float, Size> all;
    auto* end = all.data();
    ((end = std::copy(parts.begin(), parts.end(), end)), ...);
    return all;
}

} // namespace

float runNetwork(RNNState& state, const Features& features, Bands& gains) {
    std::array<float, kDenseNeurons> dense;
    affine(kInputDense, features, dense);
    for (float& value : dense)
        value = std::tanh(value);
    runGru(kVadGru, dense, state.vad);
    float voice = 0;
    affine(kVadOutput, state.vad, {&voice, 1});
    runGru(kNoiseGru, joined<kDenseNeurons + kVadNeurons + kFeatures>(dense, state.vad, features),
           state.noise);
    runGru(kDenoiseGru, joined<kVadNeurons + kNoiseNeurons + kFeatures>(state.vad, state.noise, features),
           state.denoise);
    affine(kDenoiseOutput, state.denoise, gains);
    for (float& gain : gains)
        gain = sigmoid(gain);
    return sigmoid(voice);
}

} // namespace ferrow::denoise
