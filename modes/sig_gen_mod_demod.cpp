#include "modes/sig_gen_mod_demod.hpp"

#include "modes/bounded_number.hpp"

#include <cmath>

namespace ferrow {

namespace {

constexpr double kPi = 3.1415927f; // the short value stays
constexpr double kTurn = 6.2831854;
constexpr double kSample = 2.0833333333333333e-05; // seconds
constexpr double kMaxLevel = 1000, kMaxFrequency = 1e9;

} // namespace

void sigGenModDemod::modulate(buff<std::complex<float>>, buff<std::complex<float>> out) {
    const double carrier = boundedNumber(ampl1.value(), kMaxLevel);
    const double tone = boundedNumber(ampl2.value(), kMaxLevel);
    const double step = 2 * kPi * boundedNumber(freq2.value(), kMaxFrequency) * kSample;
    for (auto& sample : out) {
        phase_ += step;
        if (phase_ > kTurn)
            phase_ -= kTurn;
        if (std::abs(phase_) > kTurn) // negative or very high frequencies
            phase_ = std::fmod(phase_, kTurn);
        sample = {static_cast<float>(tone * std::cos(phase_) + carrier),
                  static_cast<float>(-tone * std::sin(phase_))};
    }
}

} // namespace ferrow
