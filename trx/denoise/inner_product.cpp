#include "trx/denoise/inner_product.hpp"

#include <cstddef>
#include <immintrin.h>

namespace ferrow::denoise {

namespace {

float sumOf(__m256 v) {
    __m128 half = _mm_add_ps(_mm256_castps256_ps128(v), _mm256_extractf128_ps(v, 1));
    half = _mm_add_ps(half, _mm_movehl_ps(half, half));
    half = _mm_add_ss(half, _mm_movehdup_ps(half));
    return _mm_cvtss_f32(half);
}

__m256 eightWeights(const std::int8_t* weights) {
    const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(weights));
    return _mm256_cvtepi32_ps(_mm256_cvtepi8_epi32(bytes));
}

// Columns `o` to o + 8 Vectors, whose sums stay in registers through all rows.
template <std::size_t Vectors>
void addColumns(const std::int8_t* weights, std::span<const float> in, float scale, std::size_t stride,
                float* out) {
    __m256 sums[Vectors];
    for (auto& sum : sums)
        sum = _mm256_setzero_ps();
    for (std::size_t i = 0; i < in.size(); ++i) {
        const __m256 x = _mm256_set1_ps(in[i]);
        for (std::size_t v = 0; v < Vectors; ++v)
            sums[v] = _mm256_fmadd_ps(x, eightWeights(weights + i * stride + 8 * v), sums[v]);
    }
    for (std::size_t v = 0; v < Vectors; ++v)
        _mm256_storeu_ps(out + 8 * v,
                         _mm256_fmadd_ps(_mm256_set1_ps(scale), sums[v], _mm256_loadu_ps(out + 8 * v)));
}

void addColumnsPlainly(const std::int8_t* weights, std::span<const float> in, float scale,
                       std::span<float> out, std::size_t from) {
    for (std::size_t o = from; o < out.size(); ++o) {
        float sum = 0;
        for (std::size_t i = 0; i < in.size(); ++i)
            sum += in[i] * static_cast<float>(weights[i * out.size() + o]);
        out[o] += scale * sum;
    }
}

} // namespace

float innerProduct(const float* a, const float* b, int n) {
    __m256 sums[4] = {_mm256_setzero_ps(), _mm256_setzero_ps(), _mm256_setzero_ps(), _mm256_setzero_ps()};
    int i = 0;
    for (; i + 32 <= n; i += 32)
        for (int v = 0; v < 4; ++v)
            sums[v] =
                _mm256_fmadd_ps(_mm256_loadu_ps(a + i + 8 * v), _mm256_loadu_ps(b + i + 8 * v), sums[v]);
    for (; i + 8 <= n; i += 8)
        sums[0] = _mm256_fmadd_ps(_mm256_loadu_ps(a + i), _mm256_loadu_ps(b + i), sums[0]);
    float sum = sumOf(_mm256_add_ps(_mm256_add_ps(sums[0], sums[1]), _mm256_add_ps(sums[2], sums[3])));
    for (; i < n; ++i)
        sum += a[i] * b[i];
    return sum;
}

float innerProduct_ref(const float* a, const float* b, int n) {
    double sum = 0;
    for (int i = 0; i < n; ++i)
        sum += static_cast<double>(a[i]) * static_cast<double>(b[i]);
    return static_cast<float>(sum);
}

void addWeighted(std::span<const std::int8_t> weights, std::span<const float> in, float scale,
                 std::span<float> out) {
    const std::size_t stride = out.size();
    std::size_t o = 0;
    for (; o + 48 <= stride; o += 48)
        addColumns<6>(weights.data() + o, in, scale, stride, out.data() + o);
    for (; o + 24 <= stride; o += 24)
        addColumns<3>(weights.data() + o, in, scale, stride, out.data() + o);
    for (; o + 8 <= stride; o += 8)
        addColumns<1>(weights.data() + o, in, scale, stride, out.data() + o);
    addColumnsPlainly(weights.data(), in, scale, out, o);
}

void addWeighted_ref(std::span<const std::int8_t> weights, std::span<const float> in, float scale,
                     std::span<float> out) {
    for (std::size_t o = 0; o < out.size(); ++o) {
        double sum = 0;
        for (std::size_t i = 0; i < in.size(); ++i)
            sum += static_cast<double>(in[i]) * weights[i * out.size() + o];
        out[o] = static_cast<float>(out[o] + scale * sum);
    }
}

} // namespace ferrow::denoise
