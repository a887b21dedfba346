/* Modes: their base and the voice modes. */
#ifndef FERROWCORE_MODES_H
#define FERROWCORE_MODES_H

#include <ferrowcore/async.h>
#include <ferrowcore/export.h>

#include <stdbool.h>

FERROW_BEGIN_C

/* What all modes have in common; its functions take the handle of any mode. A plain modDemod is silent. A
 * mode serves one transceiver at a time: the last one that it was given to. */

FERROW_API void* modDemod_create(void);
FERROW_API void modDemod_release(void* handle);

/* db1: carried for the host and the digital modes. Default 0. */
FERROW_API void modDemod_binddb1(void* handle, void (*callback)(int value));
FERROW_API void modDemod_setdb1(void* handle, int value);

/* rxFreq: Hz, default 0; audio frequency at which a digital mode receives. */
FERROW_API void modDemod_bindrxFreq(void* handle, void (*callback)(int value));
FERROW_API void modDemod_setrxFreq(void* handle, int value);

/* txFreq: Hz, default 0; audio frequency at which it transmits. */
FERROW_API void modDemod_bindtxFreq(void* handle, void (*callback)(int value));
FERROW_API void modDemod_settxFreq(void* handle, int value);

/* rnnoiseSquelch: percent, default 80; how much of the noise reduction's gains is kept. */
FERROW_API void modDemod_bindrnnoiseSquelch(void* handle, void (*callback)(double value));
FERROW_API void modDemod_setrnnoiseSquelch(void* handle, double value);

/* rnnoise: default false; noise reduction. Without effect in this version. */
FERROW_API void modDemod_bindrnnoise(void* handle, void (*callback)(bool value));
FERROW_API void modDemod_setrnnoise(void* handle, bool value);

/* Amplitude modulation, received by its envelope. */

FERROW_API void* amModDemod_create(void);
FERROW_API void amModDemod_release(void* handle);

/* compression: default 1; gain into the transmit clipper. */
FERROW_API void amModDemod_bindcompression(void* handle, void (*callback)(double value));
FERROW_API void amModDemod_setcompression(void* handle, double value);

/* Single sideband. The filters choose the sideband: 300 to 2700 Hz is upper, -2700 to -300 Hz is lower. */

FERROW_API void* ssbModDemod_create(void);
FERROW_API void ssbModDemod_release(void* handle);

/* compression: default 1; gain into the transmit clipper. */
FERROW_API void ssbModDemod_bindcompression(void* handle, void (*callback)(double value));
FERROW_API void ssbModDemod_setcompression(void* handle, double value);

/* UseMicEQ: default true; the microphone curve of Wireless shapes the transmission. */
FERROW_API void ssbModDemod_bindUseMicEQ(void* handle, void (*callback)(bool value));
FERROW_API void ssbModDemod_setUseMicEQ(void* handle, bool value);

FERROW_END_C

#endif
