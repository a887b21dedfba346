#include "trx/dsp/overlap_filter.hpp"

#include "core/fft/fft.hpp"

#include <algorithm>
#include <immintrin.h>

namespace ferrow {

using cf = std::complex<float>;

void multiplySpectra_ref(const cf* a, const cf* b, cf* sum, size_t n, bool add) {
    for (size_t i = 0; i < n; ++i) {
        const float re = a[i].real() * b[i].real() - a[i].imag() * b[i].imag();
        const float im = a[i].real() * b[i].imag() + a[i].imag() * b[i].real();
        sum[i] = add ? cf(sum[i].real() + re, sum[i].imag() + im) : cf(re, im);
    }
}

void multiplySpectra(const cf* a, const cf* b, cf* sum, size_t n, bool add) {
    const auto* x = reinterpret_cast<const float*>(a);
    const auto* y = reinterpret_cast<const float*>(b);
    auto* s = reinterpret_cast<float*>(sum);
    const size_t whole = n & ~size_t{3};
    for (size_t i = 0; i < 2 * whole; i += 8) {
        const __m256 u = _mm256_loadu_ps(x + i);
        const __m256 v = _mm256_loadu_ps(y + i);
        const __m256 swapped = _mm256_permute_ps(u, 0xb1);
        __m256 product =
            _mm256_fmaddsub_ps(u, _mm256_moveldup_ps(v), _mm256_mul_ps(swapped, _mm256_movehdup_ps(v)));
        if (add)
            product = _mm256_add_ps(_mm256_loadu_ps(s + i), product);
        _mm256_storeu_ps(s + i, product);
    }
    multiplySpectra_ref(a + whole, b + whole, sum + whole, n - whole, add);
}

overlapFilter::overlapFilter() : inBlock(kBins, cf(0)), accum(kBins, cf(0)), outTime(kBins, cf(0)) {
    input = inBlock.slice(hop, hop);
    output = outTime.slice(hop, hop);
}

overlapFilter::overlapFilter(const buff<cf>& taps) : overlapFilter() {
    load(taps);
}

void overlapFilter::load(const buff<cf>& taps) {
    const auto count = (taps.size() + hop - 1) / hop;
    if (static_cast<int>(count) != partitions) {
        partitions = static_cast<int>(count);
        spectra.assign(count, {});
        history.assign(count, {});
        for (size_t i = 0; i < count; ++i) {
            spectra[i] = buff<cf>(kBins);
            history[i] = buff<cf>(kBins, cf(0));
        }
        historyPos = 0;
    }
    const buff<cf> part(kBins);
    for (size_t i = 0; i < count; ++i) {
        std::fill(part.begin(), part.end(), cf(0));
        const size_t used = std::min(hop, taps.size() - i * hop);
        for (size_t k = 0; k < used; ++k)
            part[k] = taps[i * hop + k] * (1.0f / kBins);
        fft::forward(part, spectra[count - 1 - i]);
    }
}

void overlapFilter::run() {
    if (partitions == 0)
        return;
    const auto last = static_cast<size_t>(partitions) - 1;
    auto index = static_cast<size_t>(historyPos);
    fft::forward(inBlock, history[index]);
    multiplySpectra(history[index].data(), spectra[last].data(), accum.data(), kBins, false);
    for (size_t i = 1; i <= last; ++i) {
        index = index == 0 ? last : index - 1;
        multiplySpectra(history[index].data(), spectra[last - i].data(), accum.data(), kBins, true);
    }
    fft::inverse(accum, outTime);
    historyPos = historyPos + 1 == partitions ? 0 : historyPos + 1;
    std::copy_n(inBlock.begin() + hop, hop, inBlock.begin());
}

void overlapFilter::clear() {
    for (auto& spectrum : history)
        std::fill(spectrum.begin(), spectrum.end(), cf(0));
    for (auto& block : {inBlock, accum, outTime})
        std::fill(block.begin(), block.end(), cf(0));
    historyPos = 0;
}

} // namespace ferrow
