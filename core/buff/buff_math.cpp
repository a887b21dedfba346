#include "core/buff/buff_math.hpp"

#include <algorithm>
#include <cmath>
#include <immintrin.h>

namespace ferrow {
namespace {

using cf = std::complex<float>;

const float* floats(const cf* z) {
    return reinterpret_cast<const float*>(z);
}

// log10 of eight floats: x = 2^e m with m in [sqrt(1/2), sqrt(2)), and ln m = 2 atanh((m - 1) / (m + 1)) by
// its series, which is 2e-9 exact there. log10(2) is split so that e times its upper part has no rounding.
__m256 log10Of8(__m256 x) {
    const __m256 smallest = _mm256_set1_ps(1.17549435e-38f);
    const __m256 isDenormal = _mm256_cmp_ps(x, smallest, _CMP_LT_OQ);
    const __m256 normal = _mm256_blendv_ps(x, _mm256_mul_ps(x, _mm256_set1_ps(8388608.0f)), isDenormal);
    const __m256i bits = _mm256_castps_si256(normal);
    // Counting exponents from the bit pattern of sqrt(1/2) puts m in the wanted interval.
    const __m256i offset = _mm256_sub_epi32(bits, _mm256_set1_epi32(0x3f3504f3));
    const __m256i exponent = _mm256_srai_epi32(offset, 23);
    const __m256 m = _mm256_castsi256_ps(_mm256_sub_epi32(bits, _mm256_slli_epi32(exponent, 23)));
    __m256 e = _mm256_cvtepi32_ps(exponent);
    e = _mm256_sub_ps(e, _mm256_and_ps(isDenormal, _mm256_set1_ps(23.0f)));

    const __m256 one = _mm256_set1_ps(1.0f);
    const __m256 s = _mm256_div_ps(_mm256_sub_ps(m, one), _mm256_add_ps(m, one));
    const __m256 z = _mm256_mul_ps(s, s);
    // 2 / ln 10 times 1, 1/3, 1/5, 1/7, 1/9.
    __m256 series = _mm256_set1_ps(0.0965098848f);
    series = _mm256_fmadd_ps(series, z, _mm256_set1_ps(0.124084138f));
    series = _mm256_fmadd_ps(series, z, _mm256_set1_ps(0.173717793f));
    series = _mm256_fmadd_ps(series, z, _mm256_set1_ps(0.289529655f));
    series = _mm256_fmadd_ps(series, z, _mm256_set1_ps(0.868588964f));
    const __m256 low = _mm256_fmadd_ps(e, _mm256_set1_ps(4.60503898e-6f), _mm256_mul_ps(s, series));
    __m256 result = _mm256_fmadd_ps(e, _mm256_set1_ps(0.301025390625f), low);

    const __m256 infinity = _mm256_set1_ps(INFINITY);
    const __m256 zero = _mm256_setzero_ps();
    result = _mm256_blendv_ps(result, _mm256_set1_ps(-INFINITY), _mm256_cmp_ps(x, zero, _CMP_EQ_OQ));
    result = _mm256_blendv_ps(result, _mm256_set1_ps(NAN), _mm256_cmp_ps(x, zero, _CMP_NGE_UQ));
    return _mm256_blendv_ps(result, infinity, _mm256_cmp_ps(x, infinity, _CMP_EQ_OQ));
}

// Powers of eight complex numbers in order.
__m256 powerOf8(const float* z) {
    const __m256 a = _mm256_loadu_ps(z);
    const __m256 b = _mm256_loadu_ps(z + 8);
    const __m256 sums = _mm256_hadd_ps(_mm256_mul_ps(a, a), _mm256_mul_ps(b, b));
    return _mm256_castpd_ps(_mm256_permute4x64_pd(_mm256_castps_pd(sums), 0xd8));
}

} // namespace

void log10_ref(const float* a, float* b, size_t n) {
    for (size_t i = 0; i < n; ++i)
        b[i] = std::log10(a[i]);
}

void power_ref(const cf* a, float* b, size_t n, float gain) {
    for (size_t i = 0; i < n; ++i) {
        const float re = a[i].real(), im = a[i].imag();
        b[i] = (re * re + im * im) * gain + static_cast<float>(kPowerFloor);
    }
}

float peakPower_ref(const cf* a, size_t n) {
    float best = 0;
    for (size_t i = 0; i < n; ++i) {
        const float re = a[i].real(), im = a[i].imag();
        const float p = re * re + im * im;
        if (p > best)
            best = p;
    }
    return best;
}

buff<cf> rotate(const buff<cf>& a, size_t k) {
    const size_t size = a.size();
    buff<cf> result(size);
    if (size == 0)
        return result;
    k %= size;
    a.copyTo(0, size - k, result, k);
    a.copyTo(size - k, k, result, 0);
    return result;
}

buff<float> logPower(const buff<cf>& a) {
    buff<float> result(a.size());
    for (size_t i = 0; i < a.size(); ++i) {
        const double re = a[i].real(), im = a[i].imag();
        result[i] = static_cast<float>(std::log10(re * re + im * im + kPowerFloor));
    }
    return result;
}

buff<float> power(const buff<cf>& a, float gain) {
    buff<float> result(a.size());
    const size_t whole = a.size() & ~size_t{7};
    const __m256 scale = _mm256_set1_ps(gain);
    const __m256 least = _mm256_set1_ps(static_cast<float>(kPowerFloor));
    for (size_t i = 0; i < whole; i += 8) {
        __m256 scaled = _mm256_mul_ps(powerOf8(floats(&a[i])), scale);
        // The floor is a denormal, which a fused product takes a hundred cycles over and a sum does not.
        asm("" : "+x"(scaled));
        _mm256_storeu_ps(&result[i], _mm256_add_ps(scaled, least));
    }
    power_ref(a.data() + whole, result.data() + whole, a.size() - whole, gain);
    return result;
}

buff<float> log10Into(const buff<float>& a, const buff<float>& b) {
    const size_t n = std::min(a.size(), b.size());
    const size_t whole = n & ~size_t{7};
    for (size_t i = 0; i < whole; i += 8)
        _mm256_storeu_ps(&b[i], log10Of8(_mm256_loadu_ps(&a[i])));
    log10_ref(a.data() + whole, b.data() + whole, n - whole);
    return b;
}

float peakPower(const buff<cf>& a) {
    const size_t whole = a.size() & ~size_t{7};
    __m256 best = _mm256_setzero_ps();
    for (size_t i = 0; i < whole; i += 8)
        best = _mm256_max_ps(powerOf8(floats(&a[i])), best);
    alignas(32) float lanes[8];
    _mm256_store_ps(lanes, best);
    const float rest = peakPower_ref(a.data() + whole, a.size() - whole);
    return std::max(rest, *std::max_element(lanes, lanes + 8));
}

float peakMagnitude(const buff<cf>& a) {
    return std::sqrt(peakPower(a));
}

} // namespace ferrow
