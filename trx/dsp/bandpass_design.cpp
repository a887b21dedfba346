#include "trx/dsp/bandpass_design.hpp"

#include "core/fft/fft.hpp"
#include "trx/dsp/window.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace ferrow {
namespace {

using cf = std::complex<float>;
using cd = std::complex<double>;

// Pi as single precision has it; the filters are defined with it.
constexpr double kPi = 3.1415927f;
constexpr double kTwoPi = 6.2831855f;
constexpr size_t kCepstrumPoints = 32768;

} // namespace

buff<cf> designBandpass(float low, float high, double rate, size_t taps, size_t length, FilterWindow window) {
    buff<cf> result(length, cf(0));
    const double l = low / rate, h = high / rate;
    const double half = (h - l) / 2, c = kPi * (h + l);
    const double m = (static_cast<double>(taps) - 1) / 2;
    const auto put = [&](size_t index, cd value) {
        if (index < length)
            result[index] = cf(value);
    };
    if (taps % 2 == 1)
        put(taps / 2, {2 * half, 0});
    for (size_t k = (taps + 1) / 2; k < taps; ++k) {
        const double t = static_cast<double>(k) - m;
        const double w = window == FilterWindow::SevenTerm ? sevenTermWindow(k, taps) : 1.0;
        const double a = std::sin(kTwoPi * half * t) / (kPi * t) * w;
        const cd tap(a * std::cos(-t * c), a * std::sin(-t * c));
        put(k, tap);
        put(taps - 1 - k, std::conj(tap));
    }
    return result;
}

buff<cf> minimumPhase(const buff<cf>& taps) {
    constexpr size_t n = kCepstrumPoints;
    // In double precision: the phase is a sum over logarithms of magnitudes that differ by 10^6 and more.
    std::vector<cd> spectrum(n), work(n);
    std::copy_n(taps.begin(), std::min(taps.size(), n), work.begin());
    fft::forward(work.data(), spectrum.data(), n);
    std::vector<double> magnitude(n);
    for (size_t i = 0; i < n; ++i) {
        magnitude[i] = std::abs(spectrum[i]) / n;
        work[i] = std::log(std::max(magnitude[i], std::numeric_limits<double>::min()));
    }
    fft::forward(work.data(), spectrum.data(), n);
    spectrum[0] *= 1.0 / n;
    spectrum[n / 2] *= 1.0 / n;
    for (size_t i = 1; i < n / 2; ++i)
        spectrum[i] *= 2.0 / n;
    std::fill(spectrum.begin() + n / 2 + 1, spectrum.end(), cd(0));
    fft::inverse(spectrum.data(), work.data(), n);
    for (size_t i = 0; i < n; ++i) {
        const double phase = work[i].imag();
        spectrum[i] = {magnitude[i] * std::cos(phase), -magnitude[i] * std::sin(phase)};
    }
    fft::inverse(spectrum.data(), work.data(), n);
    buff<cf> result(taps.size(), cf(0));
    for (size_t i = 0; i < std::min(taps.size(), n); ++i)
        result[i] = cf(work[i]);
    return result;
}

} // namespace ferrow
