// A sound file as a microphone, by way of the sound server.
#pragma once

#include "host/audio_devices.hpp"
#include "host/child_process.hpp"

#include <optional>
#include <string>

namespace ferrow {

// The library's microphones are capture devices. A file becomes one as follows: a sink of its own is made in
// the sound server (PulseAudio, or PipeWire in its place), the file is played there, and this process
// captures what the sink plays. The sink goes with this object; it stays in the server if the process is
// killed.
class SoundLoop {
public:
    // Makes the sink. Before the library, which must find it: it sets $PULSE_SOURCE for this process. Throws
    // Failure where the file cannot be read or there is no sound server.
    explicit SoundLoop(std::string file);
    ~SoundLoop();
    SoundLoop(const SoundLoop&) = delete;
    SoundLoop& operator=(const SoundLoop&) = delete;

    // The input device that leads to the sound server. Throws Failure if there is none.
    int input(const AudioDevices& devices) const;

    // Plays the file, once.
    void play();
    bool playing();

private:
    std::string file_, control_, player_, sink_, module_;
    std::optional<ChildProcess> playing_;
};

} // namespace ferrow
