/* SDRplay receivers of the RSP family, through the vendor's API library, which is loaded when it is needed. */
#ifndef FERROWCORE_SDRPLAY_H
#define FERROWCORE_SDRPLAY_H

#include <ferrowcore/async.h>
#include <ferrowcore/export.h>

#include <stdbool.h>

FERROW_BEGIN_C

/* Lists the devices. A Controller. */

FERROW_API void* SDRPlayController_create(void);
FERROW_API void SDRPlayController_release(void* handle);

/* Enable: carried for the host. Default false. */
FERROW_API void SDRPlayController_bindEnable(void* handle, void (*callback)(bool value));
FERROW_API void SDRPlayController_setEnable(void* handle, bool value);

/* newRadio: a device that is free, as "SERIAL-MODEL" (the bare serial number if the model is unknown). Give the part
 * before the "-" to SDRPlayRadio_setSerialNo and the rest to SDRPlayRadio_setModel. */
FERROW_API void SDRPlayController_bindnewRadio(void* handle, void (*callback)(const char* name));

/* Asks the API, version 3.08 exactly, for the devices present, at most 6, and tells each by newRadio. Each call tells
 * all of them again. */
FERROW_API void SDRPlayController_Discover(void* handle);

/* A Radio. Receives only. Its start takes the device that SerialNo names; an RSPduo runs with both tuners, as two ADCs,
 * at a SampleRate of 2000000, and with tuner A at the others. */

FERROW_API void* SDRPlayRadio_create(void);
FERROW_API void SDRPlayRadio_release(void* handle);

/* Antenna: place of the antenna port among Antennas. Default 0. */
FERROW_API void SDRPlayRadio_bindAntenna(void* handle, void (*callback)(int value));
FERROW_API void SDRPlayRadio_setAntenna(void* handle, int value);

/* maxRxRFGain: highest rxGain, the model's number of LNA states; set by Model. Default 0. */
FERROW_API void SDRPlayRadio_bindmaxRxRFGain(void* handle, void (*callback)(int value));
FERROW_API void SDRPlayRadio_setmaxRxRFGain(void* handle, int value);

/* maxRxRFGain2: the same for tuner B of an RSPduo. Default 0. */
FERROW_API void SDRPlayRadio_bindmaxRxRFGain2(void* handle, void (*callback)(int value));
FERROW_API void SDRPlayRadio_setmaxRxRFGain2(void* handle, int value);

/* minRxRFGain: lowest rxGain; set to 0 by Model. Default 0. */
FERROW_API void SDRPlayRadio_bindminRxRFGain(void* handle, void (*callback)(int value));
FERROW_API void SDRPlayRadio_setminRxRFGain(void* handle, int value);

/* minRxRFGain2: the same for tuner B. Default 0. */
FERROW_API void SDRPlayRadio_bindminRxRFGain2(void* handle, void (*callback)(int value));
FERROW_API void SDRPlayRadio_setminRxRFGain2(void* handle, int value);

/* maxRxIFGain: highest IF gain, 59 dB, set by Model. Default 0. */
FERROW_API void SDRPlayRadio_bindmaxRxIFGain(void* handle, void (*callback)(int value));
FERROW_API void SDRPlayRadio_setmaxRxIFGain(void* handle, int value);

/* minRxIFGain: lowest IF gain, 20 dB, set by Model. Default 0. */
FERROW_API void SDRPlayRadio_bindminRxIFGain(void* handle, void (*callback)(int value));
FERROW_API void SDRPlayRadio_setminRxIFGain(void* handle, int value);

/* rxGain: RF gain in steps of the LNA, minRxRFGain to maxRxRFGain; values outside count as the nearer end. Default
 * 3. */
FERROW_API void SDRPlayRadio_bindrxGain(void* handle, void (*callback)(int value));
FERROW_API void SDRPlayRadio_setrxGain(void* handle, int value);

/* rxGain2: the same for tuner B. Default 3. */
FERROW_API void SDRPlayRadio_bindrxGain2(void* handle, void (*callback)(int value));
FERROW_API void SDRPlayRadio_setrxGain2(void* handle, int value);

