/* Modes: their base and the voice modes. All of these transmit in blocks of 512 samples. */
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

/* rnnoiseSquelch: percent, default 80; how much of the noise reduction's gains is kept: 100 all that it takes away,
 * 0 nothing. Values beyond these bounds count as the nearer one, and as 100 if it is no number. */
FERROW_API void modDemod_bindrnnoiseSquelch(void* handle, void (*callback)(double value));
FERROW_API void modDemod_setrnnoiseSquelch(void* handle, double value);

/* rnnoise: default false; a neural network takes noise out of the received voice, a block of 512 samples later. The gain
 * control behind it takes times and volume from the transceiver's rxagc and amplifies by up to 10 dB. */
FERROW_API void modDemod_bindrnnoise(void* handle, void (*callback)(bool value));
FERROW_API void modDemod_setrnnoise(void* handle, bool value);

/* Amplitude modulation, received by its envelope. It sends a half-scale carrier with the audio from 150 to
 * 3000 Hz, whatever the transmit filter. */

FERROW_API void* amModDemod_create(void);
FERROW_API void amModDemod_release(void* handle);

/* compression: default 1; gain into the transmit clipper, which a full-scale tone just reaches at 1. Here and
 * in the other voice modes it counts up to a million, and 0 if it is no number. */
FERROW_API void amModDemod_bindcompression(void* handle, void (*callback)(double value));
FERROW_API void amModDemod_setcompression(void* handle, double value);

/* Single sideband. The filters choose the sideband: 300 to 2700 Hz is upper, -2700 to -300 Hz is lower. The
 * transmitted audio stays 100 Hz inside of either edge of the transmit filter. */

FERROW_API void* ssbModDemod_create(void);
FERROW_API void ssbModDemod_release(void* handle);

/* compression: default 1; gain into the transmit clipper, which a full-scale tone just reaches at 1. */
FERROW_API void ssbModDemod_bindcompression(void* handle, void (*callback)(double value));
FERROW_API void ssbModDemod_setcompression(void* handle, double value);

/* UseMicEQ: default true; the microphone curve of Wireless shapes the transmission. A change of this or of
 * the curve takes effect with the next vtrx_setTxFilter. */
FERROW_API void ssbModDemod_bindUseMicEQ(void* handle, void (*callback)(bool value));
FERROW_API void ssbModDemod_setUseMicEQ(void* handle, bool value);

/* Frequency modulation. With a deviation below 12000 Hz it is narrow, at 48 kHz, with mono audio; from 12000
 * Hz on it receives broadcast stations, at 384 kHz, with pairs of left and right. Set the receive filter anew
 * when the deviation has crossed that line. Transmission is meant for narrow deviations: its I/Q has 48 kHz
 * always. */

FERROW_API void* fmModDemod_create(void);
FERROW_API void fmModDemod_release(void* handle);

/* compression: default 1; gain into the transmit clipper, which a full-scale tone of 300 Hz just reaches at
 * 1; the pre-emphasis adds to it in proportion to the frequency. */
FERROW_API void fmModDemod_bindcompression(void* handle, void (*callback)(double value));
FERROW_API void fmModDemod_setcompression(void* handle, double value);

/* deviation: Hz, default 75000; peak deviation of a transmission, and the one that is received at full scale.
 * Below 1 Hz, or if it is no number, reception is silent; transmission counts up to 1 MHz, and no number as
 * 0. */
FERROW_API void fmModDemod_binddeviation(void* handle, void (*callback)(double value));
FERROW_API void fmModDemod_setdeviation(void* handle, double value);

/* CTCSS: Hz, default 0: off, as is a negative value; a tone under the voice, at a tenth of it. While it is on
 * all deviation is 0.85 of what it is without. Higher ones count as 24000. */
FERROW_API void fmModDemod_bindCTCSS(void* handle, void (*callback)(double value));
FERROW_API void fmModDemod_setCTCSS(void* handle, double value);

/* MaxDeviation: Hz, default 100000; carried for the host. */
FERROW_API void fmModDemod_bindMaxDeviation(void* handle, void (*callback)(double value));
FERROW_API void fmModDemod_setMaxDeviation(void* handle, double value);

/* Stereo: default false: broadcast stations are heard in mono, on both sides. */
FERROW_API void fmModDemod_bindStereo(void* handle, void (*callback)(bool value));
FERROW_API void fmModDemod_setStereo(void* handle, bool value);

FERROW_END_C

#endif
