#include "sim/sky/synth.hpp"

#include "sim/decibel.hpp"
#include "sim/sky/shape.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ferrow::sim {
namespace {

constexpr double kTurn = 2.0 * std::numbers::pi;

Cfloat phasor(double turns) {
    const double angle = kTurn * (turns - std::floor(turns));
    return {static_cast<float>(std::cos(angle)), static_cast<float>(std::sin(angle))};
}

/// out[i] *= e^(j 2 pi (turns + i * step)), restarted from double precision every 64 samples.
void rotate(std::span<Cfloat> out, double turns, double step) {
    constexpr std::size_t kRun = 64;
    float re[kRun];
    float im[kRun];
    for (std::size_t i = 0; i < kRun; ++i) {
        const Cfloat p = phasor(static_cast<double>(i) * step);
        re[i] = p.real();
        im[i] = p.imag();
    }
    for (std::size_t at = 0; at < out.size(); at += kRun) {
        const Cfloat start = phasor(turns + static_cast<double>(at) * step);
        const float sr = start.real();
        const float si = start.imag();
        auto* data = reinterpret_cast<float*>(out.data() + at);
        const std::size_t count = std::min(kRun, out.size() - at);
        for (std::size_t i = 0; i < count; ++i) {
            const float pr = sr * re[i] - si * im[i];
            const float pi = sr * im[i] + si * re[i];
            const float x = data[2 * i];
            const float y = data[2 * i + 1];
            data[2 * i] = x * pr - y * pi;
            data[2 * i + 1] = x * pi + y * pr;
        }
    }
}

} // namespace

struct Synth::Voice {
    std::shared_ptr<const Station> station;
    double frequency; // where the ADC sees it, in units of the radio's own clock
    bool mirrored;
    std::int64_t bin;
    double residual;
    int factor;
    int reach; // bins -reach to reach are laid
    Fourier transform;
    std::vector<float> shape;
    std::vector<Cfloat> laid; // 2 reach + 1 shaped bins of this block
    float amplitude = 0.0f;

    Voice(std::shared_ptr<const Station> who, double clockPpm, double nyquist)
        : station(std::move(who)), factor(station->rateFactor()), reach(factor * kHop + 8),
          transform(kTransform * factor, Fourier::Direction::Forward),
          shape(lowPassShape(kBaseRate * factor / 2.0, reach + 1)),
          laid(static_cast<std::size_t>(2 * reach + 1)) {
        const double seen = station->frequency() / (1.0 + clockPpm * 1e-6);
        const double zone = std::floor(seen / nyquist);
        mirrored = std::fmod(zone, 2.0) != 0.0;
        frequency = seen - zone * nyquist;
        if (mirrored)
            frequency = nyquist - frequency;
        bin = std::llround(frequency / kBin);
        residual = frequency - static_cast<double>(bin) * kBin;
    }
};

struct Synth::Channel {
    int rate;
    Fourier transform;
    NoiseSource noise;
    std::size_t length;
    std::size_t samples;      // in a block
    std::vector<float> shape; // response of the receiver's own filter, by distance from its centre

    Channel(int sampleRate, std::uint64_t seed)
        : rate(sampleRate), transform(rate / kBaseRate * kTransform, Fourier::Direction::Inverse),
          noise(seed), length(static_cast<std::size_t>(rate / kBaseRate * kTransform)), samples(length / 2),
          shape(lowPassShape(rate / 2.0 - 700.0, rate / kBaseRate * kHop + 1)) {}
    std::span<Cfloat> block() { return transform.data().last(samples); }
};

Synth::Synth(std::shared_ptr<const Sky> sky, double clockPpm, double adcClock)
    : sky_(std::move(sky)), wideNoise_(hashOf(sky_->seed, 0xADC)), adcClock_(adcClock) {
    for (const auto& station : sky_->stations)
        voices_.push_back(std::make_unique<Voice>(station, clockPpm, adcClock / 2.0));
}

