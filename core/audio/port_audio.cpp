#include "core/audio/port_audio.hpp"

#include <set>

namespace ferrow {

namespace {

std::set<PaStream*>& runningStreams() {
    static auto* streams = new std::set<PaStream*>;
    return *streams;
}

struct StreamsAtExit {
    ~StreamsAtExit() {
        const std::lock_guard lock(portAudioMutex());
        for (PaStream* stream : runningStreams())
            Pa_AbortStream(stream);
    }
};

} // namespace

std::mutex& portAudioMutex() {
    static auto* mutex = new std::mutex;
    return *mutex;
}

void usePortAudio() {
    static const PaError initialised = Pa_Initialize();
    static_cast<void>(initialised);
    static const StreamsAtExit streamsAtExit;
}

void rememberStream(PaStream* stream) {
    runningStreams().insert(stream);
}

void closeStream(PaStream*& stream) {
    if (stream == nullptr)
        return;
    runningStreams().erase(stream);
    Pa_AbortStream(stream);
    Pa_CloseStream(stream);
    stream = nullptr;
}

} // namespace ferrow
