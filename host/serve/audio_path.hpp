// A transceiver's sound on its way to the listener.
#pragma once

#include "host/serve/frames.hpp"
#include "host/serve/half_rate.hpp"

#include <functional>
#include <memory>

namespace ferrow::serve {

inline constexpr std::uint32_t kAudioRate = 24000;

// Encodes frames of 20 ms.
class OpusCoder;

// Everything for the thread that pumps the library.
class AudioPath {
public:
    // `send` takes whole messages.
    AudioPath(int id, std::function<void(Bytes)> send);
    ~AudioPath();

    void setFormat(AudioFormat format);
    void setVolume(double volume) { volume_ = static_cast<float>(volume); } // linear
    // Closed, it fades out within a block and then sends nothing.
    void setOpen(bool open) { open_ = open; }

    // A block of the library's, 48000 samples a second.
    void take(std::span<const float> block);

private:
    void sendPcm();
    void sendOpus();
    void send(std::span<const std::uint8_t> payload, double behind);

    const int id_;
    std::function<void(Bytes)> send_;
    HalfRate halfRate_;
    std::vector<float> waiting_; // 24000 a second
    std::unique_ptr<OpusCoder> opus_;
    AudioFormat format_ = AudioFormat::Off;
    float volume_ = 0.5F;
    float gain_ = 0; // as it is now, on its way to the volume
    bool open_ = true;
    double time_ = 0; // of the last block, ms of UTC
    std::uint32_t sequence_ = 0;
};

} // namespace ferrow::serve
