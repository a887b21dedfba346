/* PSK31 and its relatives. */
#ifndef FERROWCORE_PSK_H
#define FERROWCORE_PSK_H

#include <ferrowcore/async.h>
#include <ferrowcore/export.h>

#include <stdbool.h>

FERROW_BEGIN_C

/* One receiver of PskModDemod's bank; the host gets these from its list. One that the host makes itself receives
 * nothing. */

FERROW_API void* PskDetector_create(void);
FERROW_API void PskDetector_release(void* handle);

/* activity: default 0; stored for the host. A detector with 200 or more is not given to another signal. */
FERROW_API void PskDetector_bindactivity(void* handle, void (*callback)(int value));
FERROW_API void PskDetector_setactivity(void* handle, int value);

/* freq: Hz, default 0; the tracked audio frequency, published every 0.7 s. A value that the host sets is overwritten then. */
FERROW_API void PskDetector_bindfreq(void* handle, void (*callback)(int value));
FERROW_API void PskDetector_setfreq(void* handle, int value);

/* signalStrength: default 0; stored for the host. */
FERROW_API void PskDetector_bindsignalStrength(void* handle, void (*callback)(int value));
FERROW_API void PskDetector_setsignalStrength(void* handle, int value);

/* Mode: "PSK31", "PSK63", "PSK125", "QPSK31", "QPSK63" or "QPSK125": what the detector reads. For display; setting it
 * changes no detector. Default empty. */
FERROW_API void PskDetector_bindMode(void* handle, void (*callback)(const char* value));
FERROW_API void PskDetector_setMode(void* handle, const char* value);

/* newChars: text received, one or more bytes; those above 127 as they came. */
FERROW_API void PskDetector_bindnewChars(void* handle, void (*callback)(const char* text));

/* reset: the detector has been given to another signal: a display starts a new line. */
FERROW_API void PskDetector_bindreset(void* handle, void (*callback)(void));

/* The PSK31 family. It watches the whole passband up to 3900 Hz with 66 detectors at once: 0 to 29 (PSK31) and 30 to 59
 * (PSK63) look for signals by themselves, 60 to 65 (PSK31, PSK63, PSK125, QPSK31, QPSK63, QPSK125) stand on rxFreq. One of
 * all is the primary, which also reports here; rxFreq and txFreq (modDemod, both 1500 Hz at first) follow it, and setting
 * rxFreq tunes it, the six and the transmitter. It transmits while ptt of its transceiver is on: preamble, queued text,
 * reversals while there is none. A release plays the postamble first. */

FERROW_API void* PskModDemod_create(void);
FERROW_API void PskModDemod_release(void* handle);

/* mode: the Value of an entry of Modes, default 0 (PSK31). Sets the transmitter, and makes the detector of that mode among
 * 60 to 65 the primary unless the primary reads it already. 3: ptt sends a steady carrier; 4: the same, then the
 * postamble. */
FERROW_API void PskModDemod_bindmode(void* handle, void (*callback)(int value));
FERROW_API void PskModDemod_setmode(void* handle, int value);

/* primaryDetector: place in dets, default 60. A value outside of 0 to 65: none. */
FERROW_API void PskModDemod_bindprimaryDetector(void* handle, void (*callback)(int value));
FERROW_API void PskModDemod_setprimaryDetector(void* handle, int value);

/* sigLevel: default 0; stored for the host. */
FERROW_API void PskModDemod_bindsigLevel(void* handle, void (*callback)(int value));
FERROW_API void PskModDemod_setsigLevel(void* handle, int value);

/* Modes: list of ValueLabelItem: the choices of mode. */
FERROW_API void PskModDemod_bindModes(void* handle, ferrow_list_callback callback);
FERROW_API void PskModDemod_setModes(void* handle, int operation, int index, void* item);
FERROW_API void PskModDemod_resetModes(void* handle);

/* dets: list of the 66 PskDetector. What the host does to the list leaves reception as it is. */
FERROW_API void PskModDemod_binddets(void* handle, ferrow_list_callback callback);
FERROW_API void PskModDemod_setdets(void* handle, int operation, int index, void* item);
FERROW_API void PskModDemod_resetdets(void* handle);

/* newChars: text received by the primary detector. */
FERROW_API void PskModDemod_bindnewChars(void* handle, void (*callback)(const char* text));

/* sentChars: a character has been taken for sending; one at a time, the final "~" too. */
FERROW_API void PskModDemod_bindsentChars(void* handle, void (*callback)(const char* text));

/* Queues text to send; it waits for ptt. "~" ends the transmission and is not sent itself. Up to 4096 bytes wait; what does
 * not fit is lost and logged. `number` has no meaning. */
FERROW_API void PskModDemod_QueueText(void* handle, const char* text, int number);

FERROW_END_C

#endif
