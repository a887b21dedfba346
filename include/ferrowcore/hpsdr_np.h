/* Radios on the new HPSDR protocol: they receive, and do not transmit. */
#ifndef FERROWCORE_HPSDR_NP_H
#define FERROWCORE_HPSDR_NP_H

#include <ferrowcore/async.h>
#include <ferrowcore/export.h>

#include <stdbool.h>

FERROW_BEGIN_C

/* A Radio; its functions work on it too. Callbacks run in getUpdates. */

FERROW_API void* HpsdrNpRadio_create(void);
FERROW_API void HpsdrNpRadio_release(void* handle);

/* SampleRates: list of ValueLabelItem, 48 to 1536 kHz, for display. */
FERROW_API void HpsdrNpRadio_bindSampleRates(void* handle, ferrow_list_callback callback);
FERROW_API void HpsdrNpRadio_setSampleRates(void* handle, int operation, int index, void* item);
FERROW_API void HpsdrNpRadio_resetSampleRates(void* handle);

/* Mac: hardware address, carried for the host. Default empty. */
FERROW_API void HpsdrNpRadio_bindMac(void* handle, void (*callback)(const char* value));
FERROW_API void HpsdrNpRadio_setMac(void* handle, const char* value);

/* ipAddress: IPv4 address, dotted; read by the first start. Default empty. */
FERROW_API void HpsdrNpRadio_bindipAddress(void* handle, void (*callback)(const char* value));
FERROW_API void HpsdrNpRadio_setipAddress(void* handle, const char* value);

/* txGain: dB, not sent to the radio. Default 0. */
FERROW_API void HpsdrNpRadio_bindtxGain(void* handle, void (*callback)(int value));
FERROW_API void HpsdrNpRadio_settxGain(void* handle, int value);

/* rxGain: RF gain in receive, dB, minRxRFGain to maxRxRFGain; goes out as attenuation with the next periodic packet and is taken out
 * of the samples at once. Default 0. */
FERROW_API void HpsdrNpRadio_bindrxGain(void* handle, void (*callback)(int value));
FERROW_API void HpsdrNpRadio_setrxGain(void* handle, int value);

/* maxTxRFGain: dB, carried for the host. Default 0. */
FERROW_API void HpsdrNpRadio_bindmaxTxRFGain(void* handle, void (*callback)(int value));
FERROW_API void HpsdrNpRadio_setmaxTxRFGain(void* handle, int value);

/* minTxRFGain: dB, carried for the host. Default -31. */
FERROW_API void HpsdrNpRadio_bindminTxRFGain(void* handle, void (*callback)(int value));
FERROW_API void HpsdrNpRadio_setminTxRFGain(void* handle, int value);

/* maxRxRFGain: dB; the attenuator is maxRxRFGain - rxGain. Default 0. */
FERROW_API void HpsdrNpRadio_bindmaxRxRFGain(void* handle, void (*callback)(int value));
FERROW_API void HpsdrNpRadio_setmaxRxRFGain(void* handle, int value);

/* minRxRFGain: dB, carried for the host. Default -31. */
FERROW_API void HpsdrNpRadio_bindminRxRFGain(void* handle, void (*callback)(int value));
FERROW_API void HpsdrNpRadio_setminRxRFGain(void* handle, int value);

/* clockFrequency: of the ADC, Hz; a retune uses it at once, the span of the wideband data from the first start on. Default
 * 122880000. */
FERROW_API void HpsdrNpRadio_bindclockFrequency(void* handle, void (*callback)(int value));
FERROW_API void HpsdrNpRadio_setclockFrequency(void* handle, int value);

/* frequencyCalibration: carried for the host; frequencies go out without it. Default 1.0. */
FERROW_API void HpsdrNpRadio_bindfrequencyCalibration(void* handle, void (*callback)(double value));
FERROW_API void HpsdrNpRadio_setfrequencyCalibration(void* handle, double value);

/* autoFreqCalib: carried for the host. Default false. */
FERROW_API void HpsdrNpRadio_bindautoFreqCalib(void* handle, void (*callback)(bool value));
FERROW_API void HpsdrNpRadio_setautoFreqCalib(void* handle, bool value);

/* FwVersion: firmware, carried for the host. Default 0. */
FERROW_API void HpsdrNpRadio_bindFwVersion(void* handle, void (*callback)(int value));
FERROW_API void HpsdrNpRadio_setFwVersion(void* handle, int value);

/* Temp: degrees Celsius, carried for the host. Default 0. */
FERROW_API void HpsdrNpRadio_bindTemp(void* handle, void (*callback)(double value));
FERROW_API void HpsdrNpRadio_setTemp(void* handle, double value);

/* Current: mA, carried for the host. Default 0. */
FERROW_API void HpsdrNpRadio_bindCurrent(void* handle, void (*callback)(double value));
FERROW_API void HpsdrNpRadio_setCurrent(void* handle, double value);

/* FwdPwr: W, carried for the host. Default 0. */
FERROW_API void HpsdrNpRadio_bindFwdPwr(void* handle, void (*callback)(float value));
FERROW_API void HpsdrNpRadio_setFwdPwr(void* handle, float value);

/* RevPwr: W, carried for the host. Default 0. */
FERROW_API void HpsdrNpRadio_bindRevPwr(void* handle, void (*callback)(float value));
FERROW_API void HpsdrNpRadio_setRevPwr(void* handle, float value);

/* Swr: carried for the host. Default 0. */
FERROW_API void HpsdrNpRadio_bindSwr(void* handle, void (*callback)(float value));
FERROW_API void HpsdrNpRadio_setSwr(void* handle, float value);

/* adcOvl: the ADC is overloaded, as the radio reports. Default false. Written by the library. */
FERROW_API void HpsdrNpRadio_bindadcOvl(void* handle, void (*callback)(bool value));
FERROW_API void HpsdrNpRadio_setadcOvl(void* handle, bool value);

/* ep6SeqErrors: gaps in the receive streams. Default 0. Written by the library. */
FERROW_API void HpsdrNpRadio_bindep6SeqErrors(void* handle, void (*callback)(int value));
FERROW_API void HpsdrNpRadio_setep6SeqErrors(void* handle, int value);

/* ep4SeqErrors: stays 0. Default 0. */
FERROW_API void HpsdrNpRadio_bindep4SeqErrors(void* handle, void (*callback)(int value));
FERROW_API void HpsdrNpRadio_setep4SeqErrors(void* handle, int value);

/* adcPeak: peak of the wideband samples as a fraction of full scale, every 202 wideband packets. Default 0. Written by
 * the library. */
FERROW_API void HpsdrNpRadio_bindadcPeak(void* handle, void (*callback)(double value));
FERROW_API void HpsdrNpRadio_setadcPeak(void* handle, double value);

/* adcPeakDBFS: the same in dB; -100 without a signal. Default 0. Written by the library. */
FERROW_API void HpsdrNpRadio_bindadcPeakDBFS(void* handle, void (*callback)(double value));
FERROW_API void HpsdrNpRadio_setadcPeakDBFS(void* handle, double value);

FERROW_END_C

#endif
