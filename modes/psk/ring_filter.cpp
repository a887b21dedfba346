#include "modes/psk/ring_filter.hpp"

#include <immintrin.h>

namespace ferrow {

const std::array<double, 18> kPskDecimatorTaps = {
    -0.000212, -0.0007025, -0.0016681, -0.0031935, -0.00519,  -0.0072862, -0.0087714, -0.0086272, -0.0056736,
    0.0011785, 0.0126135,  0.0286157,  0.0482807,  0.0698121, 0.090735,   0.1083038,  0.120019,   0.1241341};

const std::array<double, 33> kPskFrequencyTaps = {
    -0.000882, -0.001137, -0.001641, -0.002052, -0.002218, -0.001979, -0.001206, 0.000165, 0.002094,
    0.004412,  0.006819,  0.008905,  0.010204,  0.010266,  0.008751,  0.005514,  0.000686, -0.005288,
    -0.011653, -0.0174,   -0.021377, -0.022435, -0.019607, -0.012264, -0.000261, 0.015986, 0.035491,
    0.056773,  0.078002,  0.097207,  0.112514,  0.122378,  0.125804};

const std::array<double, 33> kPskBitTaps = {
    0.000043,  -0.000491, -0.000788, -0.001351, -0.002129, -0.003133, -0.004367, -0.005811, -0.007425,
    -0.00914,  -0.01086,  -0.012464, -0.013808, -0.014731, -0.015067, -0.014651, -0.013333, -0.010992,
    -0.007543, -0.002953, 0.002755,  0.009493,  0.017113,  0.025404,  0.0341,    0.042896,  0.051459,
    0.059445,  0.066521,  0.072382,  0.076768,  0.079482,  0.08042};

RingTaps::RingTaps(const double* half, std::size_t halfCount) : count_(2 * halfCount - 1) {
    // Entry j is the tap of age j modulo the count; what a vector reads past the last one meets zeros.
    for (std::size_t j = 0; j < 2 * count_ + 1; ++j) {
        const std::size_t age = j % count_;
        const double tap = half[age < halfCount ? age : count_ - 1 - age];
        table_.insert(table_.end(), {tap, tap});
    }
}

namespace {

Iq sumOf(__m256d lanes) {
    const __m128d sum = _mm_add_pd(_mm256_castpd256_pd128(lanes), _mm256_extractf128_pd(lanes, 1));
    return {_mm_cvtsd_f64(sum), _mm_cvtsd_f64(_mm_unpackhi_pd(sum, sum))};
}

} // namespace

Iq filterRing_ref(const double* samples, const double* taps, std::size_t doubles) {
    Iq sum;
    for (std::size_t n = 0; n < doubles; n += 2) {
        sum.i += samples[n] * taps[n];
        sum.q += samples[n + 1] * taps[n + 1];
    }
    return sum;
}

Iq filterRing(const double* samples, const double* taps, std::size_t doubles) {
    __m256d a = _mm256_setzero_pd(), b = a;
    std::size_t n = 0;
    for (; n + 8 <= doubles; n += 8) {
        a = _mm256_fmadd_pd(_mm256_loadu_pd(samples + n), _mm256_loadu_pd(taps + n), a);
        b = _mm256_fmadd_pd(_mm256_loadu_pd(samples + n + 4), _mm256_loadu_pd(taps + n + 4), b);
    }
    if (n < doubles)
        a = _mm256_fmadd_pd(_mm256_loadu_pd(samples + n), _mm256_loadu_pd(taps + n), a);
    return sumOf(_mm256_add_pd(a, b));
}

IqPair filterRingTwice(const double* samples, const double* firstTaps, const double* secondTaps,
                       std::size_t doubles) {
    __m256d a = _mm256_setzero_pd(), b = a, c = a, d = a;
    std::size_t n = 0;
    for (; n + 8 <= doubles; n += 8) {
        const __m256d x = _mm256_loadu_pd(samples + n), y = _mm256_loadu_pd(samples + n + 4);
        a = _mm256_fmadd_pd(x, _mm256_loadu_pd(firstTaps + n), a);
        b = _mm256_fmadd_pd(y, _mm256_loadu_pd(firstTaps + n + 4), b);
        c = _mm256_fmadd_pd(x, _mm256_loadu_pd(secondTaps + n), c);
        d = _mm256_fmadd_pd(y, _mm256_loadu_pd(secondTaps + n + 4), d);
    }
    if (n < doubles) {
        const __m256d x = _mm256_loadu_pd(samples + n);
        a = _mm256_fmadd_pd(x, _mm256_loadu_pd(firstTaps + n), a);
        c = _mm256_fmadd_pd(x, _mm256_loadu_pd(secondTaps + n), c);
    }
    return {sumOf(_mm256_add_pd(a, b)), sumOf(_mm256_add_pd(c, d))};
}

} // namespace ferrow
