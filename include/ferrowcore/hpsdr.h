/* Radios on the first HPSDR protocol, and their filter tables. */
#ifndef FERROWCORE_HPSDR_H
#define FERROWCORE_HPSDR_H

#include <ferrowcore/async.h>
#include <ferrowcore/export.h>

#include <stdbool.h>

FERROW_BEGIN_C

/* A row of the simple filter table: band filters up to a frequency. */

FERROW_API void* J16_create(void);
FERROW_API void J16_release(void* handle);

/* maxfrequency: Hz, default 0; upper edge of the band. */
FERROW_API void J16_bindmaxfrequency(void* handle, void (*callback)(int value));
FERROW_API void J16_setmaxfrequency(void* handle, int value);

/* rx: filter word for receive, a bit for each output; default 0. */
FERROW_API void J16_bindrx(void* handle, void (*callback)(int value));
FERROW_API void J16_setrx(void* handle, int value);

/* tx: filter word for transmit, a bit for each output; default 0. */
FERROW_API void J16_bindtx(void* handle, void (*callback)(int value));
FERROW_API void J16_settx(void* handle, int value);

/* A band of a J16Filter. */

FERROW_API void* J16FilterBands_create(void);
FERROW_API void J16FilterBands_release(void* handle);

/* maxfrequency: Hz, default 0; upper edge. */
FERROW_API void J16FilterBands_bindmaxfrequency(void* handle, void (*callback)(int value));
FERROW_API void J16FilterBands_setmaxfrequency(void* handle, int value);

/* tx: filter word for transmit, a bit for each output; default 0. */
FERROW_API void J16FilterBands_bindtx(void* handle, void (*callback)(int value));
FERROW_API void J16FilterBands_settx(void* handle, int value);

/* A receive row of a J16Filter; its place in the list is the set of bands, as a bit mask, that it serves. */

FERROW_API void* J16FilterRx_create(void);
FERROW_API void J16FilterRx_release(void* handle);

/* bands: set of bands, as a bit mask, for display; default 0. */
FERROW_API void J16FilterRx_bindbands(void* handle, void (*callback)(int value));
FERROW_API void J16FilterRx_setbands(void* handle, int value);

/* rx: filter word for receive, a bit for each output; default 0. */
FERROW_API void J16FilterRx_bindrx(void* handle, void (*callback)(int value));
FERROW_API void J16FilterRx_setrx(void* handle, int value);

/* Filter table for several receivers at once. */

FERROW_API void* J16Filter_create(void);
FERROW_API void J16Filter_release(void* handle);

/* FilterBands: persistent list of J16FilterBands, by rising edge. Default empty. */
FERROW_API void J16Filter_bindFilterBands(void* handle, ferrow_list_callback callback);
FERROW_API void J16Filter_setFilterBands(void* handle, int operation, int index, void* item);
FERROW_API void J16Filter_resetFilterBands(void* handle);

/* FilterRx: persistent list of J16FilterRx, by set of bands in use. Default empty. */
FERROW_API void J16Filter_bindFilterRx(void* handle, ferrow_list_callback callback);
FERROW_API void J16Filter_setFilterRx(void* handle, int operation, int index, void* item);
FERROW_API void J16Filter_resetFilterRx(void* handle);

/* A radio on the first HPSDR protocol, the Hermes-Lite family above all. The host finds it on the network
 * and sets ipAddress, TypeID, FwVersion, the gain rules and limits and maxHwReceivers before the first
 * Radio_start. */

FERROW_API void* HpsdrRadio_create(void);
FERROW_API void HpsdrRadio_release(void* handle);

/* FwVersion: firmware version, default 0; below 60 changes the bias writes. */
FERROW_API void HpsdrRadio_bindFwVersion(void* handle, void (*callback)(int value));
FERROW_API void HpsdrRadio_setFwVersion(void* handle, int value);

/* MercurySerial: carried for the host. Default 0. */
FERROW_API void HpsdrRadio_bindMercurySerial(void* handle, void (*callback)(int value));
FERROW_API void HpsdrRadio_setMercurySerial(void* handle, int value);

/* MinTxBufferLevel: lowest fill of the radio's transmit buffer, 0 to 128. Default 0. Written by the library; what a
 * host writes is overwritten by the next update. */
FERROW_API void HpsdrRadio_bindMinTxBufferLevel(void* handle, void (*callback)(int value));
FERROW_API void HpsdrRadio_setMinTxBufferLevel(void* handle, int value);

/* PTTHangTime: ms, default 22. */
FERROW_API void HpsdrRadio_bindPTTHangTime(void* handle, void (*callback)(int value));
FERROW_API void HpsdrRadio_setPTTHangTime(void* handle, int value);

