// The library's use of PortAudio. Its calls are not safe from several threads at once, so they go through
// here, one at a time; it is initialised once and never terminated.
#pragma once

#include <portaudio.h>

#include <atomic>
#include <mutex>

namespace ferrow {

std::mutex& portAudioMutex();

// Initialises on first use, without looking at the result. The caller holds the mutex.
void usePortAudio();

// A stream and its end. But for `enter`, the caller holds the mutex.
class SoundStream {
public:
    SoundStream() = default;
    SoundStream(const SoundStream&) = delete;
    SoundStream& operator=(const SoundStream&) = delete;
    ~SoundStream() { close(); }

    PaError open(const PaStreamParameters* input, const PaStreamParameters* output, double sampleRate,
                 unsigned long frames, PaStreamCallback* callback, void* user);
    PaError start();
    bool isOpen() const noexcept { return stream_ != nullptr; }
    PaStream* get() const noexcept { return stream_; }

    // Returns when no callback runs any more.
    void close();

    // Seconds that the open stream's device holds.
    double outputLatency() const noexcept;

    // For the callback, first thing. False: the stream is to be closed, or the process leaves, and the
    // callback returns paAbort. The first call gives its thread priority where the limits allow it.
    bool enter() noexcept;

private:
    PaStream* stream_ = nullptr;
    std::atomic<bool> closing_{false};
    bool entered_ = false;
};

} // namespace ferrow
