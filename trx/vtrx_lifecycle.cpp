#include "core/audio/audio_provider.hpp"
#include "trx/dsp/bandpass_design.hpp"
#include "trx/dsp/window.hpp"
#include "trx/hertz.hpp"
#include "trx/radio.hpp"
#include "trx/vtrx.hpp"

#include <algorithm>

namespace ferrow {

vtrx::vtrx(std::shared_ptr<syncTask> context)
    : asyncObject(std::move(context)), specBuffer_(kSpectrum, 0.0f), specScratch_(kSpectrum, 0.0f),
      specResult_(kSpectrum, 0.0f), specWindow_(sevenTermWindow(kSpectrum)),
      wideWindow_(sevenTermWindow(kSpectrum)), averageSum_(kSpectrum, 0.0f), txIn_(kBlock, 0.0f),
      txMicrophone_(kBlock, 0.0f) {}

vtrx::~vtrx() = default;

void vtrx::create() {
    rxagc.set(std::make_shared<agc>(context()));
    txagc.set(std::make_shared<agc>(context()));
    txagc.value()->Volume.set(0);
    modeAgc_ = std::make_shared<agc>(context());
    rxFilter_ = overlapFilter();
    rxFilter_.load(designBandpass(-3000, 3000, 48000, kFilterTaps, kFilterTaps));
    txFilter_ = overlapFilter();
    txFilter_.load(designBandpass(-3000, 6000, 48000, kFilterTaps, kFilterTaps));
    const AudioProvider& devices = AudioProvider::instance();
    audioOutput.set(devices.defaultOutput);
    audioInput.set(devices.defaultInput);
    updateSpecFreq();
    bindHandlers();
    specCentre_ = boundedHertz(specFreq.value());
}

void vtrx::bindHandlers() {
    ptt.changed = [this] { setPtt(); };
    vfo.changed = [this] {
        setRxFrequency(vfo.value());
        updateSpecFreq();
        if (mode_)
            mode_->setFrequency(vfo.value());
    };
    specOffset.changed = [this] { updateSpecFreq(); };
    audioOutput.changed = [this] { openOutput(); };
    audioInput.changed = [this] { openInput(); };
    muted.changed = [this] {
        openOutput();
        openInput();
    };
    ADCs.changed = [this] { setRxFrequency(vfo.value()); };
    DelayAudio.changed = [this] { changeDelayAudio(); };
    specZoom.changed = [this] { specPos_ = 0; };
}

void vtrx::updateSpecFreq() {
    specFreq.set(boundedHertz(vfo.value()) + boundedHertz(specOffset.value()));
}

void vtrx::openOutput() {
    audioOut_.open(running_ && !muted.value() ? audioOutput.value() : -1);
}

void vtrx::openInput() {
    micIn_.setStream(running_ && !muted.value() ? audioInput.value() : 0);
}

void vtrx::changeDelayAudio() {
    delayLine_ = DelayAudio.value() ? buff<float>(kDelayLine, 0.0f) : buff<float>();
    delayPos_ = 0;
    delayFilled_ = false;
}

void vtrx::start() {
    running_ = true;
    openOutput();
    openInput();
}

void vtrx::stop() {
    running_ = false;
    openOutput();
    openInput();
}

void vtrx::remove() {
    stop();
    if (const auto owner = radio.lock()) {
        auto self = std::static_pointer_cast<vtrx>(shared_from_this());
        owner->queueSeqItem(seqTask("radio.removeVtrx", [owner, self] { owner->removeVtrx(self); }));
    }
}

void vtrx::setRxFrequency(long long frequency) {
    if (const auto owner = radio.lock()) {
        auto self = std::static_pointer_cast<vtrx>(shared_from_this());
        owner->queueSeqItem(seqTask("radio.setRxFrequency", [owner, self, frequency, mask = ADCs.value()] {
            owner->setRxFrequency(frequency, *self, mask);
        }));
    }
}

void vtrx::setModulation(std::shared_ptr<modDemod> mode) {
    if (mode_)
        mode_->unlinkFrom(*this);
    mode_ = std::move(mode);
    // What the old mode has keyed, nobody would release.
    sidetone().fromKey.store(false, std::memory_order_release);
    sidetone().fromMode.store(false, std::memory_order_release);
    if (!mode_)
        return;
    mode_->linkTo(std::static_pointer_cast<vtrx>(shared_from_this()));
    mode_->init();
}

void vtrx::setRxFilter(int low, int high) {
    const int rate = mode_ ? mode_->sampleRate() : 48000;
    auto taps =
        designBandpass(static_cast<float>(low), static_cast<float>(high), rate, kFilterTaps, kFilterTaps);
    if (mode_ && mode_->minimumPhase)
        taps = minimumPhase(taps);
    rxFilter_.load(taps);
    if (mode_)
        mode_->setRxFilter(low, high);
    filterLow = low;
    filterHigh = high;
}

void vtrx::setTxFilter(int low, int high) {
    txFilter_.load(
        designBandpass(static_cast<float>(low), static_cast<float>(high), 48000, kFilterTaps, kFilterTaps));
    if (mode_)
        mode_->setTxFilter(low, high);
}

void vtrx::postPtt() {
    if (const auto owner = radio.lock()) {
        auto self = std::static_pointer_cast<vtrx>(shared_from_this());
        owner->queueSeqItem(seqTask("radio.setPtt", [owner, self] { owner->setPtt(*self); }));
    }
}

} // namespace ferrow
