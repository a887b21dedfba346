#include "core/audio/device_lists.hpp"

#include "core/audio/audio_input.hpp"
#include "core/tasks/log.hpp"

namespace ferrow {

namespace {

constexpr int kRate = 48000;
constexpr int kSecondRate = 44100; // for captures only

void addOutput(SoundSystem& system, int index, const std::string& name, DeviceLists& lists) {
    if (!system.plays(index, kRate)) {
        logInfo("Pa op format not supported {}", name);
        return;
    }
    lists.outputs.push_back({name, index, kRate});
    logInfo("Pa op format supported {}", name);
    if (index == system.defaultOutput())
        lists.defaultOutput = index;
}

void addInput(SoundSystem& system, int index, const std::string& name, DeviceLists& lists) {
    int rate = kRate;
    if (!system.captures(index, rate) && !system.captures(index, rate = kSecondRate)) {
        logInfo("Pa ip format not supported {}", name);
        return;
    }
    lists.inputs.push_back(std::make_unique<audioInputStream>(name, index, rate));
    logInfo("Pa ip format supported {}", name);
    if (index == system.defaultInput())
        lists.defaultInput = static_cast<int>(lists.inputs.size()) - 1;
}

} // namespace

DeviceLists enumerateDevices(SoundSystem& system) {
    DeviceLists lists;
    lists.outputs.push_back({"None", -1, kRate});
    lists.inputs.push_back(std::make_unique<audioInputStream>("None", -1, kRate));
    const int count = system.deviceCount();
    if (count < 0)
        logError("ERROR: Pa_CountDevices returned {}", count);
    logInfo("AudioProvider::enumerate {}", count);
    for (int i = 0; i < count; ++i) {
        const SoundSystem::Device device = system.device(i);
        if (device.outputChannels > 0)
            addOutput(system, i, device.name, lists);
        if (device.inputChannels > 0)
            addInput(system, i, device.name, lists);
    }
    const std::size_t real = lists.outputs.size();
    for (std::size_t i = 1; i < real; ++i) {
        const AudioOutputEntry entry = lists.outputs[i];
        lists.outputs.push_back({entry.name + "-L", entry.device + AudioProvider::kLowLatency, kRate});
    }
    return lists;
}

} // namespace ferrow
