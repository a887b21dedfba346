#include "trx/dsp/decimating_mixer.hpp"

#include <algorithm>
#include <bit>
#include <cmath>
#include <immintrin.h>

namespace ferrow {
namespace {

using cf = std::complex<float>;
using cd = std::complex<double>;

// At the start of each tile the phasor is formed anew, which bounds what its rotations in single precision
// add up.
constexpr size_t kTile = 2048;
constexpr size_t kTileOfMixing = 512;

void interleave(const float* re, const float* im, cf* out, size_t n) {
    auto* to = reinterpret_cast<float*>(out);
    size_t i = 0;
    for (; i + 8 <= n; i += 8) {
        const __m256 a = _mm256_loadu_ps(re + i), b = _mm256_loadu_ps(im + i);
        const __m256 low = _mm256_unpacklo_ps(a, b), high = _mm256_unpackhi_ps(a, b);
        _mm256_storeu_ps(to + 2 * i, _mm256_permute2f128_ps(low, high, 0x20));
        _mm256_storeu_ps(to + 2 * i + 8, _mm256_permute2f128_ps(low, high, 0x31));
    }
    for (; i < n; ++i)
        out[i] = {re[i], im[i]};
}

bool makesOutput(int factor) {
    return factor == 1 || factor == 2 || factor == 4 || factor >= 8;
}

} // namespace

void decimatingMixer::configure(int newFactor) {
    if (newFactor == factor || !makesOutput(newFactor))
        return;
    factor = newFactor;
    ratio = std::bit_floor(static_cast<size_t>(newFactor));
    const int halvings = std::countr_zero(ratio);
    tile = std::max(ratio == 1 ? kTileOfMixing : kTile, ratio);
    waitingCount = 0;
    stages.clear();
    size_t pairs = tile / 2;
    for (int i = 0; i < halvings; ++i, pairs /= 2) {
        const int left = halvings - i;
        const auto kind = left == 1   ? HalfBandKind::Long
                          : left == 2 ? HalfBandKind::Medium
                                      : HalfBandKind::Short;
        stages.emplace_back(kind, pairs);
    }
    rows = buff<float>(2 * (tile / ratio));
    waiting = buff<cf>(ratio);
}

size_t decimatingMixer::process(double phaseStep, int newFactor, std::span<const cf> in, std::span<cf> out) {
    if (!makesOutput(newFactor))
        return 0;
    configure(newFactor);
    if (phaseStep != steps.angle())
        steps = PhasorSteps(phaseStep);
    const double length = std::hypot(re, im);
    // A phase step that was no number must not silence the oscillator for good.
    const cd start = length > 0 && std::isfinite(length) ? cd(re / length, im / length) : cd(1);

    size_t mixed = 0, written = 0;
    const auto pass = [&](std::span<const cf> part) {
        const size_t room = out.size() - written;
        written += runTile(mixed == 0 ? start : steps.rotated(start, mixed), part,
                           out.subspan(written, std::min(room, part.size() / ratio)));
        mixed += part.size();
    };
    while (!in.empty()) {
        if (waitingCount == 0 && in.size() >= ratio) {
            const size_t part = std::min(in.size() / ratio * ratio, tile);
            pass(in.first(part));
            in = in.subspan(part);
            continue;
        }
        const size_t part = std::min(ratio - waitingCount, in.size());
        std::copy_n(in.begin(), part, waiting.begin() + waitingCount);
        waitingCount += part;
        in = in.subspan(part);
        if (waitingCount == ratio) {
            waitingCount = 0;
            pass(waiting.span());
        }
    }
    const cd end = steps.rotated(start, mixed);
    re = static_cast<float>(end.real());
    im = static_cast<float>(end.imag());
    return written;
}

size_t decimatingMixer::runTile(cd start, std::span<const cf> in, std::span<cf> out) {
    if (stages.empty()) {
        mix(in.data(), out.size(), start, steps, out.data());
        return out.size();
    }
    mixSplit(in.data(), in.size(), start, steps, stages[0].input());
    size_t pairs = in.size() / 2;
    for (size_t i = 0; i + 1 < stages.size(); ++i, pairs /= 2)
        stages[i].run(pairs, stages[i + 1].input());
    float* const resultRe = rows.data();
    float* const resultIm = rows.data() + rows.size() / 2;
    stages.back().run(pairs, resultRe, resultIm);
    interleave(resultRe, resultIm, out.data(), out.size());
    return out.size();
}

} // namespace ferrow
