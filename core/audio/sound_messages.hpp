// What the sound libraries below PortAudio print.
#pragma once

namespace ferrow {

// From now on the ALSA and JACK libraries of this process, where they are loaded, talk to the log at level
// trace instead of to the error stream: they report every device that a machine lacks.
void takeSoundMessages();

} // namespace ferrow
