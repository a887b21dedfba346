#include "core/api/bridge.hpp"
#include "trx/agc.hpp"

#include <ferrowcore/agc.h>

using namespace ferrow;
using namespace ferrow::api;

extern "C" {

void* agc_create(void) { return create<agc>(); }
void agc_bindAttack(void* handle, void (*callback)(float)) { bind<&agc::Attack>(handle, callback); }
void agc_setAttack(void* handle, float value) { set<&agc::Attack>(handle, value, "agc.Attack.set"); }
void agc_bindDecay(void* handle, void (*callback)(float)) { bind<&agc::Decay>(handle, callback); }
void agc_setDecay(void* handle, float value) { set<&agc::Decay>(handle, value, "agc.Decay.set"); }
void agc_bindHang(void* handle, void (*callback)(float)) { bind<&agc::Hang>(handle, callback); }
void agc_setHang(void* handle, float value) { set<&agc::Hang>(handle, value, "agc.Hang.set"); }
void agc_bindMaxGain(void* handle, void (*callback)(float)) { bind<&agc::MaxGain>(handle, callback); }
void agc_setMaxGain(void* handle, float value) { set<&agc::MaxGain>(handle, value, "agc.MaxGain.set"); }
void agc_bindSquelch(void* handle, void (*callback)(float)) { bind<&agc::Squelch>(handle, callback); }
void agc_setSquelch(void* handle, float value) { set<&agc::Squelch>(handle, value, "agc.Squelch.set"); }
void agc_bindVolume(void* handle, void (*callback)(float)) { bind<&agc::Volume>(handle, callback); }
void agc_setVolume(void* handle, float value) { set<&agc::Volume>(handle, value, "agc.Volume.set"); }
void agc_bindManualGain(void* handle, void (*callback)(double)) { bind<&agc::ManualGain>(handle, callback); }
void agc_setManualGain(void* handle, double value) { set<&agc::ManualGain>(handle, value, "agc.ManualGain.set"); }
void agc_bindEnabled(void* handle, void (*callback)(bool)) { bind<&agc::Enabled>(handle, callback); }
void agc_setEnabled(void* handle, bool value) { set<&agc::Enabled>(handle, value, "agc.Enabled.set"); }

} // extern "C"
