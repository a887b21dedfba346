/* Gain control. */
#ifndef FERROWCORE_AGC_H
#define FERROWCORE_AGC_H

#include <ferrowcore/async.h>
#include <ferrowcore/export.h>

#include <stdbool.h>

FERROW_BEGIN_C

/* Gain control, squelch and volume of a transceiver. All times are worked at 48000 samples a second. */

FERROW_API void* agc_create(void);
FERROW_API void agc_release(void* handle);

/* Attack: seconds, default 0.01; time constant with which the gain falls. 0 is instant. */
FERROW_API void agc_bindAttack(void* handle, void (*callback)(float value));
FERROW_API void agc_setAttack(void* handle, float value);

/* Decay: seconds, default 0.2; time constant with which the gain rises. 0 is instant. */
FERROW_API void agc_bindDecay(void* handle, void (*callback)(float value));
FERROW_API void agc_setDecay(void* handle, float value);

/* Hang: seconds, default 2; how long the gain stands still after a peak. */
FERROW_API void agc_bindHang(void* handle, void (*callback)(float value));
FERROW_API void agc_setHang(void* handle, float value);

/* MaxGain: dB, default 80. */
FERROW_API void agc_bindMaxGain(void* handle, void (*callback)(float value));
FERROW_API void agc_setMaxGain(void* handle, float value);

/* Squelch: dB, default -180. Above -180 the object is a gate: silence while the signal strength is below the
 * value, otherwise the signal at Volume without any gain control. */
FERROW_API void agc_bindSquelch(void* handle, void (*callback)(float value));
FERROW_API void agc_setSquelch(void* handle, float value);

/* Volume: linear, default 1. */
FERROW_API void agc_bindVolume(void* handle, void (*callback)(float value));
FERROW_API void agc_setVolume(void* handle, float value);

/* ManualGain: exponent of ten, default 1 (a gain of 10); used while Enabled is false. */
FERROW_API void agc_bindManualGain(void* handle, void (*callback)(double value));
FERROW_API void agc_setManualGain(void* handle, double value);

/* Enabled: default true: automatic gain. */
FERROW_API void agc_bindEnabled(void* handle, void (*callback)(bool value));
FERROW_API void agc_setEnabled(void* handle, bool value);

FERROW_END_C

#endif
