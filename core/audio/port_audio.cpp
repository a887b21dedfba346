#include "core/audio/port_audio.hpp"

#include "core/audio/sound_messages.hpp"
#include "core/tasks/realtime.hpp"

#include <chrono>
#include <set>
#include <thread>
#include <utility>

namespace ferrow {

namespace {

constexpr auto kLongestGoodbye = std::chrono::milliseconds(250); // for a device that calls no more

std::atomic<bool> processLeaves{false};

std::set<PaStream*>& runningStreams() {
    static auto* streams = new std::set<PaStream*>;
    return *streams;
}

bool waitUntilInactive(PaStream* stream, std::chrono::steady_clock::time_point end) {
    while (Pa_IsStreamActive(stream) == 1) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

// No callback may look for objects while the process's static ones go.
struct StreamsAtExit {
    ~StreamsAtExit() {
        const std::lock_guard lock(portAudioMutex());
        processLeaves.store(true, std::memory_order_release);
        const auto end = std::chrono::steady_clock::now() + kLongestGoodbye;
        for (PaStream* stream : runningStreams())
            if (waitUntilInactive(stream, end))
                Pa_AbortStream(stream); // only joins its thread
    }
};

} // namespace

std::mutex& portAudioMutex() {
    static auto* mutex = new std::mutex;
    return *mutex;
}

void usePortAudio() {
    static const PaError initialised = [] {
        takeSoundMessages();
        return Pa_Initialize();
    }();
    static_cast<void>(initialised);
    static const StreamsAtExit streamsAtExit;
}

PaError SoundStream::open(const PaStreamParameters* input, const PaStreamParameters* output,
                          double sampleRate, unsigned long frames, PaStreamCallback* callback, void* user) {
    const PaError error =
        Pa_OpenStream(&stream_, input, output, sampleRate, frames, paNoFlag, callback, user);
    if (error != paNoError)
        stream_ = nullptr;
    return error;
}

PaError SoundStream::start() {
    const PaError error = Pa_StartStream(stream_);
    if (error == paNoError)
        runningStreams().insert(stream_);
    return error;
}

// Aborting cancels the callback's thread wherever it waits, also where it holds a lock of the sound server's
// client, on which the rest would wait for ever. So the callback is asked to leave first, and a device that
// calls no more may keep only a thread of its own waiting.
void SoundStream::close(const std::shared_ptr<SoundStream>& stream) {
    if (!stream || !stream->isOpen())
        return;
    PaStream* closed = std::exchange(stream->stream_, nullptr);
    stream->closing_.store(true, std::memory_order_release);
    runningStreams().erase(closed);
    if (waitUntilInactive(closed, std::chrono::steady_clock::now() + kLongestGoodbye)) {
        Pa_CloseStream(closed);
        return;
    }
    std::thread([stream, closed] {
        Pa_AbortStream(closed);
        const std::lock_guard lock(portAudioMutex());
        Pa_CloseStream(closed);
    }).detach();
}

double SoundStream::outputLatency() const noexcept {
    const PaStreamInfo* info = Pa_GetStreamInfo(stream_);
    return info != nullptr ? info->outputLatency : 0;
}

bool SoundStream::enter() noexcept {
    if (processLeaves.load(std::memory_order_acquire) || closing_.load(std::memory_order_acquire))
        return false;
    if (!entered_) {
        entered_ = true;
        enterRealtimeClass(RealtimeLevel::Comms);
    }
    return true;
}

} // namespace ferrow
