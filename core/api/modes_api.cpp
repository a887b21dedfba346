#include "core/api/bridge.hpp"
#include "modes/am_mod_demod.hpp"
#include "modes/fm_mod_demod.hpp"
#include "modes/ssb_mod_demod.hpp"

#include <ferrowcore/modes.h>

using namespace ferrow;
using namespace ferrow::api;

extern "C" {

void* modDemod_create(void) { return create<modDemod>(); }
void modDemod_binddb1(void* handle, void (*callback)(int)) { bind<&modDemod::db1>(handle, callback); }
void modDemod_setdb1(void* handle, int value) { set<&modDemod::db1>(handle, value, "modDemod.db1.set"); }
void modDemod_bindrxFreq(void* handle, void (*callback)(int)) { bind<&modDemod::rxFreq>(handle, callback); }
void modDemod_setrxFreq(void* handle, int value) { set<&modDemod::rxFreq>(handle, value, "modDemod.rxFreq.set"); }
void modDemod_bindtxFreq(void* handle, void (*callback)(int)) { bind<&modDemod::txFreq>(handle, callback); }
void modDemod_settxFreq(void* handle, int value) { set<&modDemod::txFreq>(handle, value, "modDemod.txFreq.set"); }
void modDemod_bindrnnoiseSquelch(void* handle, void (*callback)(double)) { bind<&modDemod::rnnoiseSquelch>(handle, callback); }
void modDemod_setrnnoiseSquelch(void* handle, double value) { set<&modDemod::rnnoiseSquelch>(handle, value, "modDemod.rnnoiseSquelch.set"); }
void modDemod_bindrnnoise(void* handle, void (*callback)(bool)) { bind<&modDemod::rnnoise>(handle, callback); }
void modDemod_setrnnoise(void* handle, bool value) { set<&modDemod::rnnoise>(handle, value, "modDemod.rnnoise.set"); }

void* amModDemod_create(void) { return create<amModDemod>(); }
void amModDemod_bindcompression(void* handle, void (*callback)(double)) { bind<&amModDemod::compression>(handle, callback); }
void amModDemod_setcompression(void* handle, double value) { set<&amModDemod::compression>(handle, value, "amModDemod.compression.set"); }

void* ssbModDemod_create(void) { return create<ssbModDemod>(); }
void ssbModDemod_bindcompression(void* handle, void (*callback)(double)) { bind<&ssbModDemod::compression>(handle, callback); }
void ssbModDemod_setcompression(void* handle, double value) { set<&ssbModDemod::compression>(handle, value, "ssbModDemod.compression.set"); }
void ssbModDemod_bindUseMicEQ(void* handle, void (*callback)(bool)) { bind<&ssbModDemod::UseMicEQ>(handle, callback); }
void ssbModDemod_setUseMicEQ(void* handle, bool value) { set<&ssbModDemod::UseMicEQ>(handle, value, "ssbModDemod.UseMicEQ.set"); }

void* fmModDemod_create(void) { return create<fmModDemod>(); }
void fmModDemod_bindcompression(void* handle, void (*callback)(double)) { bind<&fmModDemod::compression>(handle, callback); }
void fmModDemod_setcompression(void* handle, double value) { set<&fmModDemod::compression>(handle, value, "fmModDemod.compression.set"); }
void fmModDemod_binddeviation(void* handle, void (*callback)(double)) { bind<&fmModDemod::deviation>(handle, callback); }
void fmModDemod_setdeviation(void* handle, double value) { set<&fmModDemod::deviation>(handle, value, "fmModDemod.deviation.set"); }
void fmModDemod_bindCTCSS(void* handle, void (*callback)(double)) { bind<&fmModDemod::CTCSS>(handle, callback); }
void fmModDemod_setCTCSS(void* handle, double value) { set<&fmModDemod::CTCSS>(handle, value, "fmModDemod.CTCSS.set"); }
void fmModDemod_bindMaxDeviation(void* handle, void (*callback)(double)) { bind<&fmModDemod::MaxDeviation>(handle, callback); }
void fmModDemod_setMaxDeviation(void* handle, double value) { set<&fmModDemod::MaxDeviation>(handle, value, "fmModDemod.MaxDeviation.set"); }
void fmModDemod_bindStereo(void* handle, void (*callback)(bool)) { bind<&fmModDemod::Stereo>(handle, callback); }
void fmModDemod_setStereo(void* handle, bool value) { set<&fmModDemod::Stereo>(handle, value, "fmModDemod.Stereo.set"); }

} // extern "C"
