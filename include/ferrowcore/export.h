/* Marks the functions that the shared library exports. Everything without the mark stays hidden. */
#ifndef FERROWCORE_EXPORT_H
#define FERROWCORE_EXPORT_H

#define FERROW_API __attribute__((visibility("default")))

#endif
