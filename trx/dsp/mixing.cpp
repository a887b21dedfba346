#include "trx/dsp/mixing.hpp"

#include <cmath>
#include <immintrin.h>

namespace ferrow {
namespace {

using cf = std::complex<float>;
using cd = std::complex<double>;

// The same product and order of rounding in every scalar loop.
cf product(cf x, cf p) {
    return {std::fma(x.real(), p.real(), -(x.imag() * p.imag())),
            std::fma(x.real(), p.imag(), x.imag() * p.real())};
}

// Eight phasors, real and imaginary parts apart.
struct Phasors8 {
    __m256 re, im;

    Phasors8(const float* relativeRe, const float* relativeIm, cf start) {
        const __m256 a = _mm256_loadu_ps(relativeRe), b = _mm256_loadu_ps(relativeIm);
        const __m256 c = _mm256_set1_ps(start.real()), d = _mm256_set1_ps(start.imag());
        re = _mm256_fmsub_ps(a, c, _mm256_mul_ps(b, d));
        im = _mm256_fmadd_ps(a, d, _mm256_mul_ps(b, c));
    }

    void turn(__m256 stepRe, __m256 stepIm) {
        const __m256 nextRe = _mm256_fmsub_ps(re, stepRe, _mm256_mul_ps(im, stepIm));
        im = _mm256_fmadd_ps(re, stepIm, _mm256_mul_ps(im, stepRe));
        re = nextRe;
    }

    void apply(__m256 xRe, __m256 xIm, float* outRe, float* outIm) const {
        _mm256_storeu_ps(outRe, _mm256_fmsub_ps(xRe, re, _mm256_mul_ps(xIm, im)));
        _mm256_storeu_ps(outIm, _mm256_fmadd_ps(xRe, im, _mm256_mul_ps(xIm, re)));
    }
};

// Complex numbers 2h and 2h + 1 in the lower half, 2h + 8 and 2h + 9 in the upper.
__m256 loadPairs(const float* x, size_t h) {
    return _mm256_insertf128_ps(_mm256_castps128_ps256(_mm_loadu_ps(x + 4 * h)), _mm_loadu_ps(x + 4 * h + 16),
                                1);
}

} // namespace

PhasorSteps::PhasorSteps(double angle) : by1(std::cos(angle), -std::sin(angle)), theta(angle) {
    cd phasor = 1;
    for (size_t i = 0; i < 16; ++i) {
        if (i == 8)
            by8 = cf(phasor);
        re[i % 2][i / 2] = static_cast<float>(phasor.real());
        im[i % 2][i / 2] = static_cast<float>(phasor.imag());
        phasor *= by1;
    }
    by16 = cf(phasor);
}

cd PhasorSteps::rotated(cd phasor, size_t n) const {
    const double whole = theta * static_cast<double>(n);
    return phasor * cd(std::cos(whole), -std::sin(whole));
}

void mix_ref(const cf* in, size_t n, cd start, double theta, cf* out) {
    for (size_t i = 0; i < n; ++i) {
        const double angle = theta * static_cast<double>(i);
        out[i] = product(in[i], cf(start * cd(std::cos(angle), -std::sin(angle))));
    }
}

void mixSplit_ref(const cf* in, size_t n, cd start, double theta, SplitOutput out) {
    for (size_t i = 0; i < n; ++i) {
        const double angle = theta * static_cast<double>(i);
        const cf z = product(in[i], cf(start * cd(std::cos(angle), -std::sin(angle))));
        out.put(i, z);
    }
}

void mix(const cf* in, size_t n, cd start, const PhasorSteps& steps, cf* out) {
    const auto* x = reinterpret_cast<const float*>(in);
    auto* y = reinterpret_cast<float*>(out);
    const size_t whole = n & ~size_t{7};
    // Interleaved phasors 0 to 3 and 4 to 7.
    alignas(32) float first[16];
    for (size_t i = 0; i < 8; ++i) {
        const cf p(start * cd(steps.re[i % 2][i / 2], steps.im[i % 2][i / 2]));
        first[2 * i] = p.real();
        first[2 * i + 1] = p.imag();
    }
    __m256 a = _mm256_load_ps(first), b = _mm256_load_ps(first + 8);
    const __m256 stepRe = _mm256_set1_ps(steps.by8.real()), stepIm = _mm256_set1_ps(steps.by8.imag());
    const auto times = [](__m256 u, __m256 re, __m256 im) {
        return _mm256_fmaddsub_ps(u, re, _mm256_mul_ps(_mm256_permute_ps(u, 0xb1), im));
    };
    for (size_t i = 0; i < 2 * whole; i += 16) {
        const __m256 u = _mm256_loadu_ps(x + i), v = _mm256_loadu_ps(x + i + 8);
        _mm256_storeu_ps(y + i, times(u, _mm256_moveldup_ps(a), _mm256_movehdup_ps(a)));
        _mm256_storeu_ps(y + i + 8, times(v, _mm256_moveldup_ps(b), _mm256_movehdup_ps(b)));
        a = times(a, stepRe, stepIm);
        b = times(b, stepRe, stepIm);
    }
    cd phasor = steps.rotated(start, whole);
    for (size_t i = whole; i < n; ++i, phasor *= steps.by1)
        out[i] = product(in[i], cf(phasor));
}

void mixSplit(const cf* in, size_t n, cd start, const PhasorSteps& steps, SplitOutput out) {
    const size_t whole = n & ~size_t{15};
    Phasors8 even(steps.re[0], steps.im[0], cf(start));
    Phasors8 odd(steps.re[1], steps.im[1], cf(start));
    const __m256 stepRe = _mm256_set1_ps(steps.by16.real()), stepIm = _mm256_set1_ps(steps.by16.imag());
    const auto* x = reinterpret_cast<const float*>(in);
    for (size_t i = 0; i < whole; i += 16) {
        const __m256 a = loadPairs(x + 2 * i, 0), b = loadPairs(x + 2 * i, 1);
        const __m256 c = loadPairs(x + 2 * i, 2), d = loadPairs(x + 2 * i, 3);
        const __m256d evenAb = _mm256_castps_pd(_mm256_unpacklo_ps(a, b));
        const __m256d oddAb = _mm256_castps_pd(_mm256_unpackhi_ps(a, b));
        const __m256d evenCd = _mm256_castps_pd(_mm256_unpacklo_ps(c, d));
        const __m256d oddCd = _mm256_castps_pd(_mm256_unpackhi_ps(c, d));
        even.apply(_mm256_castpd_ps(_mm256_unpacklo_pd(evenAb, evenCd)),
                   _mm256_castpd_ps(_mm256_unpackhi_pd(evenAb, evenCd)), out.evenRe + i / 2,
                   out.evenIm + i / 2);
        odd.apply(_mm256_castpd_ps(_mm256_unpacklo_pd(oddAb, oddCd)),
                  _mm256_castpd_ps(_mm256_unpackhi_pd(oddAb, oddCd)), out.oddRe + i / 2, out.oddIm + i / 2);
        even.turn(stepRe, stepIm);
        odd.turn(stepRe, stepIm);
    }
    cd phasor = steps.rotated(start, whole);
    for (size_t i = whole; i < n; ++i, phasor *= steps.by1) {
        const cf z = product(in[i], cf(phasor));
        out.put(i, z);
    }
}

} // namespace ferrow
