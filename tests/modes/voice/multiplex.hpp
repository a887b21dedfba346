// A frequency-modulated station, worked in double precision from the formulas of the multiplex:
//
//     m(t) = 0.9 ((L + R) / 2 + (L - R) / 2 sin 2wt) + 0.1 sin wt,   w the pilot of 19 kHz
//
// The carrier's phase is the integral of m in closed form, so that the signal has no error of a step.
#pragma once

#include "core/buff/buff.hpp"

#include <cmath>
#include <complex>
#include <numbers>
#include <random>
#include <vector>

namespace ferrow::test {

struct StereoTone {
    double frequency, left, right;
};

struct Station {
    std::vector<StereoTone> tones;
    double deviation = 75000;
    double pilot = 0.1; // 0: none
    bool difference = true;
    double pilotFrequency = 19000;
    double rate = 384000;

    // Phase of the carrier at sample n, radians.
    double phase(std::size_t n) const {
        const double tau = 2 * std::numbers::pi;
        const auto turn = [&](double f) { return tau * std::fmod(f * double(n) / rate, 1.0); };
        const auto integral = [&](double f) { return -std::cos(turn(f)) / (tau * f); }; // of sin
        const auto integralOfCos = [&](double f) {
            return f == 0 ? double(n) / rate : std::sin(turn(f)) / (tau * f);
        };
        double sum = pilot == 0 ? 0 : pilot * integral(pilotFrequency);
        for (const auto& [f, left, right] : tones) {
            sum += 0.9 * (left + right) / 2 * integral(f);
            if (difference)
                sum += 0.9 * (left - right) / 2 * 0.5 *
                       (integralOfCos(2 * pilotFrequency - f) - integralOfCos(2 * pilotFrequency + f));
        }
        return tau * deviation * sum;
    }

    // `count` samples from `first` on, at the receiver's centre. What lies above it turns backward.
    buff<std::complex<float>> samples(std::size_t first, std::size_t count) const {
        buff<std::complex<float>> out(count);
        for (std::size_t i = 0; i < count; ++i)
            out[i] = std::complex<float>(std::polar(0.5, -phase(first + i)));
        return out;
    }
};

} // namespace ferrow::test
