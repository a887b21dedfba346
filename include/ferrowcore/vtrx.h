/* Virtual transceivers. */
#ifndef FERROWCORE_VTRX_H
#define FERROWCORE_VTRX_H

#include <ferrowcore/async.h>
#include <ferrowcore/export.h>

#include <stdbool.h>

FERROW_BEGIN_C

/* A virtual transceiver: one receive and transmit chain on a radio. Radio_addVtrx makes them; one made by
 * vtrx_create belongs to no radio. */

FERROW_API void* vtrx_create(void);
FERROW_API void vtrx_release(void* handle);

/* ADCs: bit mask of the ADCs to listen to, default 1; 3 selects diversity. */
FERROW_API void vtrx_bindADCs(void* handle, void (*callback)(int value));
FERROW_API void vtrx_setADCs(void* handle, int value);

/* OwnerID: above 0: belongs to a remote client, and has no demodulator here. Default 0. */
FERROW_API void vtrx_bindOwnerID(void* handle, void (*callback)(int value));
FERROW_API void vtrx_setOwnerID(void* handle, int value);

/* TxOffset: Hz, default 0; transmit offset relative to vfo. */
FERROW_API void vtrx_bindTxOffset(void* handle, void (*callback)(int value));
FERROW_API void vtrx_setTxOffset(void* handle, int value);

/* audioInput: microphone: the Value of an item of Wireless.inputDevices; 0 for none. Default: the system's own device, which
 * the library tells. Opened by vtrx_start, and anew after a change. */
FERROW_API void vtrx_bindaudioInput(void* handle, void (*callback)(int value));
FERROW_API void vtrx_setaudioInput(void* handle, int value);

/* audioOutput: speaker: the Value of an item of Wireless.outputDevices; negative for none. Default: the system's own device,
 * which the library tells. Opened by vtrx_start, and anew after a change. */
FERROW_API void vtrx_bindaudioOutput(void* handle, void (*callback)(int value));
FERROW_API void vtrx_setaudioOutput(void* handle, int value);

/* drive: transmit drive, default 0. */
FERROW_API void vtrx_binddrive(void* handle, void (*callback)(int value));
FERROW_API void vtrx_setdrive(void* handle, int value);

/* oversample: carried for the host. Default 1. */
FERROW_API void vtrx_bindoversample(void* handle, void (*callback)(int value));
FERROW_API void vtrx_setoversample(void* handle, int value);

/* waterfallSpeed: 0 to 11, default 0; each step doubles the frames of the foreground spectrum by letting
 * them overlap. */
FERROW_API void vtrx_bindwaterfallSpeed(void* handle, void (*callback)(int value));
FERROW_API void vtrx_setwaterfallSpeed(void* handle, int value);

/* specFreq: Hz; centre of the spectrum, vfo + specOffset. Default 14095600. Written by the library; what a host writes
 * is overwritten by the next update. */
FERROW_API void vtrx_bindspecFreq(void* handle, void (*callback)(long long value));
FERROW_API void vtrx_setspecFreq(void* handle, long long value);

/* specOffset: Hz, default 0; spectrum centre relative to vfo. */
FERROW_API void vtrx_bindspecOffset(void* handle, void (*callback)(long long value));
FERROW_API void vtrx_setspecOffset(void* handle, long long value);

/* vfo: Hz, default 14095600; the tuned frequency. A change asks the radio for a receiver. */
FERROW_API void vtrx_bindvfo(void* handle, void (*callback)(long long value));
FERROW_API void vtrx_setvfo(void* handle, long long value);

/* ADC1Gain: linear, default 1; diversity gain of ADC 1. */
FERROW_API void vtrx_bindADC1Gain(void* handle, void (*callback)(double value));
FERROW_API void vtrx_setADC1Gain(void* handle, double value);

/* ADC1Phase: degrees, default 0; diversity phase of ADC 1. */
FERROW_API void vtrx_bindADC1Phase(void* handle, void (*callback)(double value));
FERROW_API void vtrx_setADC1Phase(void* handle, double value);

/* VoxHold: seconds, default 0.5. */
FERROW_API void vtrx_bindVoxHold(void* handle, void (*callback)(double value));
FERROW_API void vtrx_setVoxHold(void* handle, double value);

/* VoxThreshold: linear peak level that keys, default 0.4; half of it holds. */
FERROW_API void vtrx_bindVoxThreshold(void* handle, void (*callback)(double value));
FERROW_API void vtrx_setVoxThreshold(void* handle, double value);

/* micLevel: linear peak of the microphone, about every 0.2 s. Default 0. Written by the library; what a host writes is
 * overwritten by the next update. */
FERROW_API void vtrx_bindmicLevel(void* handle, void (*callback)(double value));
FERROW_API void vtrx_setmicLevel(void* handle, double value);

/* signalStrength: dB, about every 0.2 s: ten times the peak power after the filter, so that a full-scale carrier reads
 * +10. Default 0. Written by the library; what a host writes is overwritten by the next update. */
FERROW_API void vtrx_bindsignalStrength(void* handle, void (*callback)(double value));
FERROW_API void vtrx_setsignalStrength(void* handle, double value);

/* specZoom: zoom factor of the spectrum, default 1. Above 1 it acts in powers of two; below 1 it widens the
 * display where the radio has wideband data. */
