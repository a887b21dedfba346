#include "core/api/bridge.hpp"
#include "radios/wsproxy/ws_proxy_radio.hpp"

#include <ferrowcore/wsproxy.h>

using namespace ferrow;
using namespace ferrow::api;

extern "C" {

void* WsProxyRadio_create(void) { return create<WsProxyRadio>(); }
void WsProxyRadio_bindRemoteID(void* handle, void (*callback)(int)) { bind<&WsProxyRadio::RemoteID>(handle, callback); }
void WsProxyRadio_setRemoteID(void* handle, int value) { set<&WsProxyRadio::RemoteID>(handle, value, "WsProxyRadio.RemoteID.set"); }
void WsProxyRadio_bindURI(void* handle, void (*callback)(const char*)) { bind<&WsProxyRadio::URI>(handle, callback); }
void WsProxyRadio_setURI(void* handle, const char* value) { setText<&WsProxyRadio::URI>(handle, value, "WsProxyRadio.URI.set"); }

} // extern "C"
