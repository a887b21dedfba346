#include "core/audio/audio_input.hpp"

#include "core/audio/audio_provider.hpp"
#include "core/audio/audio_ring.hpp"
#include "core/audio/port_audio.hpp"
#include "core/tasks/log.hpp"

#include <algorithm>
#include <cmath>

namespace ferrow {

namespace {

constexpr int kFarthestBehind = -16384; // samples: beyond this the reader starts again
constexpr int kLargestLag = -8192;
constexpr std::int64_t kStalled = 48000; // ticks without a sign of life
constexpr auto kIdle = std::chrono::milliseconds(101);

} // namespace

// One opening of the device.
struct audioInputStream::Device {
    explicit Device(audioInputStream& opener) : owner(opener) {}

    audioInputStream& owner;
    SoundStream stream;

    static int callback(const void* input, void*, unsigned long frames, const PaStreamCallbackTimeInfo*,
                        PaStreamCallbackFlags, void* self) {
        auto& device = *static_cast<Device*>(self);
        if (!device.stream.enter())
            return paAbort;
        return device.owner.capture(static_cast<const float*>(input), frames) ? paContinue : paComplete;
    }

    static void finishedCallback(void* self) {
        auto& device = *static_cast<Device*>(self);
        if (device.stream.enter())
            device.owner.finished();
    }
};

audioInputStream::audioInputStream(std::string name, int device, int sampleRate)
    : name_(std::move(name)), device_(device), sampleRate_(sampleRate) {}

audioInputStream::~audioInputStream() {
    close();
}

void audioInputStream::close() {
    if (!opened_)
        return;
    const std::lock_guard lock(portAudioMutex());
    SoundStream::close({opened_, &opened_->stream});
}

void audioInputStream::acquire() {
    users_.fetch_add(1);
    if (device_ < 0)
        return;
    Phase phase = Phase::Idle;
    if (phase_.compare_exchange_strong(phase, Phase::Opening) ||
        (phase == Phase::Live && stalled() && phase_.compare_exchange_strong(phase, Phase::Opening)))
        open();
}

// A device that gives no sign of life does not notice that it is to stop.
void audioInputStream::release() {
    if (users_.fetch_sub(1) > 1 || !stalled())
        return;
    Phase live = Phase::Live;
    if (!phase_.compare_exchange_strong(live, Phase::Opening))
        return;
    close();
    phase_.store(Phase::Idle);
    Phase idle = Phase::Idle;
    if (users() > 0 && phase_.compare_exchange_strong(idle, Phase::Opening))
        open();
}

// A device that was lost does not always tell.
bool audioInputStream::stalled() const noexcept {
    return audioTicks() - lastSign_.load(std::memory_order_acquire) > kStalled;
}

void audioInputStream::prepareRing() {
    position_.store(0, std::memory_order_release);
    if (ring_.empty())
        ring_ = std::vector<std::atomic<float>>(kRing);
    for (auto& value : ring_)
        value.store(0, std::memory_order_relaxed);
}

void audioInputStream::open() {
    logInfo("pa_start {}", name_);
    close();
    captured_.store(false, std::memory_order_release);
    prepareRing();
    opened_ = std::make_shared<Device>(*this);
    SoundStream& stream = opened_->stream;
    const std::lock_guard lock(portAudioMutex());
    usePortAudio();
    PaStreamParameters parameters{};
    parameters.device = device_;
    parameters.channelCount = 1;
    parameters.sampleFormat = paFloat32;
    if (const PaDeviceInfo* info = Pa_GetDeviceInfo(device_))
        parameters.suggestedLatency = info->defaultLowInputLatency;
    PaError error = stream.open(&parameters, nullptr, sampleRate_, paFramesPerBufferUnspecified,
                                Device::callback, opened_.get());
    if (error != paNoError) {
        logError("pa_openstream failed {} {} {}", name_, device_, error);
        phase_.store(Phase::Idle);
        return;
    }
    error = Pa_SetStreamFinishedCallback(stream.get(), Device::finishedCallback);
    if (error != paNoError)
        logError("Pa_SetStreamFinishedCallback failed {} {} {}", name_, device_, error);
    lastSign_.store(audioTicks(), std::memory_order_release);
    phase_.store(Phase::Live);
    error = stream.start();
    if (error != paNoError) {
        logError("pa_startstream failed {} {} {}", name_, device_, error);
        SoundStream::close({opened_, &stream});
        phase_.store(Phase::Idle);
        return;
    }
    logInfo("pa_startstream started");
}

void audioInputStream::finished() noexcept {
    captured_.store(false, std::memory_order_release);
    Phase live = Phase::Live;
    phase_.compare_exchange_strong(live, Phase::Idle);
}

bool audioInputStream::capture(const float* block, std::size_t count) noexcept {
    std::uint16_t index = writeIndex();
    float peak = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const float value = block != nullptr ? block[i] : 0.0f;
        peak = std::max(peak, std::abs(value));
        ring_[index++].store(value, std::memory_order_relaxed);
    }
    peak_.store(peak, std::memory_order_relaxed);
    const std::int64_t now = audioTicks();
    lastSign_.store(now, std::memory_order_release);
    const auto time = static_cast<std::uint16_t>(now);
    position_.exchange(static_cast<std::uint32_t>(time) << 16 | index, std::memory_order_acq_rel);
    captured_.store(true, std::memory_order_release);
    if (users() > 0)
        return true;
    // A user may come at this very moment: either he finds the device idle and opens it anew, or it goes on.
    Phase expected = Phase::Live;
    phase_.compare_exchange_strong(expected, Phase::Idle);
    if (users() == 0)
        return false;
    expected = Phase::Idle;
    return phase_.compare_exchange_strong(expected, Phase::Live);
}

