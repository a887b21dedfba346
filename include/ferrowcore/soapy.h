/* The shapes of a SoapySDR backend. Nothing stands behind them: no device is found or opened. */
#ifndef FERROWCORE_SOAPY_H
#define FERROWCORE_SOAPY_H

#include <ferrowcore/async.h>
#include <ferrowcore/export.h>

#include <stdbool.h>

FERROW_BEGIN_C

/* Common base of the objects that look for radios. */

FERROW_API void* Controller_create(void);
FERROW_API void Controller_release(void* handle);

/* A Controller. */

FERROW_API void* SoapyController_create(void);
FERROW_API void SoapyController_release(void* handle);

/* Enable: carried for the host. Default false. */
FERROW_API void SoapyController_bindEnable(void* handle, void (*callback)(bool value));
FERROW_API void SoapyController_setEnable(void* handle, bool value);

/* Found: carried for the host. Default empty. */
FERROW_API void SoapyController_bindFound(void* handle, void (*callback)(const char* value));
FERROW_API void SoapyController_setFound(void* handle, const char* value);

/* Does nothing. */
FERROW_API void SoapyController_Discover(void* handle);

/* A Radio without samples: its transceivers stay silent. */

FERROW_API void* SoapyRadio_create(void);
FERROW_API void SoapyRadio_release(void* handle);

/* SampleRates: list of ValueLabelItem, empty at first. */
FERROW_API void SoapyRadio_bindSampleRates(void* handle, ferrow_list_callback callback);
FERROW_API void SoapyRadio_setSampleRates(void* handle, int operation, int index, void* item);
FERROW_API void SoapyRadio_resetSampleRates(void* handle);

/* label: text, carried for the host. Default empty. */
FERROW_API void SoapyRadio_bindlabel(void* handle, void (*callback)(const char* value));
FERROW_API void SoapyRadio_setlabel(void* handle, const char* value);

/* antenna: text, carried for the host. Default empty. */
FERROW_API void SoapyRadio_bindantenna(void* handle, void (*callback)(const char* value));
FERROW_API void SoapyRadio_setantenna(void* handle, const char* value);

/* maxRxRFGain: dB, carried for the host. Default 0. */
FERROW_API void SoapyRadio_bindmaxRxRFGain(void* handle, void (*callback)(int value));
FERROW_API void SoapyRadio_setmaxRxRFGain(void* handle, int value);

/* minRxRFGain: dB, carried for the host. Default 0. */
FERROW_API void SoapyRadio_bindminRxRFGain(void* handle, void (*callback)(int value));
FERROW_API void SoapyRadio_setminRxRFGain(void* handle, int value);

/* rxGain: dB, carried for the host. Default 0. */
FERROW_API void SoapyRadio_bindrxGain(void* handle, void (*callback)(int value));
FERROW_API void SoapyRadio_setrxGain(void* handle, int value);

/* maxRxIFGain: dB, carried for the host. Default 0. */
FERROW_API void SoapyRadio_bindmaxRxIFGain(void* handle, void (*callback)(int value));
FERROW_API void SoapyRadio_setmaxRxIFGain(void* handle, int value);

/* minRxIFGain: dB, carried for the host. Default 0. */
FERROW_API void SoapyRadio_bindminRxIFGain(void* handle, void (*callback)(int value));
FERROW_API void SoapyRadio_setminRxIFGain(void* handle, int value);

/* rxIFGain: dB, carried for the host. Default 0. */
FERROW_API void SoapyRadio_bindrxIFGain(void* handle, void (*callback)(int value));
FERROW_API void SoapyRadio_setrxIFGain(void* handle, int value);

/* antennaAdded: never called. */
FERROW_API void SoapyRadio_bindantennaAdded(void* handle, void (*callback)(const char* name));

/* samplerateAdded: never called. */
FERROW_API void SoapyRadio_bindsamplerateAdded(void* handle, void (*callback)(int rate));

FERROW_END_C

#endif
