#include "trx/dsp/weighted_bandpass.hpp"

#include "core/fft/fft.hpp"
#include "trx/dsp/bandpass_design.hpp"
#include "trx/dsp/window.hpp"

namespace ferrow {

buff<std::complex<float>> weightedBandpass(float low, float high, double rate, std::size_t taps,
                                           const BinWeight& weight) {
    const auto spectrum = fft::forward(designBandpass(low, high, rate, taps, taps, FilterWindow::None));
    const auto n = static_cast<double>(taps);
    for (std::size_t i = 0; i < taps; ++i) {
        const double place = static_cast<double>(i) * rate / n;
        const double frequency = i < taps / 2 ? -place : rate - place;
        spectrum[i] *= static_cast<float>(weight(i, frequency) / n);
    }
    const auto result = fft::inverse(spectrum);
    multiplyByWindow(result.data(), sevenTermWindow(taps).data(), result.data(), taps);
    return result;
}

} // namespace ferrow
