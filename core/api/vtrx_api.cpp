#include "core/api/bridge.hpp"
#include "trx/vtrx.hpp"

#include <ferrowcore/vtrx.h>

using namespace ferrow;
using namespace ferrow::api;

extern "C" {

void* vtrx_create(void) { return create<vtrx>(); }
void vtrx_bindADCs(void* handle, void (*callback)(int)) { bind<&vtrx::ADCs>(handle, callback); }
void vtrx_setADCs(void* handle, int value) { set<&vtrx::ADCs>(handle, value, "vtrx.ADCs.set"); }
void vtrx_bindOwnerID(void* handle, void (*callback)(int)) { bind<&vtrx::OwnerID>(handle, callback); }
void vtrx_setOwnerID(void* handle, int value) { set<&vtrx::OwnerID>(handle, value, "vtrx.OwnerID.set"); }
void vtrx_bindTxOffset(void* handle, void (*callback)(int)) { bind<&vtrx::TxOffset>(handle, callback); }
void vtrx_setTxOffset(void* handle, int value) { set<&vtrx::TxOffset>(handle, value, "vtrx.TxOffset.set"); }
void vtrx_bindaudioInput(void* handle, void (*callback)(int)) { bind<&vtrx::audioInput>(handle, callback); }
void vtrx_setaudioInput(void* handle, int value) { set<&vtrx::audioInput>(handle, value, "vtrx.audioInput.set"); }
void vtrx_bindaudioOutput(void* handle, void (*callback)(int)) { bind<&vtrx::audioOutput>(handle, callback); }
void vtrx_setaudioOutput(void* handle, int value) { set<&vtrx::audioOutput>(handle, value, "vtrx.audioOutput.set"); }
void vtrx_binddrive(void* handle, void (*callback)(int)) { bind<&vtrx::drive>(handle, callback); }
void vtrx_setdrive(void* handle, int value) { set<&vtrx::drive>(handle, value, "vtrx.drive.set"); }
void vtrx_bindoversample(void* handle, void (*callback)(int)) { bind<&vtrx::oversample>(handle, callback); }
void vtrx_setoversample(void* handle, int value) { set<&vtrx::oversample>(handle, value, "vtrx.oversample.set"); }
void vtrx_bindwaterfallSpeed(void* handle, void (*callback)(int)) { bind<&vtrx::waterfallSpeed>(handle, callback); }
void vtrx_setwaterfallSpeed(void* handle, int value) { set<&vtrx::waterfallSpeed>(handle, value, "vtrx.waterfallSpeed.set"); }
void vtrx_bindspecFreq(void* handle, void (*callback)(long long)) { bind<&vtrx::specFreq>(handle, callback); }
void vtrx_setspecFreq(void* handle, long long value) { set<&vtrx::specFreq>(handle, value, "vtrx.specFreq.set"); }
void vtrx_bindspecOffset(void* handle, void (*callback)(long long)) { bind<&vtrx::specOffset>(handle, callback); }
void vtrx_setspecOffset(void* handle, long long value) { set<&vtrx::specOffset>(handle, value, "vtrx.specOffset.set"); }
void vtrx_bindvfo(void* handle, void (*callback)(long long)) { bind<&vtrx::vfo>(handle, callback); }
void vtrx_setvfo(void* handle, long long value) { set<&vtrx::vfo>(handle, value, "vtrx.vfo.set"); }
void vtrx_bindADC1Gain(void* handle, void (*callback)(double)) { bind<&vtrx::ADC1Gain>(handle, callback); }
void vtrx_setADC1Gain(void* handle, double value) { set<&vtrx::ADC1Gain>(handle, value, "vtrx.ADC1Gain.set"); }
void vtrx_bindADC1Phase(void* handle, void (*callback)(double)) { bind<&vtrx::ADC1Phase>(handle, callback); }
void vtrx_setADC1Phase(void* handle, double value) { set<&vtrx::ADC1Phase>(handle, value, "vtrx.ADC1Phase.set"); }
void vtrx_bindVoxHold(void* handle, void (*callback)(double)) { bind<&vtrx::VoxHold>(handle, callback); }
void vtrx_setVoxHold(void* handle, double value) { set<&vtrx::VoxHold>(handle, value, "vtrx.VoxHold.set"); }
void vtrx_bindVoxThreshold(void* handle, void (*callback)(double)) { bind<&vtrx::VoxThreshold>(handle, callback); }
void vtrx_setVoxThreshold(void* handle, double value) { set<&vtrx::VoxThreshold>(handle, value, "vtrx.VoxThreshold.set"); }
void vtrx_bindmicLevel(void* handle, void (*callback)(double)) { bind<&vtrx::micLevel>(handle, callback); }
void vtrx_setmicLevel(void* handle, double value) { set<&vtrx::micLevel>(handle, value, "vtrx.micLevel.set"); }
void vtrx_bindsignalStrength(void* handle, void (*callback)(double)) { bind<&vtrx::signalStrength>(handle, callback); }
void vtrx_setsignalStrength(void* handle, double value) { set<&vtrx::signalStrength>(handle, value, "vtrx.signalStrength.set"); }
void vtrx_bindspecZoom(void* handle, void (*callback)(double)) { bind<&vtrx::specZoom>(handle, callback); }
void vtrx_setspecZoom(void* handle, double value) { set<&vtrx::specZoom>(handle, value, "vtrx.specZoom.set"); }
void vtrx_bindDelayAudio(void* handle, void (*callback)(bool)) { bind<&vtrx::DelayAudio>(handle, callback); }
void vtrx_setDelayAudio(void* handle, bool value) { set<&vtrx::DelayAudio>(handle, value, "vtrx.DelayAudio.set"); }
void vtrx_bindSendAudio(void* handle, void (*callback)(bool)) { bind<&vtrx::SendAudio>(handle, callback); }
void vtrx_setSendAudio(void* handle, bool value) { set<&vtrx::SendAudio>(handle, value, "vtrx.SendAudio.set"); }
void vtrx_bindSendIQ(void* handle, void (*callback)(bool)) { bind<&vtrx::SendIQ>(handle, callback); }
void vtrx_setSendIQ(void* handle, bool value) { set<&vtrx::SendIQ>(handle, value, "vtrx.SendIQ.set"); }
void vtrx_bindTuningValid(void* handle, void (*callback)(bool)) { bind<&vtrx::TuningValid>(handle, callback); }
void vtrx_setTuningValid(void* handle, bool value) { set<&vtrx::TuningValid>(handle, value, "vtrx.TuningValid.set"); }
void vtrx_bindbandwidthSufficient(void* handle, void (*callback)(bool)) { bind<&vtrx::bandwidthSufficient>(handle, callback); }
void vtrx_setbandwidthSufficient(void* handle, bool value) { set<&vtrx::bandwidthSufficient>(handle, value, "vtrx.bandwidthSufficient.set"); }
void vtrx_bindforegroundDisplay(void* handle, void (*callback)(bool)) { bind<&vtrx::foregroundDisplay>(handle, callback); }
void vtrx_setforegroundDisplay(void* handle, bool value) { set<&vtrx::foregroundDisplay>(handle, value, "vtrx.foregroundDisplay.set"); }
void vtrx_bindmuted(void* handle, void (*callback)(bool)) { bind<&vtrx::muted>(handle, callback); }
void vtrx_setmuted(void* handle, bool value) { set<&vtrx::muted>(handle, value, "vtrx.muted.set"); }
void vtrx_bindptt(void* handle, void (*callback)(bool)) { bind<&vtrx::ptt>(handle, callback); }
void vtrx_setptt(void* handle, bool value) { set<&vtrx::ptt>(handle, value, "vtrx.ptt.set"); }
void vtrx_bindtune(void* handle, void (*callback)(bool)) { bind<&vtrx::tune>(handle, callback); }
void vtrx_settune(void* handle, bool value) { set<&vtrx::tune>(handle, value, "vtrx.tune.set"); }
void vtrx_binduseResampler(void* handle, void (*callback)(bool)) { bind<&vtrx::useResampler>(handle, callback); }
void vtrx_setuseResampler(void* handle, bool value) { set<&vtrx::useResampler>(handle, value, "vtrx.useResampler.set"); }
void vtrx_binduseVox(void* handle, void (*callback)(bool)) { bind<&vtrx::useVox>(handle, callback); }
void vtrx_setuseVox(void* handle, bool value) { set<&vtrx::useVox>(handle, value, "vtrx.useVox.set"); }
void vtrx_bindrxagc(void* handle, void (*callback)(void*)) { bind<&vtrx::rxagc>(handle, callback); }
void vtrx_setrxagc(void* handle, void* item) { setObject<&vtrx::rxagc>(handle, item, "vtrx.rxagc.set"); }
void vtrx_bindtxagc(void* handle, void (*callback)(void*)) { bind<&vtrx::txagc>(handle, callback); }
void vtrx_settxagc(void* handle, void* item) { setObject<&vtrx::txagc>(handle, item, "vtrx.txagc.set"); }
void vtrx_bindnewAudio(void* handle, void (*callback)(void* floatArray)) { bind<&vtrx::newAudio>(handle, callback); }
void vtrx_bindnewIQ(void* handle, void (*callback)(void* complexArray, double frequency, int rate)) { bind<&vtrx::newIQ>(handle, callback); }
void vtrx_bindnewSpectrum(void* handle, void (*callback)(void* floatArray, double low, double high, int rate)) { bind<&vtrx::newSpectrum>(handle, callback); }
void vtrx_remove(void* handle) { post<&vtrx::remove, vtrx>(handle, "vtrx.remove()"); }
void vtrx_setModulation(void* handle, void* modDemod) {
    std::shared_ptr<ferrow::modDemod> mode;
    if (modDemod != nullptr && !(mode = objectOf<ferrow::modDemod>(modDemod, "vtrx.setModulation()")))
        return;
    post<&vtrx::setModulation, vtrx>(handle, "vtrx.setModulation()", mode);
}
void vtrx_setRxFilter(void* handle, int low, int high) { post<&vtrx::setRxFilter, vtrx>(handle, "vtrx.setRxFilter()", low, high); }
void vtrx_setRxFrequency(void* handle, long long frequency) { post<&vtrx::setRxFrequency, vtrx>(handle, "vtrx.setRxFrequency()", frequency); }
void vtrx_setTxFilter(void* handle, int low, int high) { post<&vtrx::setTxFilter, vtrx>(handle, "vtrx.setTxFilter()", low, high); }
void vtrx_start(void* handle) { post<&vtrx::start, vtrx>(handle, "vtrx.start()"); }

} // extern "C"
