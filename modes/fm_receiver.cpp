#include "modes/fm_receiver.hpp"

#include "trx/dsp/weighted_bandpass.hpp"

#include <cmath>

namespace ferrow {

namespace {

using Samples = buff<std::complex<float>>;

constexpr double kRate = 48000;
constexpr std::size_t kTaps = 1024;
constexpr double kPi = 3.14; // the gain is defined with it
constexpr double kLeastDeviation = 1;

// Gain 1 up to `corner`, then corner / f.
Samples deEmphasis(float low, float high, double rate, double corner) {
    return weightedBandpass(low, high, rate, kTaps, [&](std::size_t, double frequency) {
        return frequency >= corner && frequency < high ? corner / frequency : 1.0;
    });
}

} // namespace

FmReceiver::FmReceiver() : narrowFilter_(deEmphasis(300, 3000, kRate, 300)) {
    const Samples broadcast = deEmphasis(50, 15000, kRate * kBroadcastRatio, 3183);
    sumFilter_.load(broadcast);
    differenceFilter_.load(broadcast);
}

double FmReceiver::phaseStep(std::complex<float> sample) {
    const double re = sample.real(), im = sample.imag();
    const double step = std::atan2(im * lastRe_ - re * lastIm_, re * lastRe_ + im * lastIm_);
    lastRe_ = re;
    lastIm_ = im;
    return std::isfinite(step) ? step : 0; // else it would stay in the loop and the filters
}

void FmReceiver::runBroadcast() {
    for (std::size_t i = 0; i < overlapFilter::hop; ++i) {
        const auto sample = sumFilter_.input[i];
        differenceFilter_.input[i] = sample * static_cast<float>(2 * pilot_.step(sample.real()));
    }
    sumFilter_.run();
    differenceFilter_.run();
}

buff<float> FmReceiver::process(const Samples& block, int ratio, double deviation, bool stereo) {
    const auto group = static_cast<std::size_t>(ratio);
    const std::size_t size = block.size();
    if (size == 0 || overlapFilter::hop % size != 0 || size % group != 0)
        return {};
    if (ratio != lastRatio_ || position_ % size != 0) {
        lastRatio_ = ratio;
        position_ = 0;
        for (auto* filter : {&narrowFilter_, &sumFilter_, &differenceFilter_})
            filter->clear();
    }
    const double gain = std::abs(deviation) >= kLeastDeviation ? kRate / (deviation * kPi) : 0;
    const bool broadcast = ratio > 1;
    overlapFilter& filter = broadcast ? sumFilter_ : narrowFilter_;
    for (std::size_t i = 0; i < size; ++i)
        filter.input[position_ + i] = static_cast<float>(phaseStep(block[i]) * gain);
    position_ += size;
    if (position_ == overlapFilter::hop) {
        position_ = 0;
        if (broadcast)
            runBroadcast();
        else
            filter.run();
    }
    const std::size_t count = size / group;
    if (!broadcast) {
        buff<float> out(count);
        for (std::size_t i = 0; i < count; ++i)
            out[i] = filter.output[position_ + i].real();
        return out;
    }
    buff<float> out(2 * count);
    for (std::size_t i = 0; i < count; ++i) {
        const float sum = sumFilter_.output[position_ + i * group].real();
        const float difference = stereo ? differenceFilter_.output[position_ + i * group].real() : 0;
        out[2 * i] = sum - difference;
        out[2 * i + 1] = sum + difference;
    }
    return out;
}

} // namespace ferrow
