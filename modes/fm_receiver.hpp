// Reception of frequency modulation as plain signal processing: narrow at 48 kHz, broadcast with stereo at
// 384 kHz.
//
//     narrow     phase steps -> one-sided filter, 300 to 3000 Hz, falling as 300 / f
//     broadcast  phase steps -> sum filter, 50 to 15000 Hz, falling as 3183 / f from there on (50 us)
//                            -> x 2 sin(2 pilot phase) -> difference filter, the same
#pragma once

#include "core/buff/buff.hpp"
#include "modes/pilot_pll.hpp"
#include "trx/dsp/overlap_filter.hpp"

#include <complex>
#include <cstddef>

namespace ferrow {

// One thread at a time.
class FmReceiver {
public:
    static constexpr int kBroadcastRatio = 8; // of its rate to 48 kHz

    FmReceiver();

    // `ratio`: 1, narrow, or 8, broadcast. `deviation` in Hz: that of full scale; less than 1 Hz to either
    // side, and what is no number, gives silence. The block has 512 samples, or a part of 512 without
    // remainder that holds whole groups of `ratio`; any other gives nothing. Returns at 48 kHz a float a
    // sample, or with broadcast pairs of left and right: sum less difference, sum plus difference; without
    // `stereo` the sum twice.
    buff<float> process(const buff<std::complex<float>>& block, int ratio, double deviation, bool stereo);

    const PilotPll& pilot() const noexcept { return pilot_; }

private:
    double phaseStep(std::complex<float> sample);
    void runBroadcast();

    double lastRe_ = 0, lastIm_ = 0; // the previous sample
    int lastRatio_ = 1;
    std::size_t position_ = 0; // samples already in the filters' input blocks
    overlapFilter narrowFilter_, sumFilter_, differenceFilter_;
    PilotPll pilot_;
};

} // namespace ferrow