/* PenelopeSerial: carried for the host. Default 0. */
FERROW_API void HpsdrRadio_bindPenelopeSerial(void* handle, void (*callback)(int value));
FERROW_API void HpsdrRadio_setPenelopeSerial(void* handle, int value);

/* TXBufferLatency: ms, default 10. */
FERROW_API void HpsdrRadio_bindTXBufferLatency(void* handle, void (*callback)(int value));
FERROW_API void HpsdrRadio_setTXBufferLatency(void* handle, int value);

/* TxBufferOverflow: count of reports. Default 0. Written by the library; what a host writes is overwritten by the next
 * update. */
FERROW_API void HpsdrRadio_bindTxBufferOverflow(void* handle, void (*callback)(int value));
FERROW_API void HpsdrRadio_setTxBufferOverflow(void* handle, int value);

/* TxBufferUnderflow: count of reports. Default 0. Written by the library; what a host writes is overwritten by the
 * next update. */
FERROW_API void HpsdrRadio_bindTxBufferUnderflow(void* handle, void (*callback)(int value));
FERROW_API void HpsdrRadio_setTxBufferUnderflow(void* handle, int value);

/* TypeID: board type of the discovery reply, default 0; 6 and 7 are Hermes-Lite. */
FERROW_API void HpsdrRadio_bindTypeID(void* handle, void (*callback)(int value));
FERROW_API void HpsdrRadio_setTypeID(void* handle, int value);

/* clockFrequency: Hz, default 73728000; the ADC's clock. */
FERROW_API void HpsdrRadio_bindclockFrequency(void* handle, void (*callback)(int value));
FERROW_API void HpsdrRadio_setclockFrequency(void* handle, int value);

/* ep4SeqErrors: gaps in the wideband stream, which are not counted: default 0, and stays so. */
FERROW_API void HpsdrRadio_bindep4SeqErrors(void* handle, void (*callback)(int value));
FERROW_API void HpsdrRadio_setep4SeqErrors(void* handle, int value);

/* ep6SeqErrors: gaps in the receive stream. Default 0. Written by the library; what a host writes is overwritten by
 * the next update. */
FERROW_API void HpsdrRadio_bindep6SeqErrors(void* handle, void (*callback)(int value));
FERROW_API void HpsdrRadio_setep6SeqErrors(void* handle, int value);

/* maxAdcValue: default 2048; full scale of the wideband samples. */
FERROW_API void HpsdrRadio_bindmaxAdcValue(void* handle, void (*callback)(int value));
FERROW_API void HpsdrRadio_setmaxAdcValue(void* handle, int value);

/* maxRxRFGain: dB, default 48. */
FERROW_API void HpsdrRadio_bindmaxRxRFGain(void* handle, void (*callback)(int value));
FERROW_API void HpsdrRadio_setmaxRxRFGain(void* handle, int value);

/* maxTxRFGain: dB, default 19. */
FERROW_API void HpsdrRadio_bindmaxTxRFGain(void* handle, void (*callback)(int value));
FERROW_API void HpsdrRadio_setmaxTxRFGain(void* handle, int value);

/* minRxRFGain: dB, default -12. */
FERROW_API void HpsdrRadio_bindminRxRFGain(void* handle, void (*callback)(int value));
FERROW_API void HpsdrRadio_setminRxRFGain(void* handle, int value);

/* minTxRFGain: dB, default -12. */
FERROW_API void HpsdrRadio_bindminTxRFGain(void* handle, void (*callback)(int value));
FERROW_API void HpsdrRadio_setminTxRFGain(void* handle, int value);

/* paBias0: 0 to 255, default 0; written to the radio while biasEnabled. */
FERROW_API void HpsdrRadio_bindpaBias0(void* handle, void (*callback)(int value));
FERROW_API void HpsdrRadio_setpaBias0(void* handle, int value);

/* paBias1: 0 to 255, default 0; written to the radio while biasEnabled. */
FERROW_API void HpsdrRadio_bindpaBias1(void* handle, void (*callback)(int value));
FERROW_API void HpsdrRadio_setpaBias1(void* handle, int value);

/* paExtBias0: 0 to 255, default 0; written to the radio while biasEnabled. */
FERROW_API void HpsdrRadio_bindpaExtBias0(void* handle, void (*callback)(int value));
FERROW_API void HpsdrRadio_setpaExtBias0(void* handle, int value);

/* rfAgcMode: default 0, off; from 1 up the RF gain follows the ADC's overloads. See rfAgcModes. */
FERROW_API void HpsdrRadio_bindrfAgcMode(void* handle, void (*callback)(int value));
FERROW_API void HpsdrRadio_setrfAgcMode(void* handle, int value);

/* rxGain: dB, default 24; RF gain in receive. */
FERROW_API void HpsdrRadio_bindrxGain(void* handle, void (*callback)(int value));
FERROW_API void HpsdrRadio_setrxGain(void* handle, int value);