audioInputReader::~audioInputReader() {
    if (stream_ != nullptr)
        stream_->release();
}

void audioInputReader::setStream(int id) {
    logInfo("set stream id {} {}", id, id_);
    const auto& streams = AudioProvider::instance().inputDeviceList;
    if (id < 0 || static_cast<std::size_t>(id) >= streams.size()) {
        logWarn("Invalid audio stream id {}", id);
        return;
    }
    if (id != id_)
        follow(streams[static_cast<std::size_t>(id)].get(), id);
}

void audioInputReader::follow(audioInputStream* stream, int id) {
    if (stream_ != nullptr)
        stream_->release();
    stream_ = stream;
    id_ = id;
    if (stream_ != nullptr)
        stream_->acquire();
}

bool audioInputReader::open() const noexcept {
    return stream_ != nullptr && stream_->started();
}

float audioInputReader::peak() const noexcept {
    return open() ? stream_->peak() : 0.0f;
}

void audioInputReader::read(std::span<float> block, Time now) {
    if (!open()) {
        std::fill(block.begin(), block.end(), 0.0f);
        return;
    }
    const std::uint16_t write = stream_->writeIndex();
    const auto gap =
        static_cast<std::int16_t>(static_cast<std::uint16_t>(static_cast<std::uint16_t>(pos_) - write));
    const bool idle = now - lastRead_ >= kIdle;
    const bool tooFew = -gap < static_cast<int>(block.size());
    if (tooFew || gap < kFarthestBehind || idle) {
        pos_ = static_cast<std::uint16_t>(write + lag_);
        if (tooFew && !idle)
            lag_ = std::max(lag_ * 3 / 2, kLargestLag);
    }
    const double step = stream_->sampleRate() / 48000.0;
    for (float& value : block) {
        const auto index = static_cast<std::uint16_t>(pos_);
        const auto share = static_cast<float>(pos_ - index);
        const float here = stream_->sample(index);
        value = here + share * (stream_->sample(static_cast<std::uint16_t>(index + 1)) - here);
        pos_ += step;
        if (pos_ >= audioInputStream::kRing)
            pos_ -= audioInputStream::kRing;
    }
    lastRead_ = now;
}

} // namespace ferrow
