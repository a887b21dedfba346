#include "core/api/bridge.hpp"
#include "radios/soapy/soapy_radio.hpp"

#include <ferrowcore/soapy.h>

using namespace ferrow;
using namespace ferrow::api;

extern "C" {

void* Controller_create(void) { return create<Controller>(); }

void* SoapyController_create(void) { return create<SoapyController>(); }
void SoapyController_bindEnable(void* handle, void (*callback)(bool)) { bind<&SoapyController::Enable>(handle, callback); }
void SoapyController_setEnable(void* handle, bool value) { set<&SoapyController::Enable>(handle, value, "SoapyController.Enable.set"); }
void SoapyController_bindFound(void* handle, void (*callback)(const char*)) { bind<&SoapyController::Found>(handle, callback); }
void SoapyController_setFound(void* handle, const char* value) { setText<&SoapyController::Found>(handle, value, "SoapyController.Found.set"); }
void SoapyController_Discover(void* handle) { post<&SoapyController::Discover, SoapyController>(handle, "SoapyController.Discover()"); }

void* SoapyRadio_create(void) { return create<SoapyRadio>(); }
void SoapyRadio_bindSampleRates(void* handle, ferrow_list_callback callback) { bind<&SoapyRadio::SampleRates>(handle, callback); }
void SoapyRadio_setSampleRates(void* handle, int operation, int index, void* item) {
    setList<&SoapyRadio::SampleRates>(handle, operation, index, item, "SoapyRadio.SampleRates.set");
}
void SoapyRadio_resetSampleRates(void* handle) { resetList<&SoapyRadio::SampleRates>(handle, "SoapyRadio.SampleRates.reset"); }
void SoapyRadio_bindlabel(void* handle, void (*callback)(const char*)) { bind<&SoapyRadio::label>(handle, callback); }
void SoapyRadio_setlabel(void* handle, const char* value) { setText<&SoapyRadio::label>(handle, value, "SoapyRadio.label.set"); }
void SoapyRadio_bindantenna(void* handle, void (*callback)(const char*)) { bind<&SoapyRadio::antenna>(handle, callback); }
void SoapyRadio_setantenna(void* handle, const char* value) { setText<&SoapyRadio::antenna>(handle, value, "SoapyRadio.antenna.set"); }
void SoapyRadio_bindmaxRxRFGain(void* handle, void (*callback)(int)) { bind<&SoapyRadio::maxRxRFGain>(handle, callback); }
void SoapyRadio_setmaxRxRFGain(void* handle, int value) { set<&SoapyRadio::maxRxRFGain>(handle, value, "SoapyRadio.maxRxRFGain.set"); }
void SoapyRadio_bindminRxRFGain(void* handle, void (*callback)(int)) { bind<&SoapyRadio::minRxRFGain>(handle, callback); }
void SoapyRadio_setminRxRFGain(void* handle, int value) { set<&SoapyRadio::minRxRFGain>(handle, value, "SoapyRadio.minRxRFGain.set"); }
void SoapyRadio_bindrxGain(void* handle, void (*callback)(int)) { bind<&SoapyRadio::rxGain>(handle, callback); }
void SoapyRadio_setrxGain(void* handle, int value) { set<&SoapyRadio::rxGain>(handle, value, "SoapyRadio.rxGain.set"); }
void SoapyRadio_bindmaxRxIFGain(void* handle, void (*callback)(int)) { bind<&SoapyRadio::maxRxIFGain>(handle, callback); }
void SoapyRadio_setmaxRxIFGain(void* handle, int value) { set<&SoapyRadio::maxRxIFGain>(handle, value, "SoapyRadio.maxRxIFGain.set"); }
void SoapyRadio_bindminRxIFGain(void* handle, void (*callback)(int)) { bind<&SoapyRadio::minRxIFGain>(handle, callback); }
void SoapyRadio_setminRxIFGain(void* handle, int value) { set<&SoapyRadio::minRxIFGain>(handle, value, "SoapyRadio.minRxIFGain.set"); }
void SoapyRadio_bindrxIFGain(void* handle, void (*callback)(int)) { bind<&SoapyRadio::rxIFGain>(handle, callback); }
void SoapyRadio_setrxIFGain(void* handle, int value) { set<&SoapyRadio::rxIFGain>(handle, value, "SoapyRadio.rxIFGain.set"); }
void SoapyRadio_bindantennaAdded(void* handle, void (*callback)(const char*)) { bind<&SoapyRadio::antennaAdded>(handle, callback); }
void SoapyRadio_bindsamplerateAdded(void* handle, void (*callback)(int)) { bind<&SoapyRadio::samplerateAdded>(handle, callback); }

} // extern "C"
