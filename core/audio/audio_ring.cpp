#include "core/audio/audio_ring.hpp"

#include <algorithm>
#include <chrono>

namespace ferrow {

namespace {

constexpr int kSettlingBlocks = 32;
constexpr int kFullest = 16384; // frames
constexpr double kLargestTarget = 8192;
constexpr int kPatience = 3;          // resyncs before the writer jumps
constexpr double kPauseBuffers = 2.5; // a longer gap between callbacks is a pause of the device

} // namespace

std::int64_t audioTicks() noexcept {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    const auto ns = std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
    return ns / 125000 * 6 + ns % 125000 * 6 / 125000;
}

AudioRing::AudioRing(double target) : ring_(2 * kFrames), target_(target) {
    reset();
}

void AudioRing::reset() {
    for (auto& value : ring_)
        value.store(0, std::memory_order_relaxed);
    position_.store(0, std::memory_order_release);
    write_ = static_cast<std::uint16_t>(kFrames);
    skipBlocks_ = kSettlingBlocks;
    primed_ = false;
    resyncs_ = 0;
    ratio_ = 1.0;
    integral_ = 0;
    fraction_ = 0;
    lastLeft_ = lastRight_ = 0;
    levelCount_ = levelPlace_ = 0;
    levelSum_ = 0;
    read_ = 0;
    called_ = false;
}

void AudioRing::feedMean(double level) noexcept {
    if (levelCount_ < kMeanBlocks)
        ++levelCount_;
    else
        levelSum_ -= levels_[levelPlace_];
    levels_[levelPlace_] = level;
    levelSum_ += level;
    levelPlace_ = (levelPlace_ + 1) % kMeanBlocks;
}

std::uint16_t AudioRing::estimatedRead(std::int64_t now) const noexcept {
    const std::uint32_t word = position_.load(std::memory_order_acquire);
    const auto elapsed = static_cast<std::uint16_t>(static_cast<std::uint16_t>(now) - (word >> 16));
    return static_cast<std::uint16_t>(word + elapsed);
}

int AudioRing::fill(std::int64_t now) const noexcept {
    return static_cast<std::int16_t>(static_cast<std::uint16_t>(write_ - estimatedRead(now)));
}

void AudioRing::follow(bool useResampler, std::int64_t now) noexcept {
    const int level = fill(now);
    if (level >= 0 && level <= kFullest && primed_) {
        resyncs_ = 0;
    } else {
        primed_ = true;
        if (level < 0) {
            if (target_ < kLargestTarget)
                target_ = target_ * 10 / 9;
            ++resyncs_;
        }
        if (!useResampler || level > kFullest || resyncs_ > kPatience)
            write_ = static_cast<std::uint16_t>(estimatedRead(now) + static_cast<int>(target_));
    }
    if (!useResampler) {
        ratio_ = 1.0;
        return;
    }
    feedMean(level);
    const double error = target_ - levelSum_ / static_cast<double>(levelCount_);
    integral_ = std::clamp(integral_ + error, -1e7, 1e7);
    ratio_ = std::clamp(0.1 * (1 + error * 1e-6) + 0.9 * ratio_, 0.997, 1.003);
}

void AudioRing::put(float left, float right) noexcept {
    const std::size_t at = 2 * static_cast<std::size_t>(write_++);
    ring_[at].store(left, std::memory_order_relaxed);
    ring_[at + 1].store(right, std::memory_order_relaxed);
}

void AudioRing::write(std::span<const float> block, bool useResampler, bool stereo,
                      std::int64_t now) noexcept {
    if (skipBlocks_ > 0) {
        --skipBlocks_;
        feedMean(target_);
        return;
    }
    follow(useResampler, now);
    const std::size_t channels = stereo ? 2 : 1;
    const std::size_t frames = block.size() / channels;
    if (frames == 0)
        return;
    const auto left = [&](std::size_t i) { return i == 0 ? lastLeft_ : block[(i - 1) * channels]; };
    const auto right = [&](std::size_t i) { return i == 0 ? lastRight_ : block[i * channels - 1]; };
    const double step = 1 / ratio_;
    double x = fraction_;
    for (; x < static_cast<double>(frames); x += step) {
        const auto i = static_cast<std::size_t>(x);
        const auto share = static_cast<float>(x - static_cast<double>(i));
        put(left(i) + share * (left(i + 1) - left(i)), right(i) + share * (right(i + 1) - right(i)));
    }
    fraction_ = x - static_cast<double>(frames);
    const float lastLeft = left(frames), lastRight = right(frames);
    lastLeft_ = lastLeft;
    lastRight_ = lastRight;
}

// What is skipped must not come back when the reader has gone round the ring.
void AudioRing::skip(std::int64_t frames) noexcept {
    const auto end = static_cast<std::uint16_t>(read_ + frames);
    for (auto left = std::min(frames, static_cast<std::int64_t>(kFrames)); left > 0; --left) {
        const std::size_t at = 2 * static_cast<std::size_t>(read_++);
        ring_[at].store(0, std::memory_order_relaxed);
        ring_[at + 1].store(0, std::memory_order_relaxed);
    }
    read_ = end;
}

void AudioRing::read(float* out, std::size_t frames, std::int64_t now) noexcept {
    if (called_ && frames > 0) {
        const auto buffer = static_cast<double>(frames + deviceLatency_);
        const double gap = static_cast<double>(now - lastCall_) / buffer;
        if (gap > kPauseBuffers)
            skip(static_cast<std::int64_t>((gap - 1) * buffer));
    }
    called_ = true;
    lastCall_ = now;
    for (std::size_t i = 0; i < frames; ++i) {
        const std::size_t at = 2 * static_cast<std::size_t>(read_++);
        out[2 * i] = ring_[at].load(std::memory_order_relaxed);
        out[2 * i + 1] = ring_[at + 1].load(std::memory_order_relaxed);
        ring_[at].store(0, std::memory_order_relaxed);
        ring_[at + 1].store(0, std::memory_order_relaxed);
    }
    position_.store(static_cast<std::uint32_t>(static_cast<std::uint16_t>(now)) << 16 | read_,
                    std::memory_order_release);
}

} // namespace ferrow
