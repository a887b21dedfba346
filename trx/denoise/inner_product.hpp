// The kernels of the noise reduction's pitch search and network, each with the plain form that is its oracle.
// Any counts, memory of any alignment.
#pragma once

#include <cstdint>
#include <span>

namespace ferrow::denoise {

// Sum of a[i] b[i] over n.
float innerProduct(const float* a, const float* b, int n);
float innerProduct_ref(const float* a, const float* b, int n);

// out[o] += scale * sum over i of in[i] weights[i * out.size() + o].
void addWeighted(std::span<const std::int8_t> weights, std::span<const float> in, float scale,
                 std::span<float> out);
void addWeighted_ref(std::span<const std::int8_t> weights, std::span<const float> in, float scale,
                     std::span<float> out);

} // namespace ferrow::denoise
