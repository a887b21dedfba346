/* The application object, and the small records that lists are made of. */
#ifndef FERROWCORE_WIRELESS_H
#define FERROWCORE_WIRELESS_H

#include <ferrowcore/async.h>
#include <ferrowcore/export.h>

#include <stdbool.h>

FERROW_BEGIN_C

/* A choice in a list: what it stands for, and its text. */

FERROW_API void* ValueLabelItem_create(void);
FERROW_API void ValueLabelItem_release(void* handle);

/* Value: what the choice stands for, as its list says. Default 0. */
FERROW_API void ValueLabelItem_bindValue(void* handle, void (*callback)(int value));
FERROW_API void ValueLabelItem_setValue(void* handle, int value);

/* Label: its text. Default empty. */
FERROW_API void ValueLabelItem_bindLabel(void* handle, void (*callback)(const char* value));
FERROW_API void ValueLabelItem_setLabel(void* handle, const char* value);

/* A point of a piecewise linear curve: of a power calibration or of an equaliser. */

FERROW_API void* calibLine_create(void);
FERROW_API void calibLine_release(void* handle);

/* inp: where the point lies: a smoothed reading of the ADC, or Hz. Default 0. */
FERROW_API void calibLine_bindinp(void* handle, void (*callback)(double value));
FERROW_API void calibLine_setinp(void* handle, double value);

/* outp: what the curve gives there: watts, or a linear gain. Default 0. */
FERROW_API void calibLine_bindoutp(void* handle, void (*callback)(double value));
FERROW_API void calibLine_setoutp(void* handle, double value);

/* The application object: made once, after init. It lists the audio devices, which are found when the first
 * one is made, and owns the microphone curve of all voice modes. */

FERROW_API void* Wireless_create(void);
FERROW_API void Wireless_release(void* handle);

/* DefaultMicEQ: the curve, a persistent list of calibLine: inp in Hz, strictly rising, outp a linear gain.
 * Nine lines or more; only the first nine count. Store what the host is told, and hand it back before
 * Wireless_Init. */
FERROW_API void Wireless_bindDefaultMicEQ(void* handle, ferrow_list_callback callback);
FERROW_API void Wireless_setDefaultMicEQ(void* handle, int operation, int index, void* item);
FERROW_API void Wireless_resetDefaultMicEQ(void* handle);

/* inputDevices: list of ValueLabelItem: capture devices. Value is what vtrx_setaudioInput takes: 0 for "None", 1 and
 * up. */
FERROW_API void Wireless_bindinputDevices(void* handle, ferrow_list_callback callback);
FERROW_API void Wireless_setinputDevices(void* handle, int operation, int index, void* item);
FERROW_API void Wireless_resetinputDevices(void* handle);

/* outputDevices: list of ValueLabelItem: playback devices. Value is what vtrx_setaudioOutput takes: -1 for "None",
 * the device number, or that plus 1000 for its low-latency twin, whose label ends in "-L". */
FERROW_API void Wireless_bindoutputDevices(void* handle, ferrow_list_callback callback);
FERROW_API void Wireless_setoutputDevices(void* handle, int operation, int index, void* item);
FERROW_API void Wireless_resetoutputDevices(void* handle);

/* PlotCplxF: may be bound; nothing calls it. */
FERROW_API void Wireless_bindPlotCplxF(void* handle, void (*callback)(void* complexArray));

/* Fills an empty DefaultMicEQ with nine lines of gain 1, and watches the first nine lines. Call it after the
 * saved lines have been handed back. */
FERROW_API void Wireless_Init(void* handle);

FERROW_END_C

#endif
