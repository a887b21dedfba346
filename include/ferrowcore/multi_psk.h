/* The link to the MultiPSK program. */
#ifndef FERROWCORE_MULTI_PSK_H
#define FERROWCORE_MULTI_PSK_H

#include <ferrowcore/export.h>

#include <stdbool.h>

FERROW_BEGIN_C

/* A mode (modDemod) that lets MultiPSK demodulate. From vtrx_setModulation on it listens on a TCP port, answers MultiPSK's
 * handshake and streams the receive baseband, 48000 16-bit pairs a second; MultiPSK may retune the transceiver, which shows
 * as its vfo. One client at a time. The audio is the real part of the baseband. It transmits nothing.
 *
 * It listens on 127.0.0.1 only. The environment variable FERROW_MULTIPSK_ADDRESS, read by _create, names another address of
 * this computer, IPv4 or IPv6; 0.0.0.0 or :: stands for all interfaces. There is no password: whoever reaches the port can
 * listen and tune. A port that cannot be opened is logged ("listen err ") and leaves the mode without a link. */

FERROW_API void* MultiPskModDemod_create(void);
FERROW_API void MultiPskModDemod_release(void* handle);

/* connected: a client is connected. Default false. */
FERROW_API void MultiPskModDemod_bindconnected(void* handle, void (*callback)(bool value));
FERROW_API void MultiPskModDemod_setconnected(void* handle, bool value);

/* sending: the client has asked for the stream. Default false. Stays when the client goes, until one says that it has
 * enough. */
FERROW_API void MultiPskModDemod_bindsending(void* handle, void (*callback)(bool value));
FERROW_API void MultiPskModDemod_setsending(void* handle, bool value);

/* port: 1 to 65535, default 50001; set it before vtrx_setModulation. While another object of this process has the port, the
 * next free one is taken and told here. */
FERROW_API void MultiPskModDemod_bindport(void* handle, void (*callback)(int value));
FERROW_API void MultiPskModDemod_setport(void* handle, int value);

FERROW_END_C

#endif
