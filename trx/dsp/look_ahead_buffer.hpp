// The transmit limiter: peaks that a filter grew back above full scale are brought down, over the few samples
// around them, by twice their excess.
#pragma once

#include "core/buff/buff.hpp"

#include <complex>
#include <cstddef>

namespace ferrow {

class lookAheadBuffer {
public:
    static constexpr size_t kBlock = 512;

    lookAheadBuffer();
    lookAheadBuffer(const lookAheadBuffer&) = delete;
    lookAheadBuffer& operator=(const lookAheadBuffer&) = delete;

    // Moves the newest `length` samples to the start and takes 512 new ones behind them.
    void push(const buff<std::complex<float>>& block);

    // 512 samples: `scale` times the sample in the middle of each window of `length`, divided by 1 or, with
    // the window's largest magnitude p above 1, by 2 (p - 1) + 1.
    void limit(float scale, const buff<std::complex<float>>& out) const;

    int length;
    buff<std::complex<float>> data;   // length + 512
    buff<std::complex<float>> newest; // the last 512 of data
    buff<std::complex<float>> all;
};

} // namespace ferrow
