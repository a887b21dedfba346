// The library's use of PortAudio. Its calls are not safe from several threads at once, so they go through
// here, one at a time; it is initialised once and never terminated.
#pragma once

#include <portaudio.h>

#include <atomic>
#include <memory>
#include <mutex>

namespace ferrow {

std::mutex& portAudioMutex();

// Initialises on first use, without looking at the result. The caller holds the mutex.
void usePortAudio();

// A stream and its end; shared with whoever closes it. But for `enter`, the caller holds the mutex.
class SoundStream {
public:
    SoundStream() = default;
    SoundStream(const SoundStream&) = delete;
    SoundStream& operator=(const SoundStream&) = delete;

    PaError open(const PaStreamParameters* input, const PaStreamParameters* output, double sampleRate,
                 unsigned long frames, PaStreamCallback* callback, void* user);
    PaError start();
    bool isOpen() const noexcept { return stream_ != nullptr; }
    PaStream* get() const noexcept { return stream_; }

    // Ends an open stream and what it plays or captures, within a quarter of a second. One whose device does
    // not answer is closed later, by a thread of its own that keeps `stream` until then.
    static void close(const std::shared_ptr<SoundStream>& stream);

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
