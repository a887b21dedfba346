// The library's use of PortAudio. Its calls are not safe from several threads at once, so they go through
// here, one at a time; it is initialised once and never terminated.
#pragma once

#include <portaudio.h>

#include <mutex>

namespace ferrow {

std::mutex& portAudioMutex();

// Initialises on first use, without looking at the result. The caller holds the mutex.
void usePortAudio();

// Keeps track of a running stream, so that none runs on while the process's static objects go. The caller
// holds the mutex.
void rememberStream(PaStream* stream);
void closeStream(PaStream*& stream);

} // namespace ferrow
