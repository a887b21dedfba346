#include "host/transceiver.hpp"

#include "host/arrays.hpp"

#include <ferrowcore/agc.h>
#include <ferrowcore/modes.h>
#include <ferrowcore/vtrx.h>
#include <vector>

namespace ferrow {

namespace {

// signalStrength is ten times the logarithm of ten times the peak power.
constexpr double kStrengthOffset = -10;

constexpr int kNoOutput = -1;

} // namespace

Transceiver::Transceiver(void* handle, long long vfo) : vfo_(vfo), vtrx_(handle) {
    vtrx_.bind(vtrx_bindrxagc, [this](void* item) { agc_ = Object(item); });
    vtrx_.bind(vtrx_bindsignalStrength, [this](double value) { strength_ = value + kStrengthOffset; });
    vtrx_.bind(vtrx_bindTuningValid, [this](bool value) { tuningValid_ = value; });
    vtrx_.bind(vtrx_bindnewAudio, [this](void* array) { takeAudio(array); });
    vtrx_.bind(vtrx_bindnewIQ, [this](void* array, double frequency, int) {
        complexArray_delete(array);
        centre_ = frequency;
        if (vtrx_)
            vtrx_setSendIQ(vtrx_.get(), false);
    });
    vtrx_setSendAudio(vtrx_.get(), true);
    setAudio({});
}

void Transceiver::setMode(Object mode, int low, int high) {
    mode_ = std::move(mode);
    vtrx_setModulation(vtrx_.get(), mode_.get());
    vtrx_setRxFilter(vtrx_.get(), low, high);
    // The receivers were shared out for the filter that a new transceiver has.
    vtrx_setRxFrequency(vtrx_.get(), vfo_);
}

void Transceiver::setMode(const Tuning& tuning) {
    setMode(Object(tuning.mode == Mode::Am ? amModDemod_create() : ssbModDemod_create()), tuning.low,
            tuning.high);
}

void Transceiver::setAudio(const AudioChoice& audio) {
    using Kind = AudioChoice::Kind;
    vtrx_setmuted(vtrx_.get(), audio.kind == Kind::None);
    if (audio.kind != Kind::Default)
        vtrx_setaudioOutput(vtrx_.get(), audio.kind == Kind::Device ? audio.device : kNoOutput);
    vtrx_setaudioInput(vtrx_.get(), 0);
}

void Transceiver::setManualGain(double decibel) {
    agc_setManualGain(agc_.get(), decibel / 20);
    agc_setEnabled(agc_.get(), false);
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

void Transceiver::remove() {
    vtrx_remove(vtrx_.get());
}

void Transceiver::release() {
    mode_.reset();
    agc_.reset();
    vtrx_.reset();
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
