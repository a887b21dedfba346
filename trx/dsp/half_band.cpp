#include "trx/dsp/half_band.hpp"

#include <algorithm>
#include <cmath>
#include <immintrin.h>

namespace ferrow {
namespace {

constexpr float kShort[] = {0.29367453f, -0.04990009f, 0.006225562f};
constexpr float kMedium[] = {0.30363485f, -0.06895997f, 0.018525245f, -0.0035339547f, 0.00033381185f};
constexpr float kLong[] = {0.31285447f,     -0.09075648f,    0.041096073f,   -0.019066015f,
                           0.008183831f,    -0.0030765538f,  0.00096390233f, -0.00023583435f,
                           0.000040246643f, -0.000003629079f};
constexpr float kCentre = 0.5f;

template <HalfBandKind Kind>
constexpr const auto& tapsOf() {
    if constexpr (Kind == HalfBandKind::Short)
        return kShort;
    else if constexpr (Kind == HalfBandKind::Medium)
        return kMedium;
    else
        return kLong;
}

// Scalar and vector forms add in one order with fused products, so that the place of a cut leaves no trace.
float filterOne(std::span<const float> taps, const float* even, const float* odd) {
    const size_t pairs = taps.size();
    float sum = kCentre * odd[pairs - 1];
    for (size_t j = 0; j < pairs; ++j) {
        sum = std::fma(taps[j], even[pairs - 1 - j], sum);
        sum = std::fma(taps[j], even[pairs + j], sum);
    }
    return sum;
}

// Sixteen outputs of both rows: four sums share each tap in its register, which is what the load ports need.
struct Sixteen {
    __m256 reA, reB, imA, imB;

    void add(__m256 tap, SplitOutput x, size_t at) {
        reA = _mm256_fmadd_ps(tap, _mm256_loadu_ps(x.evenRe + at), reA);
        reB = _mm256_fmadd_ps(tap, _mm256_loadu_ps(x.evenRe + at + 8), reB);
        imA = _mm256_fmadd_ps(tap, _mm256_loadu_ps(x.evenIm + at), imA);
        imB = _mm256_fmadd_ps(tap, _mm256_loadu_ps(x.evenIm + at + 8), imB);
    }
};

template <HalfBandKind Kind>
[[gnu::always_inline]] inline Sixteen filterSixteen(SplitOutput x) {
    constexpr const auto& taps = tapsOf<Kind>();
    constexpr size_t pairs = std::size(tapsOf<Kind>());
    const __m256 centre = _mm256_set1_ps(kCentre);
    Sixteen sum{_mm256_mul_ps(centre, _mm256_loadu_ps(x.oddRe + pairs - 1)),
                _mm256_mul_ps(centre, _mm256_loadu_ps(x.oddRe + pairs + 7)),
                _mm256_mul_ps(centre, _mm256_loadu_ps(x.oddIm + pairs - 1)),
                _mm256_mul_ps(centre, _mm256_loadu_ps(x.oddIm + pairs + 7))};
#pragma GCC unroll 10
    for (size_t j = 0; j < pairs; ++j) {
        const __m256 tap = _mm256_broadcast_ss(&taps[j]);
        sum.add(tap, x, pairs - 1 - j);
        sum.add(tap, x, pairs + j);
    }
    return sum;
}

struct SplitSink {
    SplitOutput to;

    static void put(__m256 a, __m256 b, float* even, float* odd) {
        const __m256d e = _mm256_castps_pd(_mm256_shuffle_ps(a, b, 0x88));
        const __m256d o = _mm256_castps_pd(_mm256_shuffle_ps(a, b, 0xdd));
        _mm256_storeu_ps(even, _mm256_castpd_ps(_mm256_permute4x64_pd(e, 0xd8)));
        _mm256_storeu_ps(odd, _mm256_castpd_ps(_mm256_permute4x64_pd(o, 0xd8)));
    }
    void putRe(size_t k, __m256 a, __m256 b) const { put(a, b, to.evenRe + k / 2, to.oddRe + k / 2); }
    void putIm(size_t k, __m256 a, __m256 b) const { put(a, b, to.evenIm + k / 2, to.oddIm + k / 2); }
    void put(size_t k, float re, float im) const { to.put(k, {re, im}); }
};

struct RowSink {
    float *re, *im;

