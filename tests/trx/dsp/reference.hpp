// Slow double-precision forms that the tests hold the receive chain's building blocks against, and signals.
#pragma once

#include "core/buff/buff.hpp"

#include <cmath>
#include <complex>
#include <numbers>
#include <random>
#include <span>
#include <vector>

namespace ferrow::test {

using cf = std::complex<float>;
using cd = std::complex<double>;

inline constexpr double kTau = 2 * std::numbers::pi;

inline std::vector<cf> noise(size_t n, unsigned seed = 1) {
    std::mt19937 random(seed);
    std::normal_distribution<float> normal(0, 0.5);
    std::vector<cf> x(n);
    for (auto& z : x)
        z = {normal(random), normal(random)};
    return x;
}

// A carrier as the complex samples hold it: `offset` Hz above the centre turns backward.
inline std::vector<cf> carrier(size_t n, double offset, double rate, double amplitude = 1) {
    std::vector<cf> x(n);
    for (size_t i = 0; i < n; ++i)
        x[i] = cf(std::polar(amplitude, -kTau * std::fmod(offset / rate * double(i), 1.0)));
    return x;
}

inline buff<cf> toBuff(const std::vector<cf>& x) {
    buff<cf> b(x.size());
    std::copy(x.begin(), x.end(), b.begin());
    return b;
}

// Response of taps at `frequency` cycles a sample.
template <class Taps>
cd response(const Taps& taps, double frequency) {
    cd sum = 0;
    const cd step = std::polar(1.0, -kTau * frequency);
    cd turn = 1;
    for (const auto& tap : taps) {
        sum += cd(tap) * turn;
        turn *= step;
    }
    return sum;
}

inline double decibels(double amplitude) {
    return 20 * std::log10(amplitude + 1e-30);
}

// The half-band filters as whole impulse responses of 11, 19 and 39 taps.
inline std::vector<double> halfBandImpulse(int taps) {
    static const std::vector<double> k11{0.29367453, -0.04990009, 0.006225562};
    static const std::vector<double> k19{0.30363485, -0.06895997, 0.018525245, -0.0035339547, 0.00033381185};
    static const std::vector<double> k39{0.31285447,     -0.09075648,    0.041096073,   -0.019066015,
                                         0.008183831,    -0.0030765538,  0.00096390233, -0.00023583435,
                                         0.000040246643, -0.000003629079};
    const auto& half = taps == 11 ? k11 : taps == 19 ? k19 : k39;
    std::vector<double> h(size_t(taps), 0.0);
    const int middle = taps / 2;
    h[size_t(middle)] = 0.5;
    for (int i = 0; i < int(half.size()); ++i)
        h[size_t(middle + 2 * i + 1)] = h[size_t(middle - 2 * i - 1)] = half[size_t(i)];
    return h;
}

// Tap counts of the stages in signal order.
inline std::vector<int> stagesOf(int factor) {
    std::vector<int> stages;
    for (int left = factor; left > 1; left /= 2)
        stages.push_back(left == 2 ? 39 : left == 4 ? 19 : 11);
    return stages;
}

// Filter by `h` from a silent past and keep every second output.
inline std::vector<cd> halveRate(const std::vector<cd>& x, const std::vector<double>& h) {
    std::vector<cd> y(x.size() / 2);
    const long past = long(h.size()) - 1;
    for (long k = 0; k < long(y.size()); ++k)
        for (long i = 0; i <= past; ++i) {
            const long at = 2 * k + i - past;
            if (at >= 0)
                y[size_t(k)] += h[size_t(i)] * x[size_t(at)];
        }
    return y;
}

inline std::vector<cd> mixAndDecimate(const std::vector<cf>& in, double theta, int factor) {
    std::vector<cd> x(in.size());
    for (size_t i = 0; i < in.size(); ++i)
        x[i] = cd(in[i]) * std::polar(1.0, -std::fmod(theta * double(i), kTau));
    for (int taps : stagesOf(factor))
        x = halveRate(x, halfBandImpulse(taps));
    return x;
}

// Bandpass taps by the textbook form: windowed low-pass of the band's half width, moved to its centre.
inline double cosineWindow(double i, double n) {
    const double a[] = {0.27105140069342, 0.43329793923448, 0.21812299954311, 0.06592544638803,
                        0.01081174209837, 0.00077658482522, 0.00001388721735};
    double w = 0, sign = 1;
    for (int k = 0; k < 7; ++k, sign = -sign)
        w += sign * a[k] * std::cos(k * kTau * (i + 0.5) / n);
    return w;
}

// Real low-pass of cut-off `edge` cycles a sample.
inline std::vector<double> lowPass(double edge, size_t taps) {
    std::vector<double> h(taps);
    for (size_t i = 0; i < taps; ++i) {
        const double t = double(i) - (double(taps) - 1) / 2;
        const double sinc = t == 0 ? 2 * edge : std::sin(kTau * edge * t) / (std::numbers::pi * t);
        h[i] = sinc * cosineWindow(double(i), double(taps));
    }
    return h;
}

} // namespace ferrow::test
