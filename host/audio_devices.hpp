// The sound devices that the library knows.
#pragma once

#include "host/library.hpp"
#include "host/transceiver.hpp"

#include <string>
#include <vector>

namespace ferrow {

struct AudioDevice {
    int value = 0;
    std::string label;
};

struct AudioDevices {
    std::vector<AudioDevice> outputs, inputs;
    // What the library can open of a choice: with nothing but "None" in the list, the default is none. Throws
    // UsageError for a device that is not in the list.
    AudioChoice usableOutput(const AudioChoice& choice) const;
    AudioChoice usableInput(const AudioChoice& choice) const;
};

// A device as the command line names it: a number of the list, "default" or "none". Throws UsageError.
AudioChoice parseAudioChoice(const std::string& text);

AudioDevices listAudioDevices(Library& library);

} // namespace ferrow
