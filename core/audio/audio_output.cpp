#include "core/audio/audio_output.hpp"

#include "core/audio/audio_provider.hpp"
#include "core/audio/audio_ring.hpp"
#include "core/audio/port_audio.hpp"
#include "core/tasks/log.hpp"

#include <algorithm>
#include <utility>

namespace ferrow {

namespace {

constexpr double kSampleRate = 48000.0;
constexpr unsigned long kLowLatencyFrames = 128;
constexpr double kLargestLatency = 16384; // frames

} // namespace

struct audioOutput::State {
    State(double target, std::shared_ptr<const Sidetone> tone) : ring(target), sidetone(std::move(tone)) {}

    AudioRing ring;
    std::shared_ptr<const Sidetone> sidetone;
    SidetoneVoice voice;
    SoundStream stream;
    int id = -1;

    static int callback(const void*, void* output, unsigned long frames, const PaStreamCallbackTimeInfo*,
                        PaStreamCallbackFlags, void* self) {
        auto& state = *static_cast<State*>(self);
        auto* out = static_cast<float*>(output);
        if (!state.stream.enter()) {
            std::fill_n(out, 2 * frames, 0.0f);
            return paAbort;
        }
        state.ring.read(out, frames, audioTicks());
        state.voice.apply(*state.sidetone, out, frames);
        return paContinue;
    }
};

audioOutput::audioOutput() : sidetone_(std::make_shared<Sidetone>()) {}

audioOutput::~audioOutput() {
    close();
}

void audioOutput::close() {
    if (!state_)
        return;
    const std::lock_guard lock(portAudioMutex());
    SoundStream::close({state_, &state_->stream});
}

int audioOutput::id() const noexcept {
    return state_ ? state_->id : -1;
}

bool audioOutput::isOpen() const noexcept {
    return state_ && state_->stream.isOpen();
}

const AudioRing* audioOutput::ring() const noexcept {
    return state_ ? &state_->ring : nullptr;
}

void audioOutput::open(int id) {
    if (!state_ && id < 0)
        return;
    close();
    state_ = std::make_shared<State>(state_ ? state_->ring.target() : AudioRing::kTarget, sidetone_);
    state_->id = id;
    if (id < 0)
        return;
    const std::lock_guard lock(portAudioMutex());
    usePortAudio();
    const bool lowLatency = id >= AudioProvider::kLowLatency;
    PaStreamParameters parameters{};
    parameters.device = lowLatency ? id - AudioProvider::kLowLatency : id;
    parameters.channelCount = 2;
    parameters.sampleFormat = paFloat32;
    const PaDeviceInfo* info = Pa_GetDeviceInfo(parameters.device);
    if (info == nullptr) {
        logError("pa_openstream failed {}", static_cast<int>(paInvalidDevice));
        return;
    }
    parameters.suggestedLatency = lowLatency ? 0 : info->defaultLowOutputLatency;
    PaError error = state_->stream.open(nullptr, &parameters, kSampleRate,
                                        lowLatency ? kLowLatencyFrames : paFramesPerBufferUnspecified,
                                        State::callback, state_.get());
    if (error != paNoError) {
        logError("pa_openstream failed {}", error);
        return;
    }
    state_->ring.setDeviceLatency(static_cast<std::size_t>(
        std::clamp(state_->stream.outputLatency() * kSampleRate, 0.0, kLargestLatency)));
    error = state_->stream.start();
    if (error != paNoError) {
        logError("pa_startstream failed {}", error);
        SoundStream::close({state_, &state_->stream});
    }
}

void audioOutput::write(const buff<float>& block, bool useResampler, bool stereo) noexcept {
    if (isOpen())
        state_->ring.write(block.span(), useResampler, stereo, audioTicks());
}

} // namespace ferrow
