// The sound devices that the library knows.
#pragma once

#include "host/library.hpp"

#include <string>
#include <vector>

namespace ferrow {

struct AudioDevice {
    int value = 0;
    std::string label;
};

struct AudioDevices {
    std::vector<AudioDevice> outputs, inputs;
    bool hasOutput(int value) const;
};

AudioDevices listAudioDevices(Library& library);

} // namespace ferrow
