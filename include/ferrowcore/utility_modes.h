/* Modes for measurements, and for hosts that work on the samples themselves. */
#ifndef FERROWCORE_UTILITY_MODES_H
#define FERROWCORE_UTILITY_MODES_H

#include <ferrowcore/async.h>
#include <ferrowcore/export.h>

FERROW_BEGIN_C

/* A test generator: sends a carrier at the tuned frequency and a tone above it, past the transmit filter as
 * any mode. It receives as single sideband does. */

FERROW_API void* sigGenModDemod_create(void);
FERROW_API void sigGenModDemod_release(void* handle);

/* ampl1: default 1; level of the carrier, 1 is full scale. Both levels count up to 1000, and no number as 0.
 */
FERROW_API void sigGenModDemod_bindampl1(void* handle, void (*callback)(double value));
FERROW_API void sigGenModDemod_setampl1(void* handle, double value);

/* ampl2: default 0; level of the tone. */
FERROW_API void sigGenModDemod_bindampl2(void* handle, void (*callback)(double value));
FERROW_API void sigGenModDemod_setampl2(void* handle, double value);

/* freq2: Hz, default 200; how far the tone lies above the carrier, negative for below. */
FERROW_API void sigGenModDemod_bindfreq2(void* handle, void (*callback)(double value));
FERROW_API void sigGenModDemod_setfreq2(void* handle, double value);

/* No audio and no transmission: for a transceiver whose newIQ is wanted. */

FERROW_API void* RawIQModDemod_create(void);
FERROW_API void RawIQModDemod_release(void* handle);

/* Hands every received block to the host and plays it as single sideband does. It transmits nothing. */

FERROW_API void* clientModDemod_create(void);
FERROW_API void clientModDemod_release(void* handle);

/* rxChunk: called by the pump with a complexArray of 512 samples at 48000 a second, after the receive filter,
 * which the host owns, and the block's number, from 0. A gap in the numbers is a block that was dropped. */
FERROW_API void clientModDemod_bindrxChunk(void* handle, void (*callback)(void* complexArray, int number));

/* A mode whose work the host does in line. Its two callbacks are the only ones that do not wait for the pump:
 * they run on one of the library's threads, possibly both at once, and hold up the stream until they return.
 * They must be quick, and call no function of the library but those of the arrays. The host owns the arrays.
 */

FERROW_API void* proxyModDemod_create(void);
FERROW_API void proxyModDemod_release(void* handle);

/* rxChunk: called with a complexArray of 512 received samples at 48000 a second; they are good until it
 * returns. The mode plays them as single sideband does, with what the host has changed in them. */
FERROW_API void proxyModDemod_bindrxChunk(void* handle, void (*callback)(void* complexArray));

/* getTxChunk: called with two complexArrays of 512 samples at 48000 a second: the one to fill, which passes
 * the transmit filter and goes to the radio, and the microphone, as 0.707 of each sample in both components.
 * Unbound, it sends silence. */
FERROW_API void proxyModDemod_bindgetTxChunk(void* handle, void (*callback)(void* complexArray_out, void* complexArray_microphone));

FERROW_END_C

#endif
