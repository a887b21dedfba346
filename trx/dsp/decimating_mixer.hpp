// Mixes a signal by e^(-j theta n) and brings it to a rate lower by a power of two, through a cascade of
// half-band stages of 11, 19 and 39 taps, the sharpest last. One thread at a time.
//
// Cutting a stream into other blocks leaves the filters' work as it is, bit for bit. The oscillator's phasors
// are formed anew in each call, so that samples differ by rounding: by less than 5e-6 of the largest input.
#pragma once

#include "core/buff/buff.hpp"
#include "trx/dsp/half_band.hpp"
#include "trx/dsp/mixing.hpp"

#include <complex>
#include <cstddef>
#include <span>
#include <vector>

namespace ferrow {

class decimatingMixer {
public:
    decimatingMixer() = default;
    decimatingMixer(const decimatingMixer&) = delete;
    decimatingMixer& operator=(const decimatingMixer&) = delete;
    decimatingMixer(decimatingMixer&&) = default;
    decimatingMixer& operator=(decimatingMixer&&) = default;

    // `phaseStep` in radians per input sample. Writes at most out.size() samples, further ones are lost, and
    // returns their number; input that is no whole multiple of the factor waits for the next call. `in` and
    // `out` may begin at the same place.
    //
    // `newFactor`: 1 only mixes; 2, 4 and 8 upward decimate, what is no power of two by the next lower one;
    // others do nothing and return 0. A change of factor rebuilds the stages (the one time that allocates)
    // with empty histories.
    size_t process(double phaseStep, int newFactor, std::span<const std::complex<float>> in,
                   std::span<std::complex<float>> out);

    // Builds the stages for a factor ahead of process.
    void configure(int newFactor);

private:
    size_t runTile(std::complex<double> start, std::span<const std::complex<float>> in,
                   std::span<std::complex<float>> out);

    int factor = -1;
    float re = 1; // oscillator
    float im = 0;
    PhasorSteps steps;

    size_t ratio = 1; // the factor that the stages make
    size_t tile = 0;  // input samples that pass the cascade at a time, so as to stay in the first cache
    std::vector<HalfBandStage> stages;
    buff<float> rows; // real and imaginary parts of a tile's result
    buff<std::complex<float>> waiting;
    size_t waitingCount = 0;
};

} // namespace ferrow
