#include "core/api/bridge.hpp"
#include "radios/sdrplay/sdrplay_controller.hpp"
#include "radios/sdrplay/sdrplay_radio.hpp"

#include <ferrowcore/sdrplay.h>

using namespace ferrow;
using namespace ferrow::api;

extern "C" {

void* SDRPlayController_create(void) { return create<SDRPlayController>(); }
void SDRPlayController_bindEnable(void* handle, void (*callback)(bool)) { bind<&SDRPlayController::Enable>(handle, callback); }
void SDRPlayController_setEnable(void* handle, bool value) { set<&SDRPlayController::Enable>(handle, value, "SDRPlayController.Enable.set"); }
void SDRPlayController_bindnewRadio(void* handle, void (*callback)(const char*)) { bind<&SDRPlayController::newRadio>(handle, callback); }
void SDRPlayController_Discover(void* handle) { post<&SDRPlayController::Discover, SDRPlayController>(handle, "SDRPlayController.Discover()"); }

void* SDRPlayRadio_create(void) { return create<SDRPlayRadio>(); }
void SDRPlayRadio_bindAntenna(void* handle, void (*callback)(int)) { bind<&SDRPlayRadio::Antenna>(handle, callback); }
void SDRPlayRadio_setAntenna(void* handle, int value) { set<&SDRPlayRadio::Antenna>(handle, value, "SDRPlayRadio.Antenna.set"); }
void SDRPlayRadio_bindmaxRxRFGain(void* handle, void (*callback)(int)) { bind<&SDRPlayRadio::maxRxRFGain>(handle, callback); }
void SDRPlayRadio_setmaxRxRFGain(void* handle, int value) { set<&SDRPlayRadio::maxRxRFGain>(handle, value, "SDRPlayRadio.maxRxRFGain.set"); }
void SDRPlayRadio_bindmaxRxRFGain2(void* handle, void (*callback)(int)) { bind<&SDRPlayRadio::maxRxRFGain2>(handle, callback); }
void SDRPlayRadio_setmaxRxRFGain2(void* handle, int value) { set<&SDRPlayRadio::maxRxRFGain2>(handle, value, "SDRPlayRadio.maxRxRFGain2.set"); }
void SDRPlayRadio_bindminRxRFGain(void* handle, void (*callback)(int)) { bind<&SDRPlayRadio::minRxRFGain>(handle, callback); }
void SDRPlayRadio_setminRxRFGain(void* handle, int value) { set<&SDRPlayRadio::minRxRFGain>(handle, value, "SDRPlayRadio.minRxRFGain.set"); }
void SDRPlayRadio_bindminRxRFGain2(void* handle, void (*callback)(int)) { bind<&SDRPlayRadio::minRxRFGain2>(handle, callback); }
void SDRPlayRadio_setminRxRFGain2(void* handle, int value) { set<&SDRPlayRadio::minRxRFGain2>(handle, value, "SDRPlayRadio.minRxRFGain2.set"); }
void SDRPlayRadio_bindmaxRxIFGain(void* handle, void (*callback)(int)) { bind<&SDRPlayRadio::maxRxIFGain>(handle, callback); }
void SDRPlayRadio_setmaxRxIFGain(void* handle, int value) { set<&SDRPlayRadio::maxRxIFGain>(handle, value, "SDRPlayRadio.maxRxIFGain.set"); }
void SDRPlayRadio_bindminRxIFGain(void* handle, void (*callback)(int)) { bind<&SDRPlayRadio::minRxIFGain>(handle, callback); }
void SDRPlayRadio_setminRxIFGain(void* handle, int value) { set<&SDRPlayRadio::minRxIFGain>(handle, value, "SDRPlayRadio.minRxIFGain.set"); }
void SDRPlayRadio_bindrxGain(void* handle, void (*callback)(int)) { bind<&SDRPlayRadio::rxGain>(handle, callback); }
void SDRPlayRadio_setrxGain(void* handle, int value) { set<&SDRPlayRadio::rxGain>(handle, value, "SDRPlayRadio.rxGain.set"); }
void SDRPlayRadio_bindrxGain2(void* handle, void (*callback)(int)) { bind<&SDRPlayRadio::rxGain2>(handle, callback); }
void SDRPlayRadio_setrxGain2(void* handle, int value) { set<&SDRPlayRadio::rxGain2>(handle, value, "SDRPlayRadio.rxGain2.set"); }
void SDRPlayRadio_bindrxIFGain(void* handle, void (*callback)(int)) { bind<&SDRPlayRadio::rxIFGain>(handle, callback); }
void SDRPlayRadio_setrxIFGain(void* handle, int value) { set<&SDRPlayRadio::rxIFGain>(handle, value, "SDRPlayRadio.rxIFGain.set"); }
void SDRPlayRadio_bindadcPeak(void* handle, void (*callback)(double)) { bind<&SDRPlayRadio::adcPeak>(handle, callback); }
void SDRPlayRadio_setadcPeak(void* handle, double value) { set<&SDRPlayRadio::adcPeak>(handle, value, "SDRPlayRadio.adcPeak.set"); }
void SDRPlayRadio_bindadcPeak2(void* handle, void (*callback)(double)) { bind<&SDRPlayRadio::adcPeak2>(handle, callback); }
void SDRPlayRadio_setadcPeak2(void* handle, double value) { set<&SDRPlayRadio::adcPeak2>(handle, value, "SDRPlayRadio.adcPeak2.set"); }
void SDRPlayRadio_bindBiasT(void* handle, void (*callback)(bool)) { bind<&SDRPlayRadio::BiasT>(handle, callback); }
void SDRPlayRadio_setBiasT(void* handle, bool value) { set<&SDRPlayRadio::BiasT>(handle, value, "SDRPlayRadio.BiasT.set"); }
void SDRPlayRadio_bindClockOut(void* handle, void (*callback)(bool)) { bind<&SDRPlayRadio::ClockOut>(handle, callback); }
void SDRPlayRadio_setClockOut(void* handle, bool value) { set<&SDRPlayRadio::ClockOut>(handle, value, "SDRPlayRadio.ClockOut.set"); }
void SDRPlayRadio_bindDABNotch(void* handle, void (*callback)(bool)) { bind<&SDRPlayRadio::DABNotch>(handle, callback); }
void SDRPlayRadio_setDABNotch(void* handle, bool value) { set<&SDRPlayRadio::DABNotch>(handle, value, "SDRPlayRadio.DABNotch.set"); }
void SDRPlayRadio_bindHasClockOut(void* handle, void (*callback)(bool)) { bind<&SDRPlayRadio::HasClockOut>(handle, callback); }
void SDRPlayRadio_setHasClockOut(void* handle, bool value) { set<&SDRPlayRadio::HasClockOut>(handle, value, "SDRPlayRadio.HasClockOut.set"); }
void SDRPlayRadio_bindRFNotch(void* handle, void (*callback)(bool)) { bind<&SDRPlayRadio::RFNotch>(handle, callback); }
void SDRPlayRadio_setRFNotch(void* handle, bool value) { set<&SDRPlayRadio::RFNotch>(handle, value, "SDRPlayRadio.RFNotch.set"); }
void SDRPlayRadio_bindadcOverload(void* handle, void (*callback)(bool)) { bind<&SDRPlayRadio::adcOverload>(handle, callback); }
void SDRPlayRadio_setadcOverload(void* handle, bool value) { set<&SDRPlayRadio::adcOverload>(handle, value, "SDRPlayRadio.adcOverload.set"); }
void SDRPlayRadio_bindadcOverload2(void* handle, void (*callback)(bool)) { bind<&SDRPlayRadio::adcOverload2>(handle, callback); }
void SDRPlayRadio_setadcOverload2(void* handle, bool value) { set<&SDRPlayRadio::adcOverload2>(handle, value, "SDRPlayRadio.adcOverload2.set"); }
void SDRPlayRadio_bindModel(void* handle, void (*callback)(const char*)) { bind<&SDRPlayRadio::Model>(handle, callback); }
void SDRPlayRadio_setModel(void* handle, const char* value) { setText<&SDRPlayRadio::Model>(handle, value, "SDRPlayRadio.Model.set"); }
void SDRPlayRadio_bindSerialNo(void* handle, void (*callback)(const char*)) { bind<&SDRPlayRadio::SerialNo>(handle, callback); }
void SDRPlayRadio_setSerialNo(void* handle, const char* value) { setText<&SDRPlayRadio::SerialNo>(handle, value, "SDRPlayRadio.SerialNo.set"); }
void SDRPlayRadio_bindAntennas(void* handle, ferrow_list_callback callback) { bind<&SDRPlayRadio::Antennas>(handle, callback); }
void SDRPlayRadio_setAntennas(void* handle, int operation, int index, void* item) {
    setList<&SDRPlayRadio::Antennas>(handle, operation, index, item, "SDRPlayRadio.Antennas.set");
}
void SDRPlayRadio_resetAntennas(void* handle) { resetList<&SDRPlayRadio::Antennas>(handle, "SDRPlayRadio.Antennas.reset"); }
void SDRPlayRadio_bindSampleRates(void* handle, ferrow_list_callback callback) { bind<&SDRPlayRadio::SampleRates>(handle, callback); }
void SDRPlayRadio_setSampleRates(void* handle, int operation, int index, void* item) {
    setList<&SDRPlayRadio::SampleRates>(handle, operation, index, item, "SDRPlayRadio.SampleRates.set");
}
void SDRPlayRadio_resetSampleRates(void* handle) { resetList<&SDRPlayRadio::SampleRates>(handle, "SDRPlayRadio.SampleRates.reset"); }

} // extern "C"