    static void put(__m256 a, __m256 b, float* row) {
        _mm256_storeu_ps(row, a);
        _mm256_storeu_ps(row + 8, b);
    }
    void putRe(size_t k, __m256 a, __m256 b) const { put(a, b, re + k); }
    void putIm(size_t k, __m256 a, __m256 b) const { put(a, b, im + k); }
    void put(size_t k, float oneRe, float oneIm) const {
        re[k] = oneRe;
        im[k] = oneIm;
    }
};

template <HalfBandKind Kind, class Sink>
void filterAll(SplitOutput x, size_t n, const Sink& sink) {
    size_t k = 0;
    for (; k + 16 <= n; k += 16) {
        const Sixteen y = filterSixteen<Kind>(x.offset(k));
        sink.putRe(k, y.reA, y.reB);
        sink.putIm(k, y.imA, y.imB);
    }
    for (; k < n; ++k)
        sink.put(k, filterOne(tapsOf<Kind>(), x.evenRe + k, x.oddRe + k),
                 filterOne(tapsOf<Kind>(), x.evenIm + k, x.oddIm + k));
}

} // namespace

std::span<const float> halfBandTaps(HalfBandKind kind) {
    switch (kind) {
    case HalfBandKind::Short:
        return kShort;
    case HalfBandKind::Medium:
        return kMedium;
    default:
        return kLong;
    }
}

void halfBand_ref(std::span<const float> taps, const float* even, const float* odd, float* out, size_t n) {
    for (size_t k = 0; k < n; ++k)
        out[k] = filterOne(taps, even + k, odd + k);
}

HalfBandStage::HalfBandStage(HalfBandKind stageKind, size_t most)
    : kind(stageKind), history(2 * halfBandTaps(stageKind).size() - 1), lead((history + 7) / 8 * 8) {
    // 16 floats between the rows keep them off each other's cache sets.
    const size_t row = lead + (most + 7) / 8 * 8 + 16;
    memory = buff<float>(4 * row, 0.0f);
    rows = {memory.data(), memory.data() + row, memory.data() + 2 * row, memory.data() + 3 * row};
}

SplitOutput HalfBandStage::input() const {
    return rows.offset(lead);
}

template <class Sink>
void HalfBandStage::filter(size_t pairs, const Sink& sink) {
    const SplitOutput window = rows.offset(lead - history);
    switch (kind) {
    case HalfBandKind::Short:
        filterAll<HalfBandKind::Short>(window, pairs, sink);
        break;
    case HalfBandKind::Medium:
        filterAll<HalfBandKind::Medium>(window, pairs, sink);
        break;
    case HalfBandKind::Long:
        filterAll<HalfBandKind::Long>(window, pairs, sink);
        break;
    }
    keep(pairs);
}

void HalfBandStage::keep(size_t pairs) {
    for (float* row : {rows.evenRe, rows.evenIm, rows.oddRe, rows.oddIm}) {
        // All read before any is written: with few new samples the two places overlap.
        const __m256 a = _mm256_loadu_ps(row + pairs);
        const __m256 b = lead > 8 ? _mm256_loadu_ps(row + pairs + 8) : a;
        const __m256 c = lead > 16 ? _mm256_loadu_ps(row + pairs + 16) : a;
        _mm256_storeu_ps(row, a);
        if (lead > 8)
            _mm256_storeu_ps(row + 8, b);
        if (lead > 16)
            _mm256_storeu_ps(row + 16, c);
    }
}

void HalfBandStage::run(size_t pairs, SplitOutput next) {
    filter(pairs, SplitSink{next});
}
void HalfBandStage::run(size_t pairs, float* re, float* im) {
    filter(pairs, RowSink{re, im});
}

} // namespace ferrow
