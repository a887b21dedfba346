// The devices that can play and capture, found once a process.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace ferrow {

class audioInputStream;

struct AudioOutputEntry {
    std::string name; // as shown to the user
    int device;       // PortAudio index; -1 for "None"; index + 1000 for a low-latency twin
    int sampleRate;   // 48000
};

// After its construction it is only read, by any thread.
class AudioProvider {
public:
    // Low-latency twins of an output carry its number plus this.
    static constexpr int kLowLatency = 1000;

    // Built on first use, by whichever thread comes first: enumerates the devices.
    static AudioProvider& instance();

    int defaultInput = 0;  // place in inputDeviceList
    int defaultOutput = 0; // PortAudio index
    std::vector<AudioOutputEntry> outputDeviceList;
    std::vector<std::unique_ptr<audioInputStream>> inputDeviceList;

private:
    AudioProvider();
    void enumerate();
};

} // namespace ferrow
