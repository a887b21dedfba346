#include "core/api/bridge.hpp"
#include "modes/multi_psk_mod_demod.hpp"

#include <ferrowcore/multi_psk.h>

using namespace ferrow;
using namespace ferrow::api;

extern "C" {

void* MultiPskModDemod_create(void) { return create<MultiPskModDemod>(); }
void MultiPskModDemod_bindconnected(void* handle, void (*callback)(bool)) { bind<&MultiPskModDemod::connected>(handle, callback); }
void MultiPskModDemod_setconnected(void* handle, bool value) { set<&MultiPskModDemod::connected>(handle, value, "MultiPskModDemod.connected.set"); }
void MultiPskModDemod_bindsending(void* handle, void (*callback)(bool)) { bind<&MultiPskModDemod::sending>(handle, callback); }
void MultiPskModDemod_setsending(void* handle, bool value) { set<&MultiPskModDemod::sending>(handle, value, "MultiPskModDemod.sending.set"); }
void MultiPskModDemod_bindport(void* handle, void (*callback)(int)) { bind<&MultiPskModDemod::port>(handle, callback); }
void MultiPskModDemod_setport(void* handle, int value) { set<&MultiPskModDemod::port>(handle, value, "MultiPskModDemod.port.set"); }

} // extern "C"
