#include "host/radio_kinds.hpp"

#include "host/failure.hpp"

#include <cmath>
#include <ferrowcore/hpsdr.h>
#include <ferrowcore/hpsdr_np.h>
#include <ferrowcore/radio.h>
#include <ferrowcore/sdrplay.h>
#include <ferrowcore/wsproxy.h>
#include <fmt/format.h>

namespace ferrow {
namespace {

// Boards with a plain attenuator in place of an amplifier of variable gain.
constexpr int kAttenuatorMin = -31, kAttenuatorMax = 0;
constexpr int kAmplifierMin = -12, kAmplifierMax = 48;

struct Steps {
    const char* model;
    int highest; // gain, in steps of the model's amplifier
};
constexpr Steps kSteps[] = {{"RSP1", 3}, {"RSP1A", 9}, {"RSP2", 8}, {"RSPduo", 9}, {"RSPdx", 27}};

void checkGain(const RadioOptions& options, int low, int high, const char* unit) {
    if (options.gain && (*options.gain < low || *options.gain > high))
        throw UsageError(fmt::format("the gain of this radio lies between {} and {}{}", low, high, unit));
}

Object makeHpsdr(const FoundRadio& found, const RadioOptions& options) {
    checkGain(options, found.hermesLite() ? kAmplifierMin : kAttenuatorMin,
              found.hermesLite() ? kAmplifierMax : kAttenuatorMax, " dB");
    Object object(HpsdrRadio_create());
    void* radio = object.get();
    HpsdrRadio_setipAddress(radio, found.address.c_str());
    HpsdrRadio_setMac(radio, found.macText().c_str());
    HpsdrRadio_setTypeID(radio, found.board);
    HpsdrRadio_setFwVersion(radio, found.firmware);
    HpsdrRadio_setHLiteGain(radio, found.hermesLite() && !found.hermesLite2());
    HpsdrRadio_setHLite2Gain(radio, found.hermesLite2());
    if (!found.hermesLite()) {
        HpsdrRadio_setminRxRFGain(radio, kAttenuatorMin);
        HpsdrRadio_setmaxRxRFGain(radio, kAttenuatorMax);
        HpsdrRadio_setrxGain(radio, 0);
    }
    if (options.gain)
        HpsdrRadio_setrxGain(radio, *options.gain);
    Radio_setmaxHwReceivers(radio, found.receivers);
    return object;
}

Object makeHpsdrNp(const FoundRadio& found, const RadioOptions& options) {
    checkGain(options, kAttenuatorMin, kAttenuatorMax, " dB");
    Object object(HpsdrNpRadio_create());
    void* radio = object.get();
    HpsdrNpRadio_setipAddress(radio, found.address.c_str());
    HpsdrNpRadio_setMac(radio, found.macText().c_str());
    HpsdrNpRadio_setFwVersion(radio, found.firmware);
    HpsdrNpRadio_setminRxRFGain(radio, kAttenuatorMin);
    HpsdrNpRadio_setmaxRxRFGain(radio, kAttenuatorMax);
    HpsdrNpRadio_setrxGain(radio, options.gain.value_or(kAttenuatorMax));
    Radio_setmaxHwReceivers(radio, found.receivers);
    return object;
}

Object makeSdrPlay(const FoundRadio& found, const RadioOptions& options) {
    for (const Steps& row : kSteps)
        if (found.model == row.model)
            checkGain(options, 0, row.highest, "");
    Object object(SDRPlayRadio_create());
    void* radio = object.get();
    SDRPlayRadio_setSerialNo(radio, found.address.c_str());
    SDRPlayRadio_setModel(radio, found.model.c_str());
    if (options.gain) {
        SDRPlayRadio_setrxGain(radio, *options.gain);
        SDRPlayRadio_setrxGain2(radio, *options.gain);
    }
    return object;
}

Object makeWsProxy(const FoundRadio& found) {
    Object object(WsProxyRadio_create());
    WsProxyRadio_setURI(object.get(), found.address.c_str());
    WsProxyRadio_setRemoteID(object.get(), found.remoteId);
    return object;
}

} // namespace

Object makeRadio(const FoundRadio& radio, const RadioOptions& options) {
    Object object = radio.kind == RadioKind::Hpsdr     ? makeHpsdr(radio, options)
                    : radio.kind == RadioKind::HpsdrNp ? makeHpsdrNp(radio, options)
                    : radio.kind == RadioKind::SdrPlay ? makeSdrPlay(radio, options)
                                                       : makeWsProxy(radio);
    Radio_setSampleRate(object.get(), options.sampleRate);
    return object;
}

// The library raises what comes from the SDRplay API by 20 dB, and its filter for rates that are no power of
// two times 48000 spreads a gain of 1 over 96 or 384 phases.
double strengthAbove(RadioKind kind, int sampleRate) {
    if (kind != RadioKind::SdrPlay)
        return 0;
    const double phases = sampleRate == 10000000                           ? 384
                          : sampleRate == 2000000 || sampleRate == 8000000 ? 96
                                                                           : 1;
    return 20 - 20 * std::log10(phases);
}

void bindHealth(Object& object, RadioKind kind, std::function<void(int)> onGaps,
                std::function<void(bool)> onOverload) {
    switch (kind) {
    case RadioKind::Hpsdr:
        object.bind(HpsdrRadio_bindep6SeqErrors, std::move(onGaps));
        object.bind(HpsdrRadio_bindadcOvl, std::move(onOverload));
        break;
    case RadioKind::HpsdrNp:
        object.bind(HpsdrNpRadio_bindep6SeqErrors, std::move(onGaps));
        object.bind(HpsdrNpRadio_bindadcOvl, std::move(onOverload));
        break;
    case RadioKind::SdrPlay:
        object.bind(SDRPlayRadio_bindadcOverload, std::move(onOverload));
        break;
    case RadioKind::WsProxy:
        break;
    }
}

} // namespace ferrow
