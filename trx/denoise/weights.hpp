// The network's trained weights: constant tables of signed bytes. tools/denoise writes weights.cpp.
#pragma once

#include <cstdint>
#include <span>

namespace ferrow::denoise {

// A weight is its byte times the layer's step of that table. Tables go input by input: byte i * columns + o
// leads from input i to column o, where a dense layer has a column per neuron, and a GRU three times as many:
// all neurons' r, then z, then n (see network.hpp).
struct Layer {
    std::span<const std::int8_t> input;
    std::span<const std::int8_t> recurrent; // empty for a dense layer
    std::span<const std::int8_t> bias;      // one per column
    float inputStep, recurrentStep, biasStep;
};

extern const Layer kInputDense, kVadGru, kNoiseGru, kDenoiseGru, kDenoiseOutput, kVadOutput;

} // namespace ferrow::denoise
