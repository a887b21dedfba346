// Capture devices and their readers.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace ferrow {

// One capture device, shared by all transceivers that use it. The device's thread writes a ring of 65536
// floats and publishes (time, index) as one word; readers follow behind.
class audioInputStream {
public:
    static constexpr std::size_t kRing = 65536;

    audioInputStream(std::string name, int device, int sampleRate);
    audioInputStream(const audioInputStream&) = delete;
    audioInputStream& operator=(const audioInputStream&) = delete;
    ~audioInputStream();

    const std::string& name() const noexcept { return name_; }
    int device() const noexcept { return device_; }         // PortAudio index; -1 for "None"
    int sampleRate() const noexcept { return sampleRate_; } // 48000, or 44100

    // A user comes or goes. The first one opens the device; with the last one gone the device stops by
    // itself.
    void acquire();
    void release();
    int users() const noexcept { return users_.load(); }

    // Largest magnitude in the device's last block.
    float peak() const noexcept { return peak_.load(std::memory_order_relaxed); }

    // Whether the device runs and has captured something.
    bool started() const noexcept { return captured_.load(std::memory_order_acquire); }
    std::uint16_t writeIndex() const noexcept {
        return static_cast<std::uint16_t>(position_.load(std::memory_order_acquire));
    }
    float sample(std::uint16_t index) const noexcept { return ring_[index].load(std::memory_order_relaxed); }

    // What the device's callback does with a block: for the callback, and for tests without a device. Null
    // stands for silence. Returns false when nobody uses the stream any more.
    bool capture(const float* block, std::size_t count) noexcept;

    // An empty ring, before the first capture.
    void prepareRing();

    // What happens when the device stops, of itself or with its last user: on the device's thread.
    void finished() noexcept;

private:
    enum class Phase { Idle, Opening, Live };
    struct Device;

    void open();
    void close();
    bool stalled() const noexcept;

    std::string name_;
    int device_;
    int sampleRate_;
    std::atomic<int> users_{0};
    std::atomic<Phase> phase_{Phase::Idle}; // who leaves Idle opens the device
    std::atomic<bool> captured_{false};
    std::atomic<float> peak_{0};
    std::atomic<std::uint32_t> position_{0}; // 48 kHz ticks << 16 | write index
    std::atomic<std::int64_t> lastSign_{0};  // tick of the last capture, or of the start
    std::vector<std::atomic<float>> ring_;
    std::shared_ptr<Device> opened_; // of whoever moved the phase to Opening
};

// A transceiver's view of a capture device: 48 kHz, a little behind the device. Used from one context.
class audioInputReader {
public:
    ~audioInputReader();

    // Follows stream `id` of the provider's list from now on; an id out of range is logged and changes
    // nothing.
    void setStream(int id);
    int id() const noexcept { return id_; }

    // Whether a device is open behind it, and its present peak (0 if none).
    bool open() const noexcept;
    float peak() const noexcept;

    // Fills `block` with samples at 48000 a second, or zeroes. `now` is the present, but for tests.
    using Time = std::chrono::steady_clock::time_point;
    void read(std::span<float> block) { read(block, std::chrono::steady_clock::now()); }
    void read(std::span<float> block, Time now);

    // For tests: follows a stream that is not in the provider's list.
    void follow(audioInputStream* stream, int id);

private:
    audioInputStream* stream_ = nullptr;
    int id_ = 0;
    double pos_ = 0;
    Time lastRead_{};
    int lag_ = -2048;
};

} // namespace ferrow
