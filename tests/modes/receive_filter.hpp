// The filter of a transceiver in front of a mode.
#pragma once

#include "trx/dsp/bandpass_design.hpp"
#include "trx/dsp/overlap_filter.hpp"

#include <algorithm>
#include <complex>
#include <vector>

namespace ferrow::test {

// `signal` through the receive filter from `low` to `high` Hz, later by its delay and cut to blocks of 512.
inline std::vector<std::complex<float>> receiveFilter(const std::vector<std::complex<float>>& signal,
                                                      double low, double high) {
    overlapFilter filter;
    filter.load(designBandpass(static_cast<float>(low), static_cast<float>(high), 48000, 1536, 1536));
    std::vector<std::complex<float>> out;
    out.reserve(signal.size());
    for (std::size_t at = 0; at + 512 <= signal.size(); at += 512) {
        std::copy_n(signal.begin() + static_cast<std::ptrdiff_t>(at), 512, filter.input.begin());
        filter.run();
        out.insert(out.end(), filter.output.begin(), filter.output.end());
    }
    return out;
}

} // namespace ferrow::test