/* txGain: dB, default 0; RF gain in transmit. */
FERROW_API void HpsdrRadio_bindtxGain(void* handle, void (*callback)(int value));
FERROW_API void HpsdrRadio_settxGain(void* handle, int value);

/* FwdPwr: watts, 0 while receiving. Default 0. Written by the library; what a host writes is overwritten by the next
 * update. */
FERROW_API void HpsdrRadio_bindFwdPwr(void* handle, void (*callback)(float value));
FERROW_API void HpsdrRadio_setFwdPwr(void* handle, float value);

/* RevPwr: watts, 0 while receiving. Default 0. Written by the library; what a host writes is overwritten by the next
 * update. */
FERROW_API void HpsdrRadio_bindRevPwr(void* handle, void (*callback)(float value));
FERROW_API void HpsdrRadio_setRevPwr(void* handle, float value);

/* Swr: ratio, 0 while receiving. Default 0. Written by the library; what a host writes is overwritten by the next
 * update. */
FERROW_API void HpsdrRadio_bindSwr(void* handle, void (*callback)(float value));
FERROW_API void HpsdrRadio_setSwr(void* handle, float value);

/* Current: milliamperes, 0 while receiving. Default 0. Written by the library; what a host writes is overwritten by
 * the next update. */
FERROW_API void HpsdrRadio_bindCurrent(void* handle, void (*callback)(double value));
FERROW_API void HpsdrRadio_setCurrent(void* handle, double value);

/* Temp: degrees Celsius. Default 0. Written by the library; what a host writes is overwritten by the next update. */
FERROW_API void HpsdrRadio_bindTemp(void* handle, void (*callback)(double value));
FERROW_API void HpsdrRadio_setTemp(void* handle, double value);

/* adcPeak: peak of the wideband samples as a fraction of maxAdcValue. Default 0. Written by the library; what a host
 * writes is overwritten by the next update. */
FERROW_API void HpsdrRadio_bindadcPeak(void* handle, void (*callback)(double value));
FERROW_API void HpsdrRadio_setadcPeak(void* handle, double value);

/* adcPeakDBFS: the same in dB; -100 for none. Default 0. Written by the library; what a host writes is overwritten by
 * the next update. */
FERROW_API void HpsdrRadio_bindadcPeakDBFS(void* handle, void (*callback)(double value));
FERROW_API void HpsdrRadio_setadcPeakDBFS(void* handle, double value);

/* frequencyCalibration: factor, default 1; multiplies every frequency sent to the radio. */
FERROW_API void HpsdrRadio_bindfrequencyCalibration(void* handle, void (*callback)(double value));
FERROW_API void HpsdrRadio_setfrequencyCalibration(void* handle, double value);

/* ATUTune: default false; start the antenna tuner while tuning. */
FERROW_API void HpsdrRadio_bindATUTune(void* handle, void (*callback)(bool value));
FERROW_API void HpsdrRadio_setATUTune(void* handle, bool value);

/* DisableWatchdog: default false; start the radio with its watchdog off. */
FERROW_API void HpsdrRadio_bindDisableWatchdog(void* handle, void (*callback)(bool value));
FERROW_API void HpsdrRadio_setDisableWatchdog(void* handle, bool value);

/* HLite2Gain: default false; gain rule and drive table of the second Hermes-Lite. */
FERROW_API void HpsdrRadio_bindHLite2Gain(void* handle, void (*callback)(bool value));
FERROW_API void HpsdrRadio_setHLite2Gain(void* handle, bool value);

/* HLiteGain: default true; gain rule of the first Hermes-Lite. */
FERROW_API void HpsdrRadio_bindHLiteGain(void* handle, void (*callback)(bool value));
FERROW_API void HpsdrRadio_setHLiteGain(void* handle, bool value);

/* HLiteRxTxGain: default false; gain bytes straight from rxGain and txGain. */
FERROW_API void HpsdrRadio_bindHLiteRxTxGain(void* handle, void (*callback)(bool value));
FERROW_API void HpsdrRadio_setHLiteRxTxGain(void* handle, bool value);

/* RXAntenna: default false; the receive antenna. */
FERROW_API void HpsdrRadio_bindRXAntenna(void* handle, void (*callback)(bool value));
FERROW_API void HpsdrRadio_setRXAntenna(void* handle, bool value);

/* UseJ16: default true: J16Set chooses the band filter; false: FilterSet. */
FERROW_API void HpsdrRadio_bindUseJ16(void* handle, void (*callback)(bool value));
FERROW_API void HpsdrRadio_setUseJ16(void* handle, bool value);

/* adcOvl: ADC overload. Default false. Written by the library; what a host writes is overwritten by the next update. */
FERROW_API void HpsdrRadio_bindadcOvl(void* handle, void (*callback)(bool value));
FERROW_API void HpsdrRadio_setadcOvl(void* handle, bool value);

