// Which devices can play and which can capture at the rates that the audio chains want.
#pragma once

#include "core/audio/audio_provider.hpp"

#include <memory>
#include <string>
#include <vector>

namespace ferrow {

// What the enumeration asks of a sound system.
class SoundSystem {
public:
    virtual ~SoundSystem() = default;

    struct Device {
        std::string name;
        int inputChannels = 0;
        int outputChannels = 0;
    };

    virtual int deviceCount() = 0; // negative: an error code
    virtual Device device(int index) = 0;
    virtual int defaultInput() = 0;
    virtual int defaultOutput() = 0;
    // One captured, or two played, channels of 32-bit floats at the device's low latency.
    virtual bool captures(int index, int sampleRate) = 0;
    virtual bool plays(int index, int sampleRate) = 0;
};

struct DeviceLists {
    int defaultInput = 0;  // place in `inputs`
    int defaultOutput = 0; // device index
    std::vector<AudioOutputEntry> outputs;
    std::vector<std::unique_ptr<audioInputStream>> inputs;
};

DeviceLists enumerateDevices(SoundSystem& system);

} // namespace ferrow
