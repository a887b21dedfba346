#include "core/api/bridge.hpp"
#include "modes/client_mod_demod.hpp"
#include "modes/proxy_mod_demod.hpp"
#include "modes/raw_iq_mod_demod.hpp"
#include "modes/sig_gen_mod_demod.hpp"

#include <ferrowcore/utility_modes.h>

using namespace ferrow;
using namespace ferrow::api;

extern "C" {

void* sigGenModDemod_create(void) { return create<sigGenModDemod>(); }
void sigGenModDemod_bindampl1(void* handle, void (*callback)(double)) { bind<&sigGenModDemod::ampl1>(handle, callback); }
void sigGenModDemod_setampl1(void* handle, double value) { set<&sigGenModDemod::ampl1>(handle, value, "sigGenModDemod.ampl1.set"); }
void sigGenModDemod_bindampl2(void* handle, void (*callback)(double)) { bind<&sigGenModDemod::ampl2>(handle, callback); }
void sigGenModDemod_setampl2(void* handle, double value) { set<&sigGenModDemod::ampl2>(handle, value, "sigGenModDemod.ampl2.set"); }
void sigGenModDemod_bindfreq2(void* handle, void (*callback)(double)) { bind<&sigGenModDemod::freq2>(handle, callback); }
void sigGenModDemod_setfreq2(void* handle, double value) { set<&sigGenModDemod::freq2>(handle, value, "sigGenModDemod.freq2.set"); }

void* RawIQModDemod_create(void) { return create<RawIQModDemod>(); }

void* clientModDemod_create(void) { return create<clientModDemod>(); }
void clientModDemod_bindrxChunk(void* handle, void (*callback)(void*, int)) { bind<&clientModDemod::rxChunk>(handle, callback); }

void* proxyModDemod_create(void) { return create<proxyModDemod>(); }
void proxyModDemod_bindrxChunk(void* handle, void (*callback)(void*)) { bind<&proxyModDemod::rxChunk>(handle, callback); }
void proxyModDemod_bindgetTxChunk(void* handle, void (*callback)(void*, void*)) { bind<&proxyModDemod::getTxChunk>(handle, callback); }

} // extern "C"
