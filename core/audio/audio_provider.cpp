#include "core/audio/audio_provider.hpp"

#include "core/audio/audio_input.hpp"
#include "core/audio/device_lists.hpp"
#include "core/audio/port_audio.hpp"

namespace ferrow {

namespace {

class PortAudioSystem : public SoundSystem {
public:
    int deviceCount() override { return Pa_GetDeviceCount(); }

    Device device(int index) override {
        const PaDeviceInfo* info = Pa_GetDeviceInfo(index);
        if (info == nullptr)
            return {};
        return {info->name, info->maxInputChannels, info->maxOutputChannels};
    }

    int defaultInput() override { return Pa_GetDefaultInputDevice(); }
    int defaultOutput() override { return Pa_GetDefaultOutputDevice(); }

    bool captures(int index, int sampleRate) override {
        const auto parameters = format(index, 1, Pa_GetDeviceInfo(index)->defaultLowInputLatency);
        return Pa_IsFormatSupported(&parameters, nullptr, sampleRate) == paFormatIsSupported;
    }

    bool plays(int index, int sampleRate) override {
        const auto parameters = format(index, 2, Pa_GetDeviceInfo(index)->defaultLowOutputLatency);
        return Pa_IsFormatSupported(nullptr, &parameters, sampleRate) == paFormatIsSupported;
    }

private:
    static PaStreamParameters format(int index, int channels, double latency) {
        PaStreamParameters parameters{};
        parameters.device = index;
        parameters.channelCount = channels;
        parameters.sampleFormat = paFloat32;
        parameters.suggestedLatency = latency;
        return parameters;
    }
};

} // namespace

// Never destroyed: transceivers may still hold capture devices while the process leaves.
AudioProvider& AudioProvider::instance() {
    static auto* provider = new AudioProvider;
    return *provider;
}

AudioProvider::AudioProvider() {
    enumerate();
}

void AudioProvider::enumerate() {
    const std::lock_guard lock(portAudioMutex());
    usePortAudio();
    PortAudioSystem system;
    DeviceLists lists = enumerateDevices(system);
    defaultInput = lists.defaultInput;
    defaultOutput = lists.defaultOutput;
    outputDeviceList = std::move(lists.outputs);
    inputDeviceList = std::move(lists.inputs);
}

} // namespace ferrow
