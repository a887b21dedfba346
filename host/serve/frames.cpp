#include "host/serve/frames.hpp"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

namespace ferrow::serve {
namespace {

static_assert(std::endian::native == std::endian::little);

constexpr std::size_t kMostSamples = 4096; // of a microphone's message
constexpr float kLeastStep = 0.05F;        // dB

// Writes numbers one behind the other.
class Writer {
public:
    explicit Writer(std::size_t size) { bytes_.reserve(size); }

    template <typename T>
    Writer& put(T value) {
        const auto* raw = reinterpret_cast<const std::uint8_t*>(&value);
        bytes_.insert(bytes_.end(), raw, raw + sizeof value);
        return *this;
    }
    Bytes& bytes() { return bytes_; }

private:
    Bytes bytes_;
};

std::uint8_t byteOf(int id) {
    return static_cast<std::uint8_t>(id);
}

} // namespace

Bytes encodeSpectrum(int id, std::uint32_t sequence, const Spectrum& spectrum, std::size_t bins) {
    const std::size_t group = spectrum.decibel.size() / bins;
    std::vector<float> values(bins);
    for (std::size_t k = 0; k < bins; ++k) {
        const auto part = spectrum.decibel.subspan(k * group, group);
        const float top = *std::max_element(part.begin(), part.end());
        values[k] = std::isfinite(top) ? std::max(top, kNoSpectrum) : kNoSpectrum;
    }
    const auto [least, most] = std::minmax_element(values.begin(), values.end());
    const float base = *least, step = std::max((*most - *least) / 255, kLeastStep);
    // Value i of the library stands for the upper edge of its part of the span.
    const double shift = spectrum.binWidth() / 2;
    Writer writer(kSpectrumHead + bins);
    writer.put(kSpectrumKind).put(byteOf(id)).put(static_cast<std::uint16_t>(bins)).put(sequence);
    writer.put(spectrum.low + shift).put(spectrum.high + shift).put(base).put(step);
    for (const float value : values)
        writer.put(static_cast<std::uint8_t>(std::clamp(std::lround((value - base) / step), 0L, 255L)));
    return std::move(writer.bytes());
}

Bytes encodeAudio(int id, AudioFormat format, std::uint32_t sequence, double time, std::uint32_t rate,
                  std::span<const std::uint8_t> payload) {
    Writer writer(kAudioHead + payload.size());
    writer.put(kAudioKind).put(byteOf(id));
    writer.put(static_cast<std::uint8_t>(format == AudioFormat::Opus ? 1 : 0)).put(std::uint8_t{0});
    writer.put(sequence).put(time).put(rate);
    writer.bytes().insert(writer.bytes().end(), payload.begin(), payload.end());
    return std::move(writer.bytes());
}

std::optional<MicrophoneFrame> readMicrophone(std::span<const std::uint8_t> message) {
    if (message.size() < kMicrophoneHead || message[0] != kMicrophoneKind || message.size() % 2 != 0 ||
        message.size() > kMicrophoneHead + 2 * kMostSamples)
        return std::nullopt;
    MicrophoneFrame frame;
    frame.id = message[1];
    std::memcpy(&frame.sequence, &message[4], sizeof frame.sequence);
    frame.samples.resize((message.size() - kMicrophoneHead) / 2);
    for (std::size_t i = 0; i < frame.samples.size(); ++i) {
        std::int16_t value = 0;
        std::memcpy(&value, &message[kMicrophoneHead + 2 * i], sizeof value);
        frame.samples[i] = static_cast<float>(value) / 32768;
    }
    return frame;
}

} // namespace ferrow::serve
