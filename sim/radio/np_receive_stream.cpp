#include "sim/radio/np_receive_stream.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace ferrow::sim {
namespace {

constexpr std::size_t kRecord = 6;

/// Where the sky is heard by a receiver whose oscillator stands at `hertz` of the radio's clock.
ReceiverSetting tuned(double hertz) {
    ReceiverSetting setting;
    setting.frequency = std::fmod(hertz, p2::kAdcClock);
    // beyond half the clock an oscillator turns backwards, and nothing folds the band for it
    setting.reversed = setting.frequency > p2::kAdcClock / 2.0;
    if (setting.reversed)
        setting.frequency = p2::kAdcClock - setting.frequency;
    return setting;
}

/// Writes I and Q of 24 bits each, saturated, to `at`, which has two bytes of room behind them.
void writeRecords(std::uint8_t* at, std::span<const Cfloat> samples, float scale) {
    static constexpr float kLimit = 8388607.0f;
    const auto word = [](float x) {
        const auto value = static_cast<std::uint32_t>(std::lrint(std::clamp(x, -kLimit, kLimit)));
        return __builtin_bswap32(value << 8);
    };
    for (const Cfloat& x : samples) {
        const std::uint32_t re = word(x.real() * scale);
        const std::uint32_t im = word(x.imag() * scale);
        std::memcpy(at, &re, 4);
        std::memcpy(at + 3, &im, 4);
        at += kRecord;
    }
}

} // namespace

NpReceiveStream::NpReceiveStream(std::shared_ptr<const Sky> sky, double clockPpm, WireScale scale,
                                 bool fixedGain)
    : synth_(std::move(sky), clockPpm, p2::kAdcClock), scale_(scale), fixedGain_(fixedGain) {}

void NpReceiveStream::begin(const std::array<int, p2::kMaxReceivers>& rates, const SkyTime& time,
                            std::int64_t firstBlock) {
    for (std::size_t r = 0; r < rates.size(); ++r) {
        if (rates_[r] == 0)
            sequence_[r] = 0;
        waiting_[r] = {};
    }
    rates_ = rates;
    synth_.configure(rates_);
    time_ = time;
    block_ = firstBlock;
}

double NpReceiveStream::gainDb(const NpControl& control, int adc) const {
    // attenuators of five bits
    return fixedGain_ ? 0.0 : -static_cast<double>(control.high.attenuator[adc & 1] & 31);
}

void NpReceiveStream::makeBlock(const NpControl& control) {
    std::array<ReceiverSetting, p2::kMaxReceivers> settings;
    for (std::size_t r = 0; r < settings.size(); ++r) {
        const std::uint32_t word = control.high.receiverWord[r];
        const int adc = control.ddc.receivers[r].adc & 1;
        settings[r] = tuned(p2::frequencyOf(word, control.general));
        settings[r].adc = adc;
        settings[r].gainDb = gainDb(control, adc) - gainDb(control, 0);
        for (std::size_t q = 0; q < r && settings[r].copyOf < 0; ++q)
            if (rates_[q] == rates_[r] && rates_[q] != 0 && control.high.receiverWord[q] == word &&
                (control.ddc.receivers[q].adc & 1) == adc)
                settings[r].copyOf = static_cast<int>(q);
    }
    synth_.makeBlock(time_, block_, settings, gainDb(control, 0));
    overload_ = synth_.peak() > 1.0f;
    ++block_;
    for (std::size_t r = 0; r < settings.size(); ++r) {
        if (rates_[r] == 0)
            continue;
        auto& [bytes, read] = waiting_[r];
        bytes.erase(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(read));
        read = 0;
        const std::size_t before = bytes.size();
        if (settings[r].copyOf >= 0) {
            const auto& source = waiting_[static_cast<std::size_t>(settings[r].copyOf)].bytes;
            const auto count =
                static_cast<std::ptrdiff_t>(kRecord) * synth_.blockSamples(static_cast<int>(r));
            bytes.insert(bytes.end(), source.end() - count, source.end());
            continue;
        }
        const auto samples = synth_.samples(static_cast<int>(r));
        bytes.resize(before + kRecord * samples.size() + 2);
        writeRecords(bytes.data() + before, samples, scale_.iq());
        bytes.resize(bytes.size() - 2);
    }
}

void NpReceiveStream::buildIq(int receiver, NpIqPacket& out, const NpControl& control) {
    const auto r = static_cast<std::size_t>(receiver);
    auto& [bytes, read] = waiting_[r];
    constexpr std::size_t kWanted = kRecord * p2::kIqRecords;
    while (bytes.size() - read < kWanted)
        makeBlock(control);
    p2::writeIqHeader(out, sequence_[r]++);
    std::copy_n(bytes.data() + read, kWanted, out.data() + 16);
    read += kWanted;
}

std::span<const std::uint8_t> NpReceiveStream::wideband(std::size_t samples, const NpControl& control) {
    wide_.resize(samples);
    wideBytes_.resize(2 * samples);
    synth_.makeWideband(time_, block_ * Synth::kHop, gainDb(control, 0), wide_);
    const float limit = scale_.wide();
    for (std::size_t i = 0; i < samples; ++i) {
        const auto word = static_cast<std::uint16_t>(
            static_cast<std::int16_t>(std::lrint(std::clamp(wide_[i] * limit, -limit, limit - 1.0f))));
        wideBytes_[2 * i] = static_cast<std::uint8_t>(word >> 8);
        wideBytes_[2 * i + 1] = static_cast<std::uint8_t>(word);
    }
    return wideBytes_;
}

} // namespace ferrow::sim
