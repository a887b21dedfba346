#include "trx/dsp/rational_resampler.hpp"

#include "trx/dsp/bandpass_design.hpp"

#include <algorithm>
#include <cmath>
#include <immintrin.h>

namespace ferrow {
namespace {

using cf = std::complex<float>;

constexpr size_t kRing = 8192;
constexpr float kPassband = 14000;
constexpr double kRate = 48000;

} // namespace

cf dotTwiceStored_ref(const cf* x, const cf* taps, size_t n) {
    float re = 0, im = 0;
    for (size_t i = 0; i < n; ++i) {
        re += x[i].real() * taps[i].real();
        im += x[i].imag() * taps[i].imag();
    }
    return {re, im};
}

cf dotTwiceStored(const cf* x, const cf* taps, size_t n) {
    const auto* u = reinterpret_cast<const float*>(x);
    const auto* v = reinterpret_cast<const float*>(taps);
    const auto product = [&](size_t i, __m256 sum) {
        return _mm256_fmadd_ps(_mm256_loadu_ps(u + 2 * i), _mm256_loadu_ps(v + 2 * i), sum);
    };
    __m256 a = _mm256_setzero_ps(), b = a, c = a, d = a;
    size_t i = 0;
    for (; i + 16 <= n; i += 16) {
        a = product(i, a);
        b = product(i + 4, b);
        c = product(i + 8, c);
        d = product(i + 12, d);
    }
    for (; i + 4 <= n; i += 4)
        a = product(i, a);
    a = _mm256_add_ps(_mm256_add_ps(a, b), _mm256_add_ps(c, d));
    __m128 half = _mm_add_ps(_mm256_castps256_ps128(a), _mm256_extractf128_ps(a, 1));
    half = _mm_add_ps(half, _mm_movehl_ps(half, half));
    alignas(16) float sum[4];
    _mm_store_ps(sum, half);
    return cf(sum[0], sum[1]) + dotTwiceStored_ref(x + i, taps + i, n - i);
}

rationalResampler::rationalResampler() : ring(kRing, cf(0)) {}

rationalResampler::rationalResampler(int upFactor, int downFactor)
    : ring(kRing, cf(0)), up(upFactor), down(downFactor) {
    const auto phases = static_cast<size_t>(up);
    const auto perPhase = static_cast<size_t>(tapsPerPhase);
    const float edge = kPassband * static_cast<float>(up) / static_cast<float>(down);
    const auto prototype = designBandpass(-edge, edge, kRate * up, perPhase * phases, perPhase * phases);
    taps = buff<cf>(prototype.size());
    for (size_t phase = 0; phase < phases; ++phase)
        for (size_t j = 0; j < perPhase; ++j) {
            const float tap = prototype[phase + j * phases].real();
            taps[phase * perPhase + j] = {tap, tap};
        }
}

buff<cf> rationalResampler::feed(size_t n) {
    const int count = static_cast<int>(std::min(n, kRing - static_cast<size_t>(keep)));
    if (filled + count > static_cast<int>(kRing)) {
        ring.copyTo(static_cast<size_t>(filled - keep), static_cast<size_t>(keep), ring, 0);
        base += filled - keep;
        filled = keep;
    }
    const auto place = ring.slice(static_cast<size_t>(filled), static_cast<size_t>(count));
    filled += count;
    return place;
}

size_t rationalResampler::produce(std::span<cf> out) {
    if (up <= 0)
        return 0;
    size_t made = 0;
    for (; made < out.size(); ++made) {
        const int at = phaseIndex * down;
        const int x = (at + up - 1) / up;
        const int phase = up * x - at;
        // Negative only if samples were left lying for longer than the ring keeps them.
        const int start = std::max(x - base, 0);
        if (start >= filled - tapsPerPhase)
            break;
        out[made] = dotTwiceStored(ring.data() + start, taps.data() + phase * tapsPerPhase,
                                   static_cast<size_t>(tapsPerPhase));
        if (++phaseIndex == up * down) {
            base -= down * down;
            phaseIndex = 0;
        }
    }
    return made;
}

} // namespace ferrow
