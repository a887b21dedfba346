/* Radios of every kind. */
#ifndef FERROWCORE_RADIO_H
#define FERROWCORE_RADIO_H

#include <ferrowcore/async.h>
#include <ferrowcore/export.h>

#include <stdbool.h>

FERROW_BEGIN_C

/* What all radios have in common; its functions take the handle of any kind of radio. A plain Radio has no
 * hardware behind it. */

FERROW_API void* Radio_create(void);
FERROW_API void Radio_release(void* handle);

/* SampleRate: Hz, default 48000; rate of the hardware receivers. */
FERROW_API void Radio_bindSampleRate(void* handle, void (*callback)(int value));
FERROW_API void Radio_setSampleRate(void* handle, int value);

/* TuneDrive: transmit drive while tuning, default 0. */
FERROW_API void Radio_bindTuneDrive(void* handle, void (*callback)(int value));
FERROW_API void Radio_setTuneDrive(void* handle, int value);

/* cwHangTime: ms, default 120. */
FERROW_API void Radio_bindcwHangTime(void* handle, void (*callback)(int value));
FERROW_API void Radio_setcwHangTime(void* handle, int value);

/* drive: transmit drive without a transceiver, default 0. */
FERROW_API void Radio_binddrive(void* handle, void (*callback)(int value));
FERROW_API void Radio_setdrive(void* handle, int value);

/* maxADCs: number of ADCs, default 1; at most 4 are used. */
FERROW_API void Radio_bindmaxADCs(void* handle, void (*callback)(int value));
FERROW_API void Radio_setmaxADCs(void* handle, int value);

/* maxHwReceivers: upper bound of hardware receivers, default 1. Set it before the first start. */
FERROW_API void Radio_bindmaxHwReceivers(void* handle, void (*callback)(int value));
FERROW_API void Radio_setmaxHwReceivers(void* handle, int value);

/* receivedPackets: statistic. Default 0. Written by the library; what a host writes is overwritten by the next update. */
FERROW_API void Radio_bindreceivedPackets(void* handle, void (*callback)(int value));
FERROW_API void Radio_setreceivedPackets(void* handle, int value);

/* sentPackets: statistic. Default 0. Written by the library; what a host writes is overwritten by the next update. */
FERROW_API void Radio_bindsentPackets(void* handle, void (*callback)(int value));
FERROW_API void Radio_setsentPackets(void* handle, int value);

/* TransceiverOffset: Hz, default 0; frequency of a converter in front of the radio: hardware frequency =
 * logical frequency minus this. */
FERROW_API void Radio_bindTransceiverOffset(void* handle, void (*callback)(long long value));
FERROW_API void Radio_setTransceiverOffset(void* handle, long long value);

/* ValidBandwidthRatio: 0 to 1, default 0.95; usable fraction of a receiver's bandwidth. A change shares the
 * receivers out anew. Less than 0, more than 2 and what is no number is logged and bounded. */
FERROW_API void Radio_bindValidBandwidthRatio(void* handle, void (*callback)(double value));
FERROW_API void Radio_setValidBandwidthRatio(void* handle, double value);

/* rxLevelCalibration: linear, default 1; scales the received samples. */
FERROW_API void Radio_bindrxLevelCalibration(void* handle, void (*callback)(double value));
FERROW_API void Radio_setrxLevelCalibration(void* handle, double value);

/* RadioPtt: ptt as the hardware reports it. Default false. Written by the library; what a host writes is overwritten
 * by the next update. */
FERROW_API void Radio_bindRadioPtt(void* handle, void (*callback)(bool value));
FERROW_API void Radio_setRadioPtt(void* handle, bool value);

/* canTransmit: default false, which makes every ptt request a no-op; backends that transmit set it. */
FERROW_API void Radio_bindcanTransmit(void* handle, void (*callback)(bool value));
FERROW_API void Radio_setcanTransmit(void* handle, bool value);

/* cwInternal: default false; CW is keyed inside the hardware. */
FERROW_API void Radio_bindcwInternal(void* handle, void (*callback)(bool value));
FERROW_API void Radio_setcwInternal(void* handle, bool value);

/* disableVirtualReceivers: default false; true gives each transceiver a hardware receiver of its own. */
FERROW_API void Radio_binddisableVirtualReceivers(void* handle, void (*callback)(bool value));
FERROW_API void Radio_setdisableVirtualReceivers(void* handle, bool value);

/* ptt: the radio is transmitting. Default false. Written by the library; what a host writes is overwritten by the next
 * update. */
FERROW_API void Radio_bindptt(void* handle, void (*callback)(bool value));
FERROW_API void Radio_setptt(void* handle, bool value);

/* vtrxAdded: a transceiver has been made; the host owns the handle. */
FERROW_API void Radio_bindvtrxAdded(void* handle, void (*callback)(void* vtrx, long long frequency, int sampleRate, int ownerId));

/* Makes a transceiver at `frequency` Hz (-1: where the hinted receiver stands), served at first by hardware
 * receiver `hwReceiverHint`, counted from 0. An `ownerId` above 0 marks the transceiver of a remote client,
 * which gets no audio here. vtrxAdded tells its handle. */
FERROW_API void Radio_addVtrx(void* handle, long long frequency, int hwReceiverHint, int ownerId);

/* Takes a transceiver off the radio; if it transmits, the transmission ends. The host keeps its handle, but
 * what it sets there no longer reaches the radio. */
FERROW_API void Radio_removeVtrx(void* handle, void* vtrx);

/* Starts the hardware stream. From the second start on it also starts the transceivers. */
FERROW_API void Radio_start(void* handle);

/* Stops the hardware stream and the transceivers. */
FERROW_API void Radio_stop(void* handle);

FERROW_END_C

#endif
