/* Marks the functions that the library exports. */
#ifndef FERROWCORE_EXPORT_H
#define FERROWCORE_EXPORT_H

#if defined(__GNUC__)
#define FERROW_API __attribute__((visibility("default")))
#else
#define FERROW_API
#endif

#ifdef __cplusplus
#define FERROW_BEGIN_C extern "C" {
#define FERROW_END_C }
#else
#define FERROW_BEGIN_C
#define FERROW_END_C
#endif

#endif
