#include "sim/sdrplay/sky_source.hpp"

#include "sim/decibel.hpp"
#include "sim/sky/fourier.hpp"

#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>
#include <string>

namespace ferrow::sim::rsp {
namespace {

constexpr double kTurn = 2.0 * std::numbers::pi;
constexpr int kHop = 96; // base samples in a block
constexpr int kTransform = 2 * kHop;
constexpr double kBin = static_cast<double>(kBaseRate) / kTransform; // 62.5 Hz
constexpr int kGuardBins = 12; // beyond the edge of a station's baseband, where its low-pass ends

Cfloat phasor(double turns) {
    const double angle = kTurn * (turns - std::floor(turns));
    return {static_cast<float>(std::cos(angle)), static_cast<float>(std::sin(angle))};
}

/// Response of the low-pass that brings a baseband of `factor` times the base rate up, at the bins from 0 on:
/// as long as a block, Kaiser window for 110 dB (beta by 0.1102 (A - 8.7)), -6 dB at the baseband's edge.
std::vector<float> interpolator(int factor, int bins) {
    constexpr double kBeta = 11.1;
    constexpr int kOversampling = 8;
    const int reach = kHop / 2 * factor * kOversampling;
    const double cut = 0.5 / kOversampling; // of the sampling rate below
    std::vector<double> taps(static_cast<std::size_t>(reach) + 1);
    for (int n = 0; n <= reach; ++n) {
        const double t = static_cast<double>(n) / reach;
        const double window =
            std::cyl_bessel_i(0.0, kBeta * std::sqrt(1.0 - t * t)) / std::cyl_bessel_i(0.0, kBeta);
        const double x = std::numbers::pi * 2.0 * cut * n;
        taps[static_cast<std::size_t>(n)] = window * 2.0 * cut * (n == 0 ? 1.0 : std::sin(x) / x);
    }
    std::vector<float> response(static_cast<std::size_t>(bins));
    for (int k = 0; k < bins; ++k) {
        const double step = kTurn * k * kBin / (kBaseRate * factor * kOversampling);
        double sum = taps[0];
        for (int n = 1; n <= reach; ++n)
            sum += 2.0 * taps[static_cast<std::size_t>(n)] * std::cos(step * n);
        response[static_cast<std::size_t>(k)] = static_cast<float>(sum);
    }
    return response;
}

} // namespace

struct SkySource::Voice {
    std::shared_ptr<const Station> station;
    double frequency; // in units of the device's own clock
    int factor;
    int reach; // bins -reach to reach are laid
    std::vector<float> shape;
    std::vector<Cfloat> baseband;
    Fourier transform;
    bool silent = true;

    Voice(std::shared_ptr<const Station> who, double clockPpm)
        : station(std::move(who)), frequency(station->frequency() / (1.0 + clockPpm * 1e-6)),
          factor(station->rateFactor()), reach(factor * kHop + kGuardBins),
          shape(interpolator(factor, reach + 1)), baseband(static_cast<std::size_t>(factor * kTransform)),
          transform(factor * kTransform, Fourier::Direction::Forward) {}
};

struct SkySource::Channel {
    Fourier transform;
    NoiseSource noise;
    float peak = 0.0f;

