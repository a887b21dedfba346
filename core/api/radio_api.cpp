#include "core/api/bridge.hpp"
#include "trx/radio.hpp"
#include "trx/vtrx.hpp"

#include <ferrowcore/radio.h>

using namespace ferrow;
using namespace ferrow::api;

extern "C" {

void* Radio_create(void) { return create<Radio>(); }
void Radio_bindSampleRate(void* handle, void (*callback)(int)) { bind<&Radio::SampleRate>(handle, callback); }
void Radio_setSampleRate(void* handle, int value) { set<&Radio::SampleRate>(handle, value, "Radio.SampleRate.set"); }
void Radio_bindTuneDrive(void* handle, void (*callback)(int)) { bind<&Radio::TuneDrive>(handle, callback); }
void Radio_setTuneDrive(void* handle, int value) { set<&Radio::TuneDrive>(handle, value, "Radio.TuneDrive.set"); }
void Radio_bindcwHangTime(void* handle, void (*callback)(int)) { bind<&Radio::cwHangTime>(handle, callback); }
void Radio_setcwHangTime(void* handle, int value) { set<&Radio::cwHangTime>(handle, value, "Radio.cwHangTime.set"); }
void Radio_binddrive(void* handle, void (*callback)(int)) { bind<&Radio::drive>(handle, callback); }
void Radio_setdrive(void* handle, int value) { set<&Radio::drive>(handle, value, "Radio.drive.set"); }
void Radio_bindmaxADCs(void* handle, void (*callback)(int)) { bind<&Radio::maxADCs>(handle, callback); }
void Radio_setmaxADCs(void* handle, int value) { set<&Radio::maxADCs>(handle, value, "Radio.maxADCs.set"); }
void Radio_bindmaxHwReceivers(void* handle, void (*callback)(int)) { bind<&Radio::maxHwReceivers>(handle, callback); }
void Radio_setmaxHwReceivers(void* handle, int value) { set<&Radio::maxHwReceivers>(handle, value, "Radio.maxHwReceivers.set"); }
void Radio_bindreceivedPackets(void* handle, void (*callback)(int)) { bind<&Radio::receivedPackets>(handle, callback); }
void Radio_setreceivedPackets(void* handle, int value) { set<&Radio::receivedPackets>(handle, value, "Radio.receivedPackets.set"); }
void Radio_bindsentPackets(void* handle, void (*callback)(int)) { bind<&Radio::sentPackets>(handle, callback); }
void Radio_setsentPackets(void* handle, int value) { set<&Radio::sentPackets>(handle, value, "Radio.sentPackets.set"); }
void Radio_bindTransceiverOffset(void* handle, void (*callback)(long long)) { bind<&Radio::TransceiverOffset>(handle, callback); }
void Radio_setTransceiverOffset(void* handle, long long value) { set<&Radio::TransceiverOffset>(handle, value, "Radio.TransceiverOffset.set"); }
void Radio_bindValidBandwidthRatio(void* handle, void (*callback)(double)) { bind<&Radio::ValidBandwidthRatio>(handle, callback); }
void Radio_setValidBandwidthRatio(void* handle, double value) { set<&Radio::ValidBandwidthRatio>(handle, value, "Radio.ValidBandwidthRatio.set"); }
void Radio_bindrxLevelCalibration(void* handle, void (*callback)(double)) { bind<&Radio::rxLevelCalibration>(handle, callback); }
void Radio_setrxLevelCalibration(void* handle, double value) { set<&Radio::rxLevelCalibration>(handle, value, "Radio.rxLevelCalibration.set"); }
void Radio_bindRadioPtt(void* handle, void (*callback)(bool)) { bind<&Radio::RadioPtt>(handle, callback); }
void Radio_setRadioPtt(void* handle, bool value) { set<&Radio::RadioPtt>(handle, value, "Radio.RadioPtt.set"); }
void Radio_bindcanTransmit(void* handle, void (*callback)(bool)) { bind<&Radio::canTransmit>(handle, callback); }
void Radio_setcanTransmit(void* handle, bool value) { set<&Radio::canTransmit>(handle, value, "Radio.canTransmit.set"); }
void Radio_bindcwInternal(void* handle, void (*callback)(bool)) { bind<&Radio::cwInternal>(handle, callback); }
void Radio_setcwInternal(void* handle, bool value) { set<&Radio::cwInternal>(handle, value, "Radio.cwInternal.set"); }
void Radio_binddisableVirtualReceivers(void* handle, void (*callback)(bool)) { bind<&Radio::disableVirtualReceivers>(handle, callback); }
void Radio_setdisableVirtualReceivers(void* handle, bool value) { set<&Radio::disableVirtualReceivers>(handle, value, "Radio.disableVirtualReceivers.set"); }
void Radio_bindptt(void* handle, void (*callback)(bool)) { bind<&Radio::ptt>(handle, callback); }
void Radio_setptt(void* handle, bool value) { set<&Radio::ptt>(handle, value, "Radio.ptt.set"); }
void Radio_bindvtrxAdded(void* handle, void (*callback)(void* vtrx, long long frequency, int sampleRate, int ownerId)) {
    bind<&Radio::vtrxAdded>(handle, callback);
}
void Radio_addVtrx(void* handle, long long frequency, int hwReceiverHint, int ownerId) {
    post<&Radio::addVtrx, Radio>(handle, "Radio.addVtrx()", frequency, hwReceiverHint, ownerId);
}
void Radio_removeVtrx(void* handle, void* vtrx) {
    if (auto transceiver = objectOf<ferrow::vtrx>(vtrx, "Radio.removeVtrx()"))
        post<&Radio::removeVtrx, Radio>(handle, "Radio.removeVtrx()", transceiver);
}
void Radio_start(void* handle) { post<&Radio::start, Radio>(handle, "Radio.start()"); }
void Radio_stop(void* handle) { post<&Radio::stop, Radio>(handle, "Radio.stop()"); }

} // extern "C"
