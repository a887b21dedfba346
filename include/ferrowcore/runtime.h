/* Start-up, and the two pumps that run the host's callbacks. */
#ifndef FERROWCORE_RUNTIME_H
#define FERROWCORE_RUNTIME_H

#include <ferrowcore/export.h>

FERROW_BEGIN_C

/* Starts the library: once, before any other function. `path` is the log file, which is appended to; a crash note lies
 * beside it as `path`.dump.txt. `mode` 1 logs from level info on, anything else from level err on. A log file that cannot
 * be opened, or a second call, raises a C++ exception. There is no shutdown call. */
FERROW_API void init(const char* path, int mode);

/* Runs every waiting callback on the calling thread, and returns at once when there is none. One thread at a time; the two
 * pumps may run side by side. getRenderUpdates runs display data (newSpectrum), of which at most 64 items wait;
 * getUpdates runs everything else. An exception that leaves a callback is logged. */
FERROW_API void getUpdates(void);
FERROW_API void getRenderUpdates(void);

FERROW_END_C

#endif
