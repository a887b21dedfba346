// The binary messages of the websocket, little-endian.
#pragma once

#include "host/serve/orders.hpp"
#include "host/spectrum.hpp"

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace ferrow::serve {

using Bytes = std::vector<std::uint8_t>;
using SharedBytes = std::shared_ptr<const Bytes>;

inline constexpr std::uint8_t kSpectrumKind = 1, kAudioKind = 2, kMicrophoneKind = 3;
inline constexpr std::size_t kSpectrumHead = 32, kAudioHead = 20, kMicrophoneHead = 8;

// A spectrum as bytes. `bins` is a power of two up to the frame's own number of values; each of them is the
// greatest of its group. Bin k belongs to low + (k + 0.5) (high - low) / bins of the message.
Bytes encodeSpectrum(int id, std::uint32_t sequence, const Spectrum& spectrum, std::size_t bins);

// `time`: milliseconds of UTC at which the last sample came from the library. Not for AudioFormat::Off.
Bytes encodeAudio(int id, AudioFormat format, std::uint32_t sequence, double time, std::uint32_t rate,
                  std::span<const std::uint8_t> payload);

// Sound of a listener's microphone.
struct MicrophoneFrame {
    int id = 0;
    std::uint32_t sequence = 0;
    std::vector<float> samples; // 48000 a second, -1 to 1
};

// Nothing if the message is none, or has no whole samples or too many of them.
std::optional<MicrophoneFrame> readMicrophone(std::span<const std::uint8_t> message);

} // namespace ferrow::serve