Synth::~Synth() = default;

void Synth::configure(std::span<const int> rates) {
    channels_.resize(rates.size());
    source_.resize(rates.size());
    for (std::size_t r = 0; r < rates.size(); ++r) {
        source_[r] = static_cast<int>(r);
        if (rates[r] == 0)
            channels_[r].reset();
        else if (!channels_[r] || channels_[r]->rate != rates[r])
            channels_[r] = std::make_unique<Channel>(rates[r], hashOf(sky_->seed, 1000 + r));
    }
}

void Synth::configure(int receivers, int rate) {
    configure(std::vector<int>(static_cast<std::size_t>(receivers), rate));
}

int Synth::blockSamples(int receiver) const {
    const auto& channel = channels_[static_cast<std::size_t>(receiver)];
    return channel ? static_cast<int>(channel->samples) : 0;
}

void Synth::transformStations(const SkyTime& time, std::int64_t block) {
    // The interpolation delays by half a block; reading the station that much ahead takes it out again.
    const std::int64_t first = (block - 1) * kHop + kHop / 2;
    static constexpr Cfloat kDelay[4] = {{1, 0}, {0, -1}, {-1, 0}, {0, 1}};
    for (auto& voice : voices_) {
        auto data = voice->transform.data();
        voice->station->render(time, first * voice->factor, data);
        float largest = 0.0f;
        for (const Cfloat& x : data)
            largest = std::max(largest, std::norm(x));
        voice->amplitude = std::sqrt(largest);
        if (voice->amplitude == 0.0f)
            continue;
        if (voice->mirrored)
            for (Cfloat& x : data)
                x = std::conj(x);
        const double step = voice->residual / (kBaseRate * voice->factor);
        rotate(data, voice->residual * static_cast<double>(first) / kBaseRate, step);
        voice->transform.run();
        const int bins = static_cast<int>(data.size());
        const float scale = 1.0f / static_cast<float>(bins);
        for (int j = -voice->reach; j <= voice->reach; ++j)
            voice->laid[static_cast<std::size_t>(j + voice->reach)] =
                data[static_cast<std::size_t>((j + 2 * bins) % bins)] *
                kDelay[static_cast<unsigned>(j) & 3u] *
                (voice->shape[static_cast<std::size_t>(std::abs(j))] * scale);
    }
}

void Synth::layStation(const Voice& voice, Channel& channel, std::int64_t block, std::int64_t centreBin,
                       Cfloat weight) {
    const auto bins = static_cast<std::int64_t>(channel.length);
    const std::int64_t offset = voice.bin - centreBin;
    if ((offset * (block - 1)) & 1)
        weight = -weight;
    auto spectrum = channel.transform.data();
    if (voice.factor == 1) {
        // a narrow station that straddles the edge comes back at the other one, as in any decimator
        if (std::abs(offset) > bins / 2)
            return;
        for (int j = -voice.reach; j <= voice.reach; ++j)
            spectrum[static_cast<std::size_t>((offset + j + bins) & (bins - 1))] +=
                weight * voice.laid[static_cast<std::size_t>(j + voice.reach)];
        return;
    }
    const bool inside = std::abs(offset) + voice.reach < bins / 2;
    const std::int64_t low = std::max<std::int64_t>(-voice.reach, -bins / 2 - offset);
    const std::int64_t high = std::min<std::int64_t>(voice.reach, bins / 2 - 1 - offset);
    for (std::int64_t j = low; j <= high; ++j) {
        const std::int64_t at = offset + j;
        const float edge = inside ? 1.0f : channel.shape[static_cast<std::size_t>(std::abs(at))];
        spectrum[static_cast<std::size_t>((at + bins) & (bins - 1))] +=
            weight * edge * voice.laid[static_cast<std::size_t>(j + voice.reach)];
    }
}