/* autoFreqCalib: default false; frequencyCalibration follows the host's clock. */
FERROW_API void HpsdrRadio_bindautoFreqCalib(void* handle, void (*callback)(bool value));
FERROW_API void HpsdrRadio_setautoFreqCalib(void* handle, bool value);

/* biasEnabled: default false; allows the bias writes. */
FERROW_API void HpsdrRadio_bindbiasEnabled(void* handle, void (*callback)(bool value));
FERROW_API void HpsdrRadio_setbiasEnabled(void* handle, bool value);

/* disableTR: default false; true leaves the antenna relay alone while transmitting. */
FERROW_API void HpsdrRadio_binddisableTR(void* handle, void (*callback)(bool value));
FERROW_API void HpsdrRadio_setdisableTR(void* handle, bool value);

/* enablePA: default false; true switches the power amplifier on. */
FERROW_API void HpsdrRadio_bindenablePA(void* handle, void (*callback)(bool value));
FERROW_API void HpsdrRadio_setenablePA(void* handle, bool value);

/* hasHL2PA: carried for the host. Default false. */
FERROW_API void HpsdrRadio_bindhasHL2PA(void* handle, void (*callback)(bool value));
FERROW_API void HpsdrRadio_sethasHL2PA(void* handle, bool value);

/* stopToAddReceiver: default true; the stream is restarted when a receiver is added. */
FERROW_API void HpsdrRadio_bindstopToAddReceiver(void* handle, void (*callback)(bool value));
FERROW_API void HpsdrRadio_setstopToAddReceiver(void* handle, bool value);

/* Mac: hardware address, carried for the host. Default empty. */
FERROW_API void HpsdrRadio_bindMac(void* handle, void (*callback)(const char* value));
FERROW_API void HpsdrRadio_setMac(void* handle, const char* value);

/* ipAddress: the radio's IPv4 address, dotted; read by the first start. Default empty. */
FERROW_API void HpsdrRadio_bindipAddress(void* handle, void (*callback)(const char* value));
FERROW_API void HpsdrRadio_setipAddress(void* handle, const char* value);

/* FilterSet: J16Filter in use while UseJ16 is false. Default none. */
FERROW_API void HpsdrRadio_bindFilterSet(void* handle, void (*callback)(void* J16Filter));
FERROW_API void HpsdrRadio_setFilterSet(void* handle, void* J16Filter);

/* FwdPwrCalibration: persistent list of calibLine: smoothed reading to watts. The first start fills an empty
 * one. */
FERROW_API void HpsdrRadio_bindFwdPwrCalibration(void* handle, ferrow_list_callback callback);
FERROW_API void HpsdrRadio_setFwdPwrCalibration(void* handle, int operation, int index, void* item);
FERROW_API void HpsdrRadio_resetFwdPwrCalibration(void* handle);

/* J16Set: persistent list of J16, by rising edge. The first start fills an empty one. */
FERROW_API void HpsdrRadio_bindJ16Set(void* handle, ferrow_list_callback callback);
FERROW_API void HpsdrRadio_setJ16Set(void* handle, int operation, int index, void* item);
FERROW_API void HpsdrRadio_resetJ16Set(void* handle);

/* SampleRates: list of ValueLabelItem: the rates for Radio_setSampleRate, 48, 96, 192 and 384 kHz, in Hz. */
FERROW_API void HpsdrRadio_bindSampleRates(void* handle, ferrow_list_callback callback);
FERROW_API void HpsdrRadio_setSampleRates(void* handle, int operation, int index, void* item);
FERROW_API void HpsdrRadio_resetSampleRates(void* handle);

/* rfAgcModes: list of ValueLabelItem: the choices of rfAgcMode, "off" 0 and "max" 2. */
FERROW_API void HpsdrRadio_bindrfAgcModes(void* handle, ferrow_list_callback callback);
FERROW_API void HpsdrRadio_setrfAgcModes(void* handle, int operation, int index, void* item);
FERROW_API void HpsdrRadio_resetrfAgcModes(void* handle);

/* Stores both bias settings in the radio, while biasEnabled. */
FERROW_API void HpsdrRadio_writeBias(void* handle);

/* Stores the external bias setting, while biasEnabled. */
FERROW_API void HpsdrRadio_writeExtBias(void* handle);

/* Stores the radio's fixed IPv4 address, most significant byte first. */
FERROW_API void HpsdrRadio_writeIP(void* handle, int address);

/* Stores the last two bytes of the radio's MAC address. */
FERROW_API void HpsdrRadio_writeMac(void* handle, int tail);

/* Stores the radio's status byte. */
FERROW_API void HpsdrRadio_writeStatus(void* handle, int status);

FERROW_END_C

#endif
