/* Slotted modes. */
#ifndef FERROWCORE_JT_H
#define FERROWCORE_JT_H

#include <ferrowcore/async.h>
#include <ferrowcore/export.h>

#include <stdbool.h>

FERROW_BEGIN_C

/* The slotted weak-signal modes (FT8, FT4, WSPR and their like). It cuts reception into periods of UTC and
 * saves each as a file, for a decoder such as ft8decode; it sends a table of tones. */

FERROW_API void* JTModDemod_create(void);
FERROW_API void JTModDemod_release(void* handle);

/* Decimation: default 4; one input sample of 48000 a second in this many is kept. */
FERROW_API void JTModDemod_bindDecimation(void* handle, void (*callback)(int value));
FERROW_API void JTModDemod_setDecimation(void* handle, int value);

/* FreqDevTable: default 0; frequency smoothing on transmit: 0 none; 2, 10, 50 a Gaussian step of that
 * bandwidth-time product, any other positive value a product of 1. */
FERROW_API void JTModDemod_bindFreqDevTable(void* handle, void (*callback)(int value));
FERROW_API void JTModDemod_setFreqDevTable(void* handle, int value);

/* SaveMode: default 0: WAV files; 1: .c2 files. */
FERROW_API void JTModDemod_bindSaveMode(void* handle, void (*callback)(int value));
FERROW_API void JTModDemod_setSaveMode(void* handle, int value);

/* StartDelaySamples: samples at 48000 a second, default 0; silence before the first symbol. */
FERROW_API void JTModDemod_bindStartDelaySamples(void* handle, void (*callback)(int value));
FERROW_API void JTModDemod_setStartDelaySamples(void* handle, int value);

/* TaperSamples: samples at 48000 a second, default 0; amplitude ramp at both ends, with FreqDevTable. */
FERROW_API void JTModDemod_bindTaperSamples(void* handle, void (*callback)(int value));
FERROW_API void JTModDemod_setTaperSamples(void* handle, int value);

/* endPadding: stored values, default 0; end of the block that is not captured but zero. */
FERROW_API void JTModDemod_bindendPadding(void* handle, void (*callback)(int value));
FERROW_API void JTModDemod_setendPadding(void* handle, int value);

/* period: ms, default 15000, at least 500. */
FERROW_API void JTModDemod_bindperiod(void* handle, void (*callback)(int value));
FERROW_API void JTModDemod_setperiod(void* handle, int value);

/* samplesPerBlock: stored values of a period, default 151200, at most 2^25; 180000 is the whole of an FT8
 * slot. */
FERROW_API void JTModDemod_bindsamplesPerBlock(void* handle, void (*callback)(int value));
FERROW_API void JTModDemod_setsamplesPerBlock(void* handle, int value);

/* samplesPerSymbol: samples at 48000 a second, default 7680. */
FERROW_API void JTModDemod_bindsamplesPerSymbol(void* handle, void (*callback)(int value));
FERROW_API void JTModDemod_setsamplesPerSymbol(void* handle, int value);

/* toneSpacing: Hz per unit of tone number, default 6.25. */
FERROW_API void JTModDemod_bindtoneSpacing(void* handle, void (*callback)(double value));
FERROW_API void JTModDemod_settoneSpacing(void* handle, double value);

/* Enabled: default true; false drops the capture and ends a transmission. */
FERROW_API void JTModDemod_bindEnabled(void* handle, void (*callback)(bool value));
FERROW_API void JTModDemod_setEnabled(void* handle, bool value);

/* saveDirectory: prefix of every file name, default empty; it ends in a separator. */
FERROW_API void JTModDemod_bindsaveDirectory(void* handle, void (*callback)(const char* value));
FERROW_API void JTModDemod_setsaveDirectory(void* handle, const char* value);

/* newFile: a period has been saved: the file's name, directly followed by the decimal marker: 8 for a period
 * without a transmission, else what queueMsg gave. */
FERROW_API void JTModDemod_bindnewFile(void* handle, void (*callback)(const char* nameAndMarker));

/* Queues a transmission for the period that holds `startMs` milliseconds since the top of the hour; `floatArray_tones`
 * has a tone number for each symbol, and may be deleted on return. A second call replaces the first. It starts only in a period whose
 * beginning the mode has seen, and only while Enabled; ptt without a message ends by itself. */
FERROW_API void JTModDemod_queueMsg(void* handle, void* floatArray_tones, int marker, int startMs);

FERROW_END_C

#endif
