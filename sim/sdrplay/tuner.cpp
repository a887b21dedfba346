#include "sim/sdrplay/tuner.hpp"

#include "sim/decibel.hpp"

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>

namespace ferrow::sim::rsp {

namespace {

constexpr double kFullScale = 32768.0;
constexpr double kFullGain = 90.0; ///< dB, with no reduction at all
constexpr int kLnaStep = 3;        ///< dB
constexpr double kLowIfSampling = 6e6, kLowIfOutput = 2e6;
constexpr int kLowIf = 1620;

} // namespace

double TunerModel::make(const Setting& setting, std::span<const CarrierEntry> carriers, double seconds,
                        std::span<short> xi, std::span<short> xq) {
    const std::size_t count = xi.size();
    re_.assign(count, 0.0f);
    im_.assign(count, 0.0f);
    double sum = 0;
    const double reach = std::min(setting.bandwidth, setting.rate) / 2;
    for (const CarrierEntry& carrier : carriers) {
        const double offset = carrier.frequency - setting.rfHz;
        if (std::abs(offset) >= reach)
            continue;
        const double amplitude = amplitudeFromDb(carrier.level + setting.gainDb);
        sum += amplitude;
        double cycles = offset * seconds;
        cycles -= std::floor(cycles);
        std::complex<double> phasor =
            std::polar(amplitude * kFullScale,
                       2 * std::numbers::pi * cycles + setting.phaseDegrees * std::numbers::pi / 180);
        const std::complex<double> step = std::polar(1.0, 2 * std::numbers::pi * offset / setting.rate);
        for (std::size_t i = 0; i < count; ++i) {
            re_[i] += static_cast<float>(phasor.real());
            im_[i] += static_cast<float>(phasor.imag());
            phasor *= step;
        }
    }
    const auto quantise = [this](float value) {
        random_ = random_ * 1664525u + 1013904223u;
        const float noise = static_cast<float>(random_ >> 8) * 0x1p-24f - 0.5f;
        return static_cast<short>(std::clamp(std::lround(value + noise), -32767L, 32767L));
    };
    for (std::size_t i = 0; i < count; ++i) {
        xi[i] = quantise(re_[i]);
        xq[i] = quantise(im_[i]);
    }
    return sum;
}

void TunerModel::convert(std::span<const Cfloat> samples, double gainDb, std::span<short> xi,
                         std::span<short> xq) {
    const auto scale = static_cast<float>(amplitudeFromDb(gainDb) * kFullScale);
    const auto* data = reinterpret_cast<const float*>(samples.data());
    const auto quantise = [scale](float value) {
        const float limited = std::clamp(value * scale, -32767.0f, 32767.0f);
        return static_cast<short>(static_cast<int>(limited + std::copysign(0.5f, limited)));
    };
    for (std::size_t i = 0; i < samples.size(); ++i) {
        xi[i] = quantise(data[2 * i]);
        xq[i] = quantise(data[2 * i + 1]);
    }
}

double outputRate(const DevParamsT& device, const ChannelT& channel) {
    if (channel.ifType == kLowIf && device.fsHz == kLowIfSampling)
        return kLowIfOutput;
    const int factor = channel.decimationEnable != 0 ? std::max<int>(channel.decimationFactor, 1) : 1;
    return device.fsHz / factor;
}

int lnaReduction(const ChannelT& channel) {
    return kLnaStep * channel.LNAstate;
}

double totalGain(const ChannelT& channel) {
    return kFullGain - channel.gRdB - lnaReduction(channel);
}

int lastLnaState(unsigned char hwVer) {
    switch (hwVer) {
    case Rsp1:
        return 3;
    case Rsp2:
        return 8;
    case RspDx:
        return 27;
    default:
        return 9;
    }
}

} // namespace ferrow::sim::rsp
