#include "core/api/bridge.hpp"
#include "radios/hpsdr_np/hpsdr_np_radio.hpp"

#include <ferrowcore/hpsdr_np.h>

using namespace ferrow;
using namespace ferrow::api;

extern "C" {

void* HpsdrNpRadio_create(void) { return create<HpsdrNpRadio>(); }
void HpsdrNpRadio_bindSampleRates(void* handle, ferrow_list_callback callback) { bind<&HpsdrNpRadio::SampleRates>(handle, callback); }
void HpsdrNpRadio_setSampleRates(void* handle, int operation, int index, void* item) {
    setList<&HpsdrNpRadio::SampleRates>(handle, operation, index, item, "HpsdrNpRadio.SampleRates.set");
}
void HpsdrNpRadio_resetSampleRates(void* handle) { resetList<&HpsdrNpRadio::SampleRates>(handle, "HpsdrNpRadio.SampleRates.reset"); }
void HpsdrNpRadio_bindMac(void* handle, void (*callback)(const char*)) { bind<&HpsdrNpRadio::Mac>(handle, callback); }
void HpsdrNpRadio_setMac(void* handle, const char* value) { setText<&HpsdrNpRadio::Mac>(handle, value, "HpsdrNpRadio.Mac.set"); }
void HpsdrNpRadio_bindipAddress(void* handle, void (*callback)(const char*)) { bind<&HpsdrNpRadio::ipAddress>(handle, callback); }
void HpsdrNpRadio_setipAddress(void* handle, const char* value) { setText<&HpsdrNpRadio::ipAddress>(handle, value, "HpsdrNpRadio.ipAddress.set"); }
void HpsdrNpRadio_bindtxGain(void* handle, void (*callback)(int)) { bind<&HpsdrNpRadio::txGain>(handle, callback); }
void HpsdrNpRadio_settxGain(void* handle, int value) { set<&HpsdrNpRadio::txGain>(handle, value, "HpsdrNpRadio.txGain.set"); }
void HpsdrNpRadio_bindrxGain(void* handle, void (*callback)(int)) { bind<&HpsdrNpRadio::rxGain>(handle, callback); }
void HpsdrNpRadio_setrxGain(void* handle, int value) { set<&HpsdrNpRadio::rxGain>(handle, value, "HpsdrNpRadio.rxGain.set"); }
void HpsdrNpRadio_bindmaxTxRFGain(void* handle, void (*callback)(int)) { bind<&HpsdrNpRadio::maxTxRFGain>(handle, callback); }
void HpsdrNpRadio_setmaxTxRFGain(void* handle, int value) { set<&HpsdrNpRadio::maxTxRFGain>(handle, value, "HpsdrNpRadio.maxTxRFGain.set"); }
void HpsdrNpRadio_bindminTxRFGain(void* handle, void (*callback)(int)) { bind<&HpsdrNpRadio::minTxRFGain>(handle, callback); }
void HpsdrNpRadio_setminTxRFGain(void* handle, int value) { set<&HpsdrNpRadio::minTxRFGain>(handle, value, "HpsdrNpRadio.minTxRFGain.set"); }
void HpsdrNpRadio_bindmaxRxRFGain(void* handle, void (*callback)(int)) { bind<&HpsdrNpRadio::maxRxRFGain>(handle, callback); }
void HpsdrNpRadio_setmaxRxRFGain(void* handle, int value) { set<&HpsdrNpRadio::maxRxRFGain>(handle, value, "HpsdrNpRadio.maxRxRFGain.set"); }
void HpsdrNpRadio_bindminRxRFGain(void* handle, void (*callback)(int)) { bind<&HpsdrNpRadio::minRxRFGain>(handle, callback); }
void HpsdrNpRadio_setminRxRFGain(void* handle, int value) { set<&HpsdrNpRadio::minRxRFGain>(handle, value, "HpsdrNpRadio.minRxRFGain.set"); }
void HpsdrNpRadio_bindclockFrequency(void* handle, void (*callback)(int)) { bind<&HpsdrNpRadio::clockFrequency>(handle, callback); }
void HpsdrNpRadio_setclockFrequency(void* handle, int value) { set<&HpsdrNpRadio::clockFrequency>(handle, value, "HpsdrNpRadio.clockFrequency.set"); }
void HpsdrNpRadio_bindfrequencyCalibration(void* handle, void (*callback)(double)) { bind<&HpsdrNpRadio::frequencyCalibration>(handle, callback); }
void HpsdrNpRadio_setfrequencyCalibration(void* handle, double value) {
    set<&HpsdrNpRadio::frequencyCalibration>(handle, value, "HpsdrNpRadio.frequencyCalibration.set");
}
void HpsdrNpRadio_bindautoFreqCalib(void* handle, void (*callback)(bool)) { bind<&HpsdrNpRadio::autoFreqCalib>(handle, callback); }
void HpsdrNpRadio_setautoFreqCalib(void* handle, bool value) { set<&HpsdrNpRadio::autoFreqCalib>(handle, value, "HpsdrNpRadio.autoFreqCalib.set"); }
void HpsdrNpRadio_bindFwVersion(void* handle, void (*callback)(int)) { bind<&HpsdrNpRadio::FwVersion>(handle, callback); }
void HpsdrNpRadio_setFwVersion(void* handle, int value) { set<&HpsdrNpRadio::FwVersion>(handle, value, "HpsdrNpRadio.FwVersion.set"); }
void HpsdrNpRadio_bindTemp(void* handle, void (*callback)(double)) { bind<&HpsdrNpRadio::Temp>(handle, callback); }
void HpsdrNpRadio_setTemp(void* handle, double value) { set<&HpsdrNpRadio::Temp>(handle, value, "HpsdrNpRadio.Temp.set"); }
void HpsdrNpRadio_bindCurrent(void* handle, void (*callback)(double)) { bind<&HpsdrNpRadio::Current>(handle, callback); }
void HpsdrNpRadio_setCurrent(void* handle, double value) { set<&HpsdrNpRadio::Current>(handle, value, "HpsdrNpRadio.Current.set"); }
void HpsdrNpRadio_bindFwdPwr(void* handle, void (*callback)(float)) { bind<&HpsdrNpRadio::FwdPwr>(handle, callback); }
void HpsdrNpRadio_setFwdPwr(void* handle, float value) { set<&HpsdrNpRadio::FwdPwr>(handle, value, "HpsdrNpRadio.FwdPwr.set"); }
void HpsdrNpRadio_bindRevPwr(void* handle, void (*callback)(float)) { bind<&HpsdrNpRadio::RevPwr>(handle, callback); }
void HpsdrNpRadio_setRevPwr(void* handle, float value) { set<&HpsdrNpRadio::RevPwr>(handle, value, "HpsdrNpRadio.RevPwr.set"); }
void HpsdrNpRadio_bindSwr(void* handle, void (*callback)(float)) { bind<&HpsdrNpRadio::Swr>(handle, callback); }
void HpsdrNpRadio_setSwr(void* handle, float value) { set<&HpsdrNpRadio::Swr>(handle, value, "HpsdrNpRadio.Swr.set"); }
void HpsdrNpRadio_bindadcOvl(void* handle, void (*callback)(bool)) { bind<&HpsdrNpRadio::adcOvl>(handle, callback); }
void HpsdrNpRadio_setadcOvl(void* handle, bool value) { set<&HpsdrNpRadio::adcOvl>(handle, value, "HpsdrNpRadio.adcOvl.set"); }
void HpsdrNpRadio_bindep6SeqErrors(void* handle, void (*callback)(int)) { bind<&HpsdrNpRadio::ep6SeqErrors>(handle, callback); }
void HpsdrNpRadio_setep6SeqErrors(void* handle, int value) { set<&HpsdrNpRadio::ep6SeqErrors>(handle, value, "HpsdrNpRadio.ep6SeqErrors.set"); }
void HpsdrNpRadio_bindep4SeqErrors(void* handle, void (*callback)(int)) { bind<&HpsdrNpRadio::ep4SeqErrors>(handle, callback); }
void HpsdrNpRadio_setep4SeqErrors(void* handle, int value) { set<&HpsdrNpRadio::ep4SeqErrors>(handle, value, "HpsdrNpRadio.ep4SeqErrors.set"); }
void HpsdrNpRadio_bindadcPeak(void* handle, void (*callback)(double)) { bind<&HpsdrNpRadio::adcPeak>(handle, callback); }
void HpsdrNpRadio_setadcPeak(void* handle, double value) { set<&HpsdrNpRadio::adcPeak>(handle, value, "HpsdrNpRadio.adcPeak.set"); }
void HpsdrNpRadio_bindadcPeakDBFS(void* handle, void (*callback)(double)) { bind<&HpsdrNpRadio::adcPeakDBFS>(handle, callback); }
void HpsdrNpRadio_setadcPeakDBFS(void* handle, double value) { set<&HpsdrNpRadio::adcPeakDBFS>(handle, value, "HpsdrNpRadio.adcPeakDBFS.set"); }

} // extern "C"
