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

// A stream and its end. But for `wanted`, the caller holds the mutex.
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

    // For the callback, which returns paAbort as soon as this is false: the stream is to be closed, or the
    // process leaves.
    bool wanted() const noexcept;

private:
    PaStream* stream_ = nullptr;
    std::atomic<bool> closing_{false};
};

} // namespace ferrow