    Channel(std::size_t bins, std::uint64_t seed)
        : transform(static_cast<int>(bins), Fourier::Direction::Inverse), noise(seed) {}
};

SkySource::SkySource(std::shared_ptr<const Sky> sky, double clockPpm)
    : sky_(std::move(sky)), clockPpm_(clockPpm) {
    for (const auto& station : sky_->stations)
        voices_.push_back(std::make_unique<Voice>(station, clockPpm));
}

SkySource::~SkySource() = default;

void SkySource::begin(double utc) {
    time_.trueRate = kBaseRate * (1.0 + clockPpm_ * 1e-6);
    time_.utcOfZero = utc;
    block_ = -1;
    position_ = blockSamples_ = 0;
    rate_ = 0.0;
}

void SkySource::set(double rate, const std::array<Tuner, 2>& tuners) {
    if (rate == rate_ && tuners == tuners_)
        return;
    const auto samples = static_cast<std::size_t>(rate * kHop / kBaseRate);
    if (samples == 0)
        return;
    for (std::size_t i = 0; i < 2; ++i) {
        if (!tuners[i].on)
            channels_[i].reset();
        else if (!channels_[i] || samples != blockSamples_)
            channels_[i] = std::make_unique<Channel>(2 * samples, hashOf(sky_->seed, 2000 + i));
    }
    // The place within the block stays.
    if (blockSamples_ != 0)
        position_ = position_ * samples / blockSamples_;
    const bool inside = blockSamples_ != 0 && position_ < samples;
    rate_ = rate;
    tuners_ = tuners;
    blockSamples_ = samples;
    if (!inside)
        position_ = blockSamples_;
    else
        makeBlock();
}

std::size_t SkySource::available() {
    if (position_ == blockSamples_) {
        ++block_;
        position_ = 0;
        makeBlock();
    }
    return blockSamples_ - position_;
}

std::span<const Cfloat> SkySource::next(int tuner, std::size_t count) const {
    return channels_[static_cast<std::size_t>(tuner)]->transform.data().subspan(blockSamples_ + position_,
                                                                                count);
}

float SkySource::peak(int tuner) const {
    const auto& channel = channels_[static_cast<std::size_t>(tuner)];
    return channel ? channel->peak : 0.0f;
}

void SkySource::lay(Voice& voice, Channel& channel, Cfloat weight) {
    const Tuner& tuner = tuners_[&channel == channels_[1].get()];
    const auto edge = static_cast<std::int64_t>(std::min(tuner.bandwidth, rate_) / 2.0 / kBin);
    const double offset = voice.frequency - tuner.rfHz;
    const auto bin = static_cast<std::int64_t>(std::llround(offset / kBin));
    if (std::abs(bin) - voice.reach > edge)
        return;
    // The interpolation delays by half a block, for which the baseband was read ahead.
    const double residual = offset - static_cast<double>(bin) * kBin;
    const std::int64_t first = (block_ - 1) * kHop + kHop / 2;
    const double start = residual * static_cast<double>(first) / kBaseRate;
    const double step = residual / (kBaseRate * voice.factor);
    auto data = voice.transform.data();
    for (std::size_t i = 0; i < data.size(); ++i)
        data[i] = voice.baseband[i] * phasor(start + static_cast<double>(i) * step);
    voice.transform.run();

    static constexpr Cfloat kDelay[4] = {{1, 0}, {0, -1}, {-1, 0}, {0, 1}};
    const auto bins = static_cast<std::int64_t>(data.size());
    const auto length = static_cast<std::int64_t>(channel.transform.data().size());
    weight *= 1.0f / static_cast<float>(bins);
    if ((bin * (block_ - 1)) & 1)
        weight = -weight;
    auto spectrum = channel.transform.data();
    const std::int64_t low = std::max<std::int64_t>(-voice.reach, -edge - bin);
    const std::int64_t high = std::min<std::int64_t>(voice.reach, std::min(edge, length / 2 - 1) - bin);
    for (std::int64_t j = low; j <= high; ++j)
        spectrum[static_cast<std::size_t>((bin + j + length) % length)] +=
            weight * voice.shape[static_cast<std::size_t>(std::abs(j))] *
            kDelay[static_cast<std::uint64_t>(j) & 3u] *
            data[static_cast<std::size_t>((j + 2 * bins) % bins)];
}

void SkySource::makeBlock() {
    for (auto& voice : voices_) {
        const std::int64_t first = (block_ - 1) * kHop + kHop / 2;
        voice->station->render(time_, first * voice->factor, voice->baseband);
        voice->silent = std::all_of(voice->baseband.begin(), voice->baseband.end(),
                                    [](const Cfloat& x) { return x == Cfloat{}; });
    }
    const Cfloat second =
        static_cast<float>(amplitudeFromDb(sky_->adc1GainDb)) * phasor(sky_->adc1PhaseDegrees / 360.0);
    const double density = sky_->noise ? powerFromDb(sky_->noiseFloorDb) : 0.0;
    for (std::size_t i = 0; i < 2; ++i) {
        if (!channels_[i])
            continue;
        Channel& channel = *channels_[i];
        auto spectrum = channel.transform.data();
        std::fill(spectrum.begin(), spectrum.end(), Cfloat{});
        for (auto& voice : voices_)
            if (!voice->silent)
                lay(*voice, channel, i == 1 ? second : Cfloat{1.0f, 0.0f});
        channel.transform.run();
        auto out = spectrum.last(blockSamples_);
        if (density > 0.0)
            channel.noise.add(out, static_cast<float>(std::sqrt(density * rate_ / 2.0)));
        float largest = 0.0f;
        for (const Cfloat& x : out)
            largest = std::max(largest, x.real() * x.real() + x.imag() * x.imag());
        channel.peak = std::sqrt(largest);
    }
}

} // namespace ferrow::sim::rsp