void Synth::makeBlock(const SkyTime& time, std::int64_t block, std::span<const ReceiverSetting> settings,
                      double gainDb) {
    const auto gain = static_cast<float>(amplitudeFromDb(gainDb));
    const double density = sky_->noise ? powerFromDb(sky_->noiseFloorDb + gainDb) : 0.0;
    transformStations(time, block);
    peak_ = 4.0f * static_cast<float>(std::sqrt(density * adcClock_ / 4.0));
    for (const auto& voice : voices_)
        peak_ += gain * voice->amplitude;

    for (std::size_t r = 0; r < channels_.size(); ++r) {
        const ReceiverSetting setting = r < settings.size() ? settings[r] : ReceiverSetting{};
        const bool shared = setting.copyOf >= 0 && setting.copyOf < static_cast<int>(r);
        source_[r] = shared ? source_[static_cast<std::size_t>(setting.copyOf)] : static_cast<int>(r);
        if (channels_[r] && !shared)
            makeChannel(*channels_[r], block, setting, gainDb + setting.gainDb);
    }
}

void Synth::makeChannel(Channel& channel, std::int64_t block, const ReceiverSetting& setting, double gainDb) {
    const double turn = sky_->adc1PhaseDegrees / 360.0;
    const auto gain = static_cast<float>(amplitudeFromDb(gainDb));
    const Cfloat second = gain * static_cast<float>(amplitudeFromDb(sky_->adc1GainDb)) * phasor(-turn);
    const double density = sky_->noise ? powerFromDb(sky_->noiseFloorDb + gainDb) : 0.0;
    const auto sigma = static_cast<float>(std::sqrt(density * channel.rate / 2.0));

    const std::int64_t bin = std::llround(setting.frequency / kBin);
    const double residual = setting.frequency - static_cast<double>(bin) * kBin;
    auto spectrum = channel.transform.data();
    std::fill(spectrum.begin(), spectrum.end(), Cfloat{});
    for (const auto& voice : voices_)
        if (voice->amplitude > 0.0f)
            layStation(*voice, channel, block, bin, (setting.adc & 1) ? second : Cfloat{gain, 0.0f});
    channel.transform.run();
    auto out = channel.block();
    rotate(out, -residual * static_cast<double>(block * kHop) / kBaseRate, -residual / channel.rate);
    if (!setting.reversed)
        for (Cfloat& x : out)
            x = std::conj(x);
    if (sigma > 0.0f)
        channel.noise.add(out, sigma);
}

std::span<const Cfloat> Synth::samples(int receiver) const {
    const int source = source_[static_cast<std::size_t>(receiver)];
    return channels_[static_cast<std::size_t>(source)]->block();
}

void Synth::makeWideband(const SkyTime& time, std::int64_t baseSample, double gainDb, std::span<float> out) {
    const double gain = amplitudeFromDb(gainDb);
    std::fill(out.begin(), out.end(), 0.0f);
    for (const auto& voice : voices_) {
        Cfloat now{};
        voice->station->render(time, baseSample * voice->factor, {&now, 1});
        const double amplitude = gain * static_cast<double>(std::abs(now));
        if (amplitude == 0.0)
            continue;
        const double step = kTurn * voice->frequency / adcClock_;
        const auto dice =
            hashOf(static_cast<std::uint64_t>(baseSample), static_cast<std::uint64_t>(voice->bin));
        const double start = kTurn * 0x1p-53 * static_cast<double>(dice >> 11);
        // cos(a + n d) by its own recurrence; thousands of steps lose nothing that 16 bits could show
        double before = amplitude * std::cos(start - step);
        double value = amplitude * std::cos(start);
        const double twice = 2.0 * std::cos(step);
        for (float& x : out) {
            x += static_cast<float>(value);
            const double after = twice * value - before;
            before = value;
            value = after;
        }
    }
    if (sky_->noise) {
        const double density = powerFromDb(sky_->noiseFloorDb + gainDb);
        wideNoise_.addReal(out, static_cast<float>(std::sqrt(density * adcClock_ / 4.0)));
    }
}

} // namespace ferrow::sim
