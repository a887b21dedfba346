#include "core/api/bridge.hpp"
#include "modes/chirp_mod_demod.hpp"
#include "modes/cw_mod_demod.hpp"
#include "modes/fsk_mod_demod.hpp"
#include "modes/hellschreiber_mod_demod.hpp"
#include "modes/rtty_mod_demod.hpp"

#include <ferrowcore/keyboard.h>

using namespace ferrow;
using namespace ferrow::api;

namespace {

// The text is copied at once. Null counts as empty.
template <class Mode>
void queueText(void* handle, const char* text, int flags, const char* label) {
    post<&Mode::QueueText, Mode>(handle, label, std::string(text != nullptr ? text : ""), flags);
}

} // namespace

extern "C" {

void* cwModDemod_create(void) { return create<cwModDemod>(); }
void cwModDemod_bindswHangTime(void* handle, void (*callback)(int)) { bind<&cwModDemod::swHangTime>(handle, callback); }
void cwModDemod_setswHangTime(void* handle, int value) { set<&cwModDemod::swHangTime>(handle, value, "cwModDemod.swHangTime.set"); }
void cwModDemod_binddbg1(void* handle, void (*callback)(double)) { bind<&cwModDemod::dbg1>(handle, callback); }
void cwModDemod_setdbg1(void* handle, double value) { set<&cwModDemod::dbg1>(handle, value, "cwModDemod.dbg1.set"); }
void cwModDemod_binddbg2(void* handle, void (*callback)(double)) { bind<&cwModDemod::dbg2>(handle, callback); }
void cwModDemod_setdbg2(void* handle, double value) { set<&cwModDemod::dbg2>(handle, value, "cwModDemod.dbg2.set"); }
void cwModDemod_bindfreq(void* handle, void (*callback)(double)) { bind<&cwModDemod::freq>(handle, callback); }
void cwModDemod_setfreq(void* handle, double value) { set<&cwModDemod::freq>(handle, value, "cwModDemod.freq.set"); }
void cwModDemod_bindrxwpm(void* handle, void (*callback)(double)) { bind<&cwModDemod::rxwpm>(handle, callback); }
void cwModDemod_setrxwpm(void* handle, double value) { set<&cwModDemod::rxwpm>(handle, value, "cwModDemod.rxwpm.set"); }
void cwModDemod_bindsidetoneVolume(void* handle, void (*callback)(double)) { bind<&cwModDemod::sidetoneVolume>(handle, callback); }
void cwModDemod_setsidetoneVolume(void* handle, double value) { set<&cwModDemod::sidetoneVolume>(handle, value, "cwModDemod.sidetoneVolume.set"); }
void cwModDemod_bindwpm(void* handle, void (*callback)(double)) { bind<&cwModDemod::wpm>(handle, callback); }
void cwModDemod_setwpm(void* handle, double value) { set<&cwModDemod::wpm>(handle, value, "cwModDemod.wpm.set"); }
void cwModDemod_bindnewChars(void* handle, void (*callback)(const char* text)) { bind<&cwModDemod::newChars>(handle, callback); }
void cwModDemod_bindnewDebug(void* handle, void (*callback)(void* values, double a, double b, int c)) { bind<&cwModDemod::newDebug>(handle, callback); }
void cwModDemod_bindsentChars(void* handle, void (*callback)(const char* text)) { bind<&cwModDemod::sentChars>(handle, callback); }
void cwModDemod_KeyDown(void* handle) { post<&cwModDemod::KeyDown, cwModDemod>(handle, "cwModDemod.KeyDown()"); }
void cwModDemod_KeyUp(void* handle) { post<&cwModDemod::KeyUp, cwModDemod>(handle, "cwModDemod.KeyUp()"); }
void cwModDemod_QueueText(void* handle, const char* text, int flags) { queueText<cwModDemod>(handle, text, flags, "cwModDemod.QueueText()"); }

void* RTTYModDemod_create(void) { return create<RTTYModDemod>(); }
void RTTYModDemod_binddbg1(void* handle, void (*callback)(float)) { bind<&RTTYModDemod::dbg1>(handle, callback); }
void RTTYModDemod_setdbg1(void* handle, float value) { set<&RTTYModDemod::dbg1>(handle, value, "RTTYModDemod.dbg1.set"); }
void RTTYModDemod_binddbg2(void* handle, void (*callback)(float)) { bind<&RTTYModDemod::dbg2>(handle, callback); }
void RTTYModDemod_setdbg2(void* handle, float value) { set<&RTTYModDemod::dbg2>(handle, value, "RTTYModDemod.dbg2.set"); }
void RTTYModDemod_bindnewChars(void* handle, void (*callback)(const char* text)) { bind<&RTTYModDemod::newChars>(handle, callback); }
void RTTYModDemod_bindnewDebug(void* handle, void (*callback)(void* values, double a, double b, int c)) { bind<&RTTYModDemod::newDebug>(handle, callback); }
void RTTYModDemod_bindsentChars(void* handle, void (*callback)(const char* text)) { bind<&RTTYModDemod::sentChars>(handle, callback); }
void RTTYModDemod_QueueText(void* handle, const char* text, int flags) { queueText<RTTYModDemod>(handle, text, flags, "RTTYModDemod.QueueText()"); }

void* fskModDemod_create(void) { return create<fskModDemod>(); }
void fskModDemod_bindbaud(void* handle, void (*callback)(int)) { bind<&fskModDemod::baud>(handle, callback); }
void fskModDemod_setbaud(void* handle, int value) { set<&fskModDemod::baud>(handle, value, "fskModDemod.baud.set"); }
void fskModDemod_bindf0(void* handle, void (*callback)(int)) { bind<&fskModDemod::f0>(handle, callback); }
void fskModDemod_setf0(void* handle, int value) { set<&fskModDemod::f0>(handle, value, "fskModDemod.f0.set"); }
void fskModDemod_bindf1(void* handle, void (*callback)(int)) { bind<&fskModDemod::f1>(handle, callback); }
void fskModDemod_setf1(void* handle, int value) { set<&fskModDemod::f1>(handle, value, "fskModDemod.f1.set"); }

void* hellschreiberModDemod_create(void) { return create<hellschreiberModDemod>(); }
void hellschreiberModDemod_bindfrequencyStep(void* handle, void (*callback)(double)) { bind<&hellschreiberModDemod::frequencyStep>(handle, callback); }
void hellschreiberModDemod_setfrequencyStep(void* handle, double value) {
    set<&hellschreiberModDemod::frequencyStep>(handle, value, "hellschreiberModDemod.frequencyStep.set");
}
void hellschreiberModDemod_bindsentChars(void* handle, void (*callback)(const char* text)) { bind<&hellschreiberModDemod::sentChars>(handle, callback); }
void hellschreiberModDemod_QueueText(void* handle, const char* text, int flags) {
    queueText<hellschreiberModDemod>(handle, text, flags, "hellschreiberModDemod.QueueText()");
}

void* chirpyModDemod_create(void) { return create<chirpyModDemod>(); }

} // extern "C"
