#include "trx/dsp/window.hpp"

#include <cmath>
#include <immintrin.h>
#include <numbers>

namespace ferrow {

using cf = std::complex<float>;

double sevenTermWindow(size_t i, size_t n) {
    const double x = 2 * std::numbers::pi * (static_cast<double>(i) + 0.5) / static_cast<double>(n);
    return 0.27105140069342 - 0.43329793923448 * std::cos(x) + 0.21812299954311 * std::cos(2 * x) -
           0.06592544638803 * std::cos(3 * x) + 0.01081174209837 * std::cos(4 * x) -
           0.00077658482522 * std::cos(5 * x) + 0.00001388721735 * std::cos(6 * x);
}

buff<float> sevenTermWindow(size_t n) {
    buff<float> window(n);
    for (size_t i = 0; i < n; ++i)
        window[i] = static_cast<float>(sevenTermWindow(i, n));
    return window;
}

void multiplyByWindow_ref(const cf* in, const float* window, cf* out, size_t n) {
    for (size_t i = 0; i < n; ++i)
        out[i] = {in[i].real() * window[i], in[i].imag() * window[i]};
}

void multiplyByWindow(const cf* in, const float* window, cf* out, size_t n) {
    const auto* from = reinterpret_cast<const float*>(in);
    auto* to = reinterpret_cast<float*>(out);
    const __m256i lower = _mm256_setr_epi32(0, 0, 1, 1, 2, 2, 3, 3);
    const __m256i upper = _mm256_setr_epi32(4, 4, 5, 5, 6, 6, 7, 7);
    size_t i = 0;
    for (; i + 8 <= n; i += 8) {
        const __m256 w = _mm256_loadu_ps(window + i);
        const __m256 a = _mm256_mul_ps(_mm256_loadu_ps(from + 2 * i), _mm256_permutevar8x32_ps(w, lower));
        const __m256 b = _mm256_mul_ps(_mm256_loadu_ps(from + 2 * i + 8), _mm256_permutevar8x32_ps(w, upper));
        _mm256_storeu_ps(to + 2 * i, a);
        _mm256_storeu_ps(to + 2 * i + 8, b);
    }
    multiplyByWindow_ref(in + i, window + i, out + i, n - i);
}

void multiplyByWindow(const float* in, const float* window, float* out, size_t n) {
    size_t i = 0;
    for (; i + 8 <= n; i += 8)
        _mm256_storeu_ps(out + i, _mm256_mul_ps(_mm256_loadu_ps(in + i), _mm256_loadu_ps(window + i)));
    for (; i < n; ++i)
        out[i] = in[i] * window[i];
}

} // namespace ferrow