/* rxIFGain: carried for the host: the IF gain follows the signal by itself. Default 0. */
FERROW_API void SDRPlayRadio_bindrxIFGain(void* handle, void (*callback)(int value));
FERROW_API void SDRPlayRadio_setrxIFGain(void* handle, int value);

/* adcPeak: largest sample of the last 200 ms; full scale reads 2.02. Set by the library. Default 0. */
FERROW_API void SDRPlayRadio_bindadcPeak(void* handle, void (*callback)(double value));
FERROW_API void SDRPlayRadio_setadcPeak(void* handle, double value);

/* adcPeak2: the same of tuner B. Default 0. */
FERROW_API void SDRPlayRadio_bindadcPeak2(void* handle, void (*callback)(double value));
FERROW_API void SDRPlayRadio_setadcPeak2(void* handle, double value);

/* BiasT: supply voltage at the antenna port (RSP1A, RSP2, RSPduo's tuner B, RSPdx). Default false. */
FERROW_API void SDRPlayRadio_bindBiasT(void* handle, void (*callback)(bool value));
FERROW_API void SDRPlayRadio_setBiasT(void* handle, bool value);

/* ClockOut: reference clock at the output (RSPduo). Default false. */
FERROW_API void SDRPlayRadio_bindClockOut(void* handle, void (*callback)(bool value));
FERROW_API void SDRPlayRadio_setClockOut(void* handle, bool value);

/* DABNotch: notch for digital radio (RSP1A, RSPduo, RSPdx). Default false. */
FERROW_API void SDRPlayRadio_bindDABNotch(void* handle, void (*callback)(bool value));
FERROW_API void SDRPlayRadio_setDABNotch(void* handle, bool value);

/* HasClockOut: whether the model has a clock output; set by Model. Default false. */
FERROW_API void SDRPlayRadio_bindHasClockOut(void* handle, void (*callback)(bool value));
FERROW_API void SDRPlayRadio_setHasClockOut(void* handle, bool value);

/* RFNotch: notch for broadcast stations (RSP1A, RSP2, RSPduo, RSPdx); on the Hi-Z port of an RSPduo its medium
 * wave notch. Default false. */
FERROW_API void SDRPlayRadio_bindRFNotch(void* handle, void (*callback)(bool value));
FERROW_API void SDRPlayRadio_setRFNotch(void* handle, bool value);

/* adcOverload: the tuner is overloaded. Set by the library. Default false. */
FERROW_API void SDRPlayRadio_bindadcOverload(void* handle, void (*callback)(bool value));
FERROW_API void SDRPlayRadio_setadcOverload(void* handle, bool value);

/* adcOverload2: tuner B is overloaded. Default false. */
FERROW_API void SDRPlayRadio_bindadcOverload2(void* handle, void (*callback)(bool value));
FERROW_API void SDRPlayRadio_setadcOverload2(void* handle, bool value);

/* Model: "RSP1", "RSP1A", "RSP2", "RSPduo" or "RSPdx". Set it before the start; fills Antennas and the gain
 * limits. Default empty. */
FERROW_API void SDRPlayRadio_bindModel(void* handle, void (*callback)(const char* value));
FERROW_API void SDRPlayRadio_setModel(void* handle, const char* value);

/* SerialNo: serial number of the device that the next start takes. Default empty. */
FERROW_API void SDRPlayRadio_bindSerialNo(void* handle, void (*callback)(const char* value));
FERROW_API void SDRPlayRadio_setSerialNo(void* handle, const char* value);

/* Antennas: list of ValueLabelItem, the model's antenna ports; a new Model replaces it. */
FERROW_API void SDRPlayRadio_bindAntennas(void* handle, ferrow_list_callback callback);
FERROW_API void SDRPlayRadio_setAntennas(void* handle, int operation, int index, void* item);
FERROW_API void SDRPlayRadio_resetAntennas(void* handle);

/* SampleRates: list of ValueLabelItem: the six rates for Radio_setSampleRate, Hz. */
FERROW_API void SDRPlayRadio_bindSampleRates(void* handle, ferrow_list_callback callback);
FERROW_API void SDRPlayRadio_setSampleRates(void* handle, int operation, int index, void* item);
FERROW_API void SDRPlayRadio_resetSampleRates(void* handle);

FERROW_END_C

#endif
