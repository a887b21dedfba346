#include "host/serve/audio_path.hpp"

#include "host/failure.hpp"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <fmt/format.h>
#include <opus.h>

namespace ferrow::serve {
namespace {

constexpr std::size_t kOpusFrame = kAudioRate / 50; // 20 ms
constexpr int kBitRate = 32000, kComplexity = 5;
constexpr std::size_t kMostPacket = 1275; // bytes, by the codec's own rules

double utcMs() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration<double, std::milli>(now).count();
}

} // namespace

class OpusCoder {
public:
    OpusCoder() {
        int error = OPUS_OK;
        coder_.reset(opus_encoder_create(static_cast<int>(kAudioRate), 1, OPUS_APPLICATION_AUDIO, &error));
        if (error != OPUS_OK)
            throw Failure(fmt::format("no Opus encoder: {}", opus_strerror(error)));
        opus_encoder_ctl(coder_.get(), OPUS_SET_BITRATE(kBitRate));
        opus_encoder_ctl(coder_.get(), OPUS_SET_COMPLEXITY(kComplexity));
    }

    std::span<const std::uint8_t> encode(std::span<const float> frame) {
        const int size = opus_encode_float(coder_.get(), frame.data(), static_cast<int>(frame.size()),
                                           packet_.data(), static_cast<int>(packet_.size()));
        return std::span(packet_).first(static_cast<std::size_t>(std::max(size, 0)));
    }

private:
    struct Destroy {
        void operator()(OpusEncoder* coder) const { opus_encoder_destroy(coder); }
    };
    std::unique_ptr<OpusEncoder, Destroy> coder_;
    std::array<std::uint8_t, kMostPacket> packet_{};
};

AudioPath::AudioPath(int id, std::function<void(Bytes)> send) : id_(id), send_(std::move(send)) {}

AudioPath::~AudioPath() = default;

void AudioPath::setFormat(AudioFormat format) {
    if (format == format_)
        return;
    format_ = format;
    waiting_.clear();
    opus_.reset();
    if (format == AudioFormat::Opus)
        opus_ = std::make_unique<OpusCoder>();
}

void AudioPath::take(std::span<const float> block) {
    const float wanted = open_ ? volume_ : 0;
    if (format_ == AudioFormat::Off || (wanted == 0 && gain_ == 0)) {
        gain_ = 0;
        waiting_.clear();
        return;
    }
    time_ = utcMs();
    const std::size_t before = waiting_.size();
    halfRate_.process(block, waiting_);
    const auto fresh = std::span(waiting_).subspan(before);
    const float step = fresh.empty() ? 0 : (wanted - gain_) / static_cast<float>(fresh.size());
    for (float& sample : fresh) {
        gain_ += step;
        sample = std::isfinite(sample) ? std::clamp(sample * gain_, -1.0F, 1.0F) : 0;
    }
    gain_ = wanted;
    if (format_ == AudioFormat::Pcm)
        sendPcm();
    else
        sendOpus();
}

void AudioPath::sendPcm() {
    // No message is longer than 20 ms, whatever the library's blocks.
    for (std::size_t at = 0; at < waiting_.size(); at += kOpusFrame) {
        const auto part = std::span(waiting_).subspan(at, std::min(kOpusFrame, waiting_.size() - at));
        std::array<std::int16_t, kOpusFrame> words{};
        std::ranges::transform(part, words.begin(),
                               [](float x) { return static_cast<std::int16_t>(std::lround(x * 32767)); });
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(words.data());
        send({bytes, 2 * part.size()}, static_cast<double>(waiting_.size() - at - part.size()));
    }
    waiting_.clear();
}

void AudioPath::sendOpus() {
    std::size_t at = 0;
    for (; waiting_.size() - at >= kOpusFrame; at += kOpusFrame)
        if (const auto packet = opus_->encode(std::span(waiting_).subspan(at, kOpusFrame)); !packet.empty())
            send(packet, static_cast<double>(waiting_.size() - at - kOpusFrame));
    waiting_.erase(waiting_.begin(), waiting_.begin() + static_cast<std::ptrdiff_t>(at));
}

// `behind`: samples that came after the payload's last one.
void AudioPath::send(std::span<const std::uint8_t> payload, double behind) {
    send_(encodeAudio(id_, format_, sequence_++, time_ - 1000 * behind / kAudioRate, kAudioRate, payload));
}

} // namespace ferrow::serve
