/* A radio at the far end of a websocket: one receiver at 48 kHz. */
#ifndef FERROWCORE_WSPROXY_H
#define FERROWCORE_WSPROXY_H

#include <ferrowcore/async.h>
#include <ferrowcore/export.h>

#include <stdbool.h>

FERROW_BEGIN_C

/* A Radio; its functions work on it too. Radio_start connects, on a thread of the radio's own; what goes wrong there is
 * written to the standard output as "Error: " and the reason, and the radio is silent until Radio_stop and
 * Radio_start. Radio_stop acts with the next message of the server, and the next Radio_start waits for that. The
 * first Radio_start makes the first transceiver; on a radio that has one already it fails, and logs that. */

FERROW_API void* WsProxyRadio_create(void);
FERROW_API void WsProxyRadio_release(void* handle);

/* RemoteID: the receiver to ask the server for; read by Radio_start. Default 0. */
FERROW_API void WsProxyRadio_bindRemoteID(void* handle, void (*callback)(int value));
FERROW_API void WsProxyRadio_setRemoteID(void* handle, int value);

/* URI: ws://host:port/path of the server; read by Radio_start. Default empty. */
FERROW_API void WsProxyRadio_bindURI(void* handle, void (*callback)(const char* value));
FERROW_API void WsProxyRadio_setURI(void* handle, const char* value);

FERROW_END_C

#endif
