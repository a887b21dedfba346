#include "core/api/bridge.hpp"
#include "modes/psk_mod_demod.hpp"

#include <ferrowcore/psk.h>

using namespace ferrow;
using namespace ferrow::api;

extern "C" {

void* PskDetector_create(void) { return create<PskDetector>(); }
void PskDetector_bindactivity(void* handle, void (*callback)(int)) { bind<&PskDetector::activity>(handle, callback); }
void PskDetector_setactivity(void* handle, int value) { set<&PskDetector::activity>(handle, value, "PskDetector.activity.set"); }
void PskDetector_bindfreq(void* handle, void (*callback)(int)) { bind<&PskDetector::freq>(handle, callback); }
void PskDetector_setfreq(void* handle, int value) { set<&PskDetector::freq>(handle, value, "PskDetector.freq.set"); }
void PskDetector_bindsignalStrength(void* handle, void (*callback)(int)) { bind<&PskDetector::signalStrength>(handle, callback); }
void PskDetector_setsignalStrength(void* handle, int value) { set<&PskDetector::signalStrength>(handle, value, "PskDetector.signalStrength.set"); }
void PskDetector_bindMode(void* handle, void (*callback)(const char*)) { bind<&PskDetector::Mode>(handle, callback); }
void PskDetector_setMode(void* handle, const char* value) { setText<&PskDetector::Mode>(handle, value, "PskDetector.Mode.set"); }
void PskDetector_bindnewChars(void* handle, void (*callback)(const char*)) { bind<&PskDetector::newChars>(handle, callback); }
void PskDetector_bindreset(void* handle, void (*callback)(void)) { bind<&PskDetector::reset>(handle, callback); }

void* PskModDemod_create(void) { return create<PskModDemod>(); }
void PskModDemod_bindmode(void* handle, void (*callback)(int)) { bind<&PskModDemod::mode>(handle, callback); }
void PskModDemod_setmode(void* handle, int value) { set<&PskModDemod::mode>(handle, value, "PskModDemod.mode.set"); }
void PskModDemod_bindprimaryDetector(void* handle, void (*callback)(int)) { bind<&PskModDemod::primaryDetector>(handle, callback); }
void PskModDemod_setprimaryDetector(void* handle, int value) { set<&PskModDemod::primaryDetector>(handle, value, "PskModDemod.primaryDetector.set"); }
void PskModDemod_bindsigLevel(void* handle, void (*callback)(int)) { bind<&PskModDemod::sigLevel>(handle, callback); }
void PskModDemod_setsigLevel(void* handle, int value) { set<&PskModDemod::sigLevel>(handle, value, "PskModDemod.sigLevel.set"); }
void PskModDemod_bindModes(void* handle, void (*callback)(unsigned long long, unsigned long long, void*)) { bind<&PskModDemod::Modes>(handle, callback); }
void PskModDemod_setModes(void* handle, int operation, int index, void* itemHandle) {
    setList<&PskModDemod::Modes>(handle, operation, index, itemHandle, "PskModDemod.Modes.set");
}
void PskModDemod_resetModes(void* handle) { resetList<&PskModDemod::Modes>(handle, "PskModDemod.Modes.reset"); }
void PskModDemod_binddets(void* handle, void (*callback)(unsigned long long, unsigned long long, void*)) { bind<&PskModDemod::dets>(handle, callback); }
void PskModDemod_setdets(void* handle, int operation, int index, void* itemHandle) {
    setList<&PskModDemod::dets>(handle, operation, index, itemHandle, "PskModDemod.dets.set");
}
void PskModDemod_resetdets(void* handle) { resetList<&PskModDemod::dets>(handle, "PskModDemod.dets.reset"); }
void PskModDemod_bindnewChars(void* handle, void (*callback)(const char*)) { bind<&PskModDemod::newChars>(handle, callback); }
void PskModDemod_bindsentChars(void* handle, void (*callback)(const char*)) { bind<&PskModDemod::sentChars>(handle, callback); }
void PskModDemod_QueueText(void* handle, const char* text, int number) {
    post<&PskModDemod::QueueText, PskModDemod>(handle, "PskModDemod.QueueText()", std::string(text != nullptr ? text : ""), number);
}

} // extern "C"
