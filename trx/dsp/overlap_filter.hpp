// A uniformly partitioned overlap-save filter: blocks of 512 samples in and out, any number of taps.
//
//     write 512 samples to filter.input; filter.run(); read 512 samples from filter.output
//
// One thread at a time. `run` and `clear` do not allocate once the thread has its transform plans
// (fft::prepare).
#pragma once

#include "core/buff/buff.hpp"

#include <complex>
#include <cstddef>
#include <vector>

namespace ferrow {

class overlapFilter {
public:
    static constexpr size_t hop = 512;
    static constexpr size_t kBins = 2 * hop;

    // No taps: `run` gives zeroes until `load`.
    overlapFilter();
    explicit overlapFilter(const buff<std::complex<float>>& taps);

    // The filter's memory is views on shared blocks: a copy would be no second filter.
    overlapFilter(const overlapFilter&) = delete;
    overlapFilter& operator=(const overlapFilter&) = delete;
    overlapFilter(overlapFilter&&) = default;
    overlapFilter& operator=(overlapFilter&&) = default;

    // Takes a new impulse response from the next block on. With an unchanged number of partitions, ceil(taps
    // / 512), the history is kept and the signal goes on without a gap; otherwise it starts anew. Allocates.
    void load(const buff<std::complex<float>>& taps);

    void run();

    // Zeroes all signal memory; the taps stay.
    void clear();

    int partitionCount() const { return partitions; }

    buff<std::complex<float>> input;  // 512 samples, the caller's to write
    buff<std::complex<float>> output; // 512 samples, valid until the next run

private:
    std::vector<buff<std::complex<float>>> spectra; // partition i at partitions - 1 - i
    std::vector<buff<std::complex<float>>> history; // a ring of input spectra
    buff<std::complex<float>> inBlock;
    buff<std::complex<float>> accum;
    buff<std::complex<float>> outTime;
    int partitions = 0;
    int historyPos = 0;
};

// sum[i] (+)= a[i] * b[i] for n complex numbers; `n` any, memory of any alignment.
void multiplySpectra(const std::complex<float>* a, const std::complex<float>* b, std::complex<float>* sum,
                     size_t n, bool add);
void multiplySpectra_ref(const std::complex<float>* a, const std::complex<float>* b, std::complex<float>* sum,
                         size_t n, bool add);

} // namespace ferrow
