// Between a transceiver's blocks and a sound device: a ring that follows the device's clock.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace ferrow {

// Ticks of 48 kHz since an arbitrary point of the monotonic clock.
std::int64_t audioTicks() noexcept;

// One writer (a transceiver's context) and one reader (the device's callback). The ring holds 65536 stereo
// frames; both sides share only a word of a 16-bit read index and a 16-bit time. Times are ticks of 48 kHz.
class AudioRing {
public:
    static constexpr std::size_t kFrames = 65536;

    static constexpr double kTarget = 512;

    explicit AudioRing(double target = kTarget);

    // The writer, while no reader runs: an empty ring. `target` stays.
    void reset();

    // The writer, while no reader runs: frames that the device holds besides the buffer that it asks for. It
    // catches up on that many after a late callback, so that less is no pause. Default 0; stays.
    void setDeviceLatency(std::size_t frames) noexcept { deviceLatency_ = frames; }

    // The writer. Takes mono samples, or interleaved left and right (a last odd sample is ignored).
    void write(std::span<const float> block, bool useResampler, bool stereo, std::int64_t now) noexcept;

    // The reader: fills `out` with `frames` interleaved frames and zeroes them here. After a pause of more
    // than 2.5 of the device's buffers it leaves out what should have been played meanwhile.
    void read(float* out, std::size_t frames, std::int64_t now) noexcept;

    // For tests and statistics; the writer's thread.
    double target() const noexcept { return target_; } // frames that the writer keeps ahead
    double ratio() const noexcept { return ratio_; }   // output samples for an input sample
    int skipBlocks() const noexcept { return skipBlocks_; }
    std::uint16_t writeIndex() const noexcept { return write_; }

    // Frames between the device's estimated position and the writer's.
    int fill(std::int64_t now) const noexcept;

private:
    static constexpr std::size_t kMeanBlocks = 1000;

    void feedMean(double level) noexcept;
    void follow(bool useResampler, std::int64_t now) noexcept;
    std::uint16_t estimatedRead(std::int64_t now) const noexcept;
    void put(float left, float right) noexcept;
    void skip(std::int64_t frames) noexcept;

    std::vector<std::atomic<float>> ring_;   // interleaved
    std::atomic<std::uint32_t> position_{0}; // time << 16 | read index

    // The writer's.
    std::uint16_t write_ = 0;
    int skipBlocks_ = 0;
    bool primed_ = false;
    int resyncs_ = 0;
    double target_;
    double ratio_ = 1.0;
    double integral_ = 0;
    double fraction_ = 0;
    float lastLeft_ = 0, lastRight_ = 0;
    std::array<double, kMeanBlocks> levels_{};
    std::size_t levelCount_ = 0, levelPlace_ = 0;
    double levelSum_ = 0;

    // The reader's.
    std::size_t deviceLatency_ = 0;
    std::uint16_t read_ = 0;
    std::int64_t lastCall_ = 0;
    bool called_ = false;
};

} // namespace ferrow