FERROW_API void vtrx_bindspecZoom(void* handle, void (*callback)(double value));
FERROW_API void vtrx_setspecZoom(void* handle, double value);

/* DelayAudio: default false; true records 5 s of the microphone and repeats them. */
FERROW_API void vtrx_bindDelayAudio(void* handle, void (*callback)(bool value));
FERROW_API void vtrx_setDelayAudio(void* handle, bool value);

/* SendAudio: default false; raises newAudio. */
FERROW_API void vtrx_bindSendAudio(void* handle, void (*callback)(bool value));
FERROW_API void vtrx_setSendAudio(void* handle, bool value);

/* SendIQ: default false; raises newIQ. */
FERROW_API void vtrx_bindSendIQ(void* handle, void (*callback)(bool value));
FERROW_API void vtrx_setSendIQ(void* handle, bool value);

/* TuningValid: vfo and filter lie inside the hardware receiver. Default true. Written by the library; what a host
 * writes is overwritten by the next update. */
FERROW_API void vtrx_bindTuningValid(void* handle, void (*callback)(bool value));
FERROW_API void vtrx_setTuningValid(void* handle, bool value);

/* bandwidthSufficient: false: the radio's rate is below the mode's. Default true. Written by the library; what a host
 * writes is overwritten by the next update. */
FERROW_API void vtrx_bindbandwidthSufficient(void* handle, void (*callback)(bool value));
FERROW_API void vtrx_setbandwidthSufficient(void* handle, bool value);

/* foregroundDisplay: default false: about two spectra a second; true: all there are, and vox may act. */
FERROW_API void vtrx_bindforegroundDisplay(void* handle, void (*callback)(bool value));
FERROW_API void vtrx_setforegroundDisplay(void* handle, bool value);

/* muted: default false; true: no audio device at all. */
FERROW_API void vtrx_bindmuted(void* handle, void (*callback)(bool value));
FERROW_API void vtrx_setmuted(void* handle, bool value);

/* ptt: transmit request. Default false. */
FERROW_API void vtrx_bindptt(void* handle, void (*callback)(bool value));
FERROW_API void vtrx_setptt(void* handle, bool value);

/* tune: default false; a transmission is a plain carrier. */
FERROW_API void vtrx_bindtune(void* handle, void (*callback)(bool value));
FERROW_API void vtrx_settune(void* handle, bool value);

/* useResampler: default true; the audio output follows the device's clock. */
FERROW_API void vtrx_binduseResampler(void* handle, void (*callback)(bool value));
FERROW_API void vtrx_setuseResampler(void* handle, bool value);

/* useVox: default false; voice-operated transmit, in the foreground only. */
FERROW_API void vtrx_binduseVox(void* handle, void (*callback)(bool value));
FERROW_API void vtrx_setuseVox(void* handle, bool value);

/* rxagc: agc of reception. By default one of the transceiver's own; the host owns the handle that it is told. */
FERROW_API void vtrx_bindrxagc(void* handle, void (*callback)(void* agc));
FERROW_API void vtrx_setrxagc(void* handle, void* agc);

/* txagc: agc in use while audio must be silent; its Volume is 0 by default. */
FERROW_API void vtrx_bindtxagc(void* handle, void (*callback)(void* agc));
FERROW_API void vtrx_settxagc(void* handle, void* agc);

/* newAudio: a block of received audio at 48000 a second, by getUpdates, while SendAudio. The host owns the
 * array. */
FERROW_API void vtrx_bindnewAudio(void* handle, void (*callback)(void* floatArray));

/* newIQ: a chunk of the hardware receiver, its centre in Hz and its rate, by getUpdates, while SendIQ. A
 * signal above the centre has a negative frequency. The host owns the array. The only
 * place where a host learns the receiver's centre. */
FERROW_API void vtrx_bindnewIQ(void* handle, void (*callback)(void* complexArray, double frequency, int rate));

/* newSpectrum: 2048 values, log10 of power (times ten: dB), from `low` Hz to `high` Hz, and the rate of the
 * samples behind them, by getRenderUpdates. With width = (high - low) / 2048 value i stands for
 * low + (i + 1) * width: value 1023 is the centre. A place without any data holds -20. The
 * host owns the array. */
FERROW_API void vtrx_bindnewSpectrum(void* handle, void (*callback)(void* floatArray, double low, double high, int rate));

/* Silences the transceiver and takes it off its radio. */
FERROW_API void vtrx_remove(void* handle);

/* Gives the transceiver a mode, any object of a modDemod class; null takes the mode away. Without one it receives nothing:
 * no audio, no spectra, no signal strength. The filters stay as they are: set them for the mode. It acts from the next
 * block. */
FERROW_API void vtrx_setModulation(void* handle, void* modDemod);

/* Receive filter from `low` to `high` Hz relative to vfo; negative is below it. Default -3000 to 3000. It
 * acts from the next block. */
FERROW_API void vtrx_setRxFilter(void* handle, int low, int high);

/* Asks the radio for a hardware receiver at `frequency` Hz; vfo stays as it is. */
FERROW_API void vtrx_setRxFrequency(void* handle, long long frequency);

/* Transmit filter from `low` to `high` Hz. Default -3000 to 6000. */
FERROW_API void vtrx_setTxFilter(void* handle, int low, int high);

/* Starts reception and opens the audio devices. */
FERROW_API void vtrx_start(void* handle);

FERROW_END_C

#endif
