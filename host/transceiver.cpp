#include "host/transceiver.hpp"

#include "host/arrays.hpp"

#include <algorithm>
#include <ferrowcore/agc.h>
#include <ferrowcore/modes.h>
#include <ferrowcore/vtrx.h>
#include <vector>

namespace ferrow {

namespace {

// signalStrength is ten times the logarithm of ten times the peak power.
constexpr double kStrengthOffset = -10;

constexpr int kNoOutput = -1, kNoMicrophone = 0;

} // namespace

Transceiver::Transceiver(void* handle, long long vfo, double strengthAbove) : vfo_(vfo), vtrx_(handle) {
    vtrx_.bind(vtrx_bindrxagc, [this](void* item) { agc_ = Object(item); });
    vtrx_.bind(vtrx_bindsignalStrength, [this, offset = kStrengthOffset - strengthAbove](double value) {
        strength_ = value + offset;
    });
    vtrx_.bind(vtrx_bindTuningValid, [this](bool value) { tuningValid_ = value; });
    vtrx_.bind(vtrx_bindptt, [this](bool value) { ptt_ = value; });
    vtrx_.bind(vtrx_bindmicLevel, [this](double value) { microphoneLevel_ = value; });
    vtrx_.bind(vtrx_bindnewAudio, [this](void* array) { takeAudio(array); });
    vtrx_.bind(vtrx_bindnewIQ, [this](void* array, double frequency, int) {
        complexArray_delete(array);
        centre_ = frequency;
        if (vtrx_)
            vtrx_setSendIQ(vtrx_.get(), false);
    });
    vtrx_setSendAudio(vtrx_.get(), true);
    vtrx_setmuted(vtrx_.get(), true);
}

void Transceiver::setMode(Object mode, int low, int high) {
    mode_ = std::move(mode);
    vtrx_setModulation(vtrx_.get(), mode_.get());
    setFilter(low, high);
}

void Transceiver::setFilter(int low, int high) {
    vtrx_setRxFilter(vtrx_.get(), low, high);
    retune(); // the receivers were shared out for the filter of before
}

void Transceiver::setVfo(long long vfo) {
    vfo_ = vfo;
    vtrx_setvfo(vtrx_.get(), vfo);
}

// A muted transceiver has no microphone either. What is left alone is the system's own device.
void Transceiver::setAudio(const AudioChoice& output, const AudioChoice& microphone) {
    using Kind = AudioChoice::Kind;
    vtrx_setmuted(vtrx_.get(), output.kind == Kind::None && microphone.kind == Kind::None);
    if (output.kind != Kind::Default)
        vtrx_setaudioOutput(vtrx_.get(), output.kind == Kind::Device ? output.device : kNoOutput);
    if (microphone.kind != Kind::Default)
        vtrx_setaudioInput(vtrx_.get(), microphone.kind == Kind::Device ? microphone.device : kNoMicrophone);
}

void Transceiver::setTransmitFilter(int low, int high) {
    vtrx_setTxFilter(vtrx_.get(), low, high);
}

void Transceiver::setTransmitOffset(int hertz) {
    vtrx_setTxOffset(vtrx_.get(), hertz);
}

void Transceiver::setDrive(int drive) {
    vtrx_setdrive(vtrx_.get(), drive);
}

void Transceiver::setTune(bool on) {
    vtrx_settune(vtrx_.get(), on);
}

void Transceiver::setPtt(bool on) {
    ptt_ = on; // the library does not tell what it was told
    vtrx_setptt(vtrx_.get(), on);
}

void Transceiver::setVox(bool on, double threshold, double hold) {
    vtrx_setVoxThreshold(vtrx_.get(), threshold);
    vtrx_setVoxHold(vtrx_.get(), hold);
    vtrx_setforegroundDisplay(vtrx_.get(), on); // vox acts in the foreground only
    vtrx_setuseVox(vtrx_.get(), on);
}

void Transceiver::setManualGain(double decibel) {
    agc_setManualGain(agc_.get(), decibel / 20);
    agc_setEnabled(agc_.get(), false);
}

void Transceiver::setAutomaticGain(float attack, float decay, float hang) {
    setGainTimes(attack, decay, hang);
    agc_setEnabled(agc_.get(), true);
}

void Transceiver::setNoiseReduction(double percent) {
    modDemod_setrnnoiseSquelch(mode_.get(), percent);
    modDemod_setrnnoise(mode_.get(), true);
}

void Transceiver::setTextAt(int hertz) {
    modDemod_setrxFreq(mode_.get(), hertz);
}

void Transceiver::endNoiseReduction() {
    modDemod_setrnnoise(mode_.get(), false);
}

void Transceiver::setGainTimes(float attack, float decay, float hang) {
    agc_setAttack(agc_.get(), attack);
    agc_setDecay(agc_.get(), decay);
    agc_setHang(agc_.get(), hang);
}

void Transceiver::setSpectrum(bool foreground, double zoom, long long offset) {
    vtrx_setspecOffset(vtrx_.get(), offset);
    vtrx_setspecZoom(vtrx_.get(), zoom);
    vtrx_setforegroundDisplay(vtrx_.get(), foreground);
}

void Transceiver::start() {
    if (onSpectrum)
        vtrx_.bind(vtrx_bindnewSpectrum, [this](void* array, double low, double high, int rate) {
            takeSpectrum(array, low, high, rate);
        });
    vtrx_start(vtrx_.get());
}

void Transceiver::retune() {
    vtrx_setRxFrequency(vtrx_.get(), vfo_);
}

void Transceiver::remove() {
    vtrx_remove(vtrx_.get());
}

void Transceiver::release() {
    for (Object* one : {&mode_, &agc_, &vtrx_}) {
        if (*one)
            lives_.push_back(one->life());
        one->reset();
    }
}

bool Transceiver::released() const {
    return std::ranges::all_of(lives_, [](const auto& life) { return life.expired(); });
}

void Transceiver::askCentre() {
    centre_.reset();
    vtrx_setSendIQ(vtrx_.get(), true);
}

void Transceiver::takeAudio(void* array) {
    const FloatArray audio(array);
    lastSamples_ = Clock::now();
    if (onAudio)
        onAudio(audio.values());
}

void Transceiver::takeSpectrum(void* array, double low, double high, int rate) {
    const FloatArray frame(array);
    std::vector<float> decibel(frame.values().begin(), frame.values().end());
    for (float& value : decibel)
        value *= 10;
    onSpectrum({decibel, low, high, rate});
}

} // namespace ferrow
