// Mixing kernels: samples times e^(-j theta n), from an oscillator that turns by rotation and has no table.
// Sample n of a call meets the phasor `start` rotated by n theta. `_ref` forms are plain; the others work on
// 8 or 16 samples at once and differ by rounding only.
#pragma once

#include <complex>
#include <cstddef>

namespace ferrow {

// What one angle needs: the first phasors, by successive rotation, and the steps from group to group.
class PhasorSteps {
public:
    explicit PhasorSteps(double theta = 0);

    double angle() const { return theta; }

    // `phasor` rotated by n samples at once.
    std::complex<double> rotated(std::complex<double> phasor, size_t n) const;

    // Phasors 0 to 15 relative to the first, even ones then odd ones, and one group's rotation in single
    // precision.
    float re[2][8];
    float im[2][8];
    std::complex<float> by8;
    std::complex<float> by16;
    std::complex<double> by1;

private:
    double theta;
};

// out[n] = in[n] * phasor, `n` any, in place allowed.
void mix(const std::complex<float>* in, size_t n, std::complex<double> start, const PhasorSteps& steps,
         std::complex<float>* out);
void mix_ref(const std::complex<float>* in, size_t n, std::complex<double> start, double theta,
             std::complex<float>* out);

// The halves of a split signal: even samples and odd samples, real and imaginary parts apart.
struct SplitOutput {
    float* evenRe;
    float* evenIm;
    float* oddRe;
    float* oddIm;

    // Sample i of the signal.
    void put(size_t i, std::complex<float> z) const {
        float* const re = i % 2 ? oddRe : evenRe;
        float* const im = i % 2 ? oddIm : evenIm;
        re[i / 2] = z.real();
        im[i / 2] = z.imag();
    }

    SplitOutput offset(size_t pairs) const {
        return {evenRe + pairs, evenIm + pairs, oddRe + pairs, oddIm + pairs};
    }
};

// As mix, for an even `n`, with the result split for a half-band stage.
void mixSplit(const std::complex<float>* in, size_t n, std::complex<double> start, const PhasorSteps& steps,
              SplitOutput out);
void mixSplit_ref(const std::complex<float>* in, size_t n, std::complex<double> start, double theta,
                  SplitOutput out);

} // namespace ferrow
