/* Arrays, memory and transforms. */
#ifndef FERROWCORE_ARRAYS_H
#define FERROWCORE_ARRAYS_H

#include <ferrowcore/export.h>

FERROW_BEGIN_C

/* An array handle holds one reference to a block of samples; the host owns those that it makes and those that a callback
 * brings it. `_create` makes `n` elements, uninitialised (none for `n` below 1); `_size` counts elements; `_data` may be
 * read and written until `_delete`, which accepts null. All act at once, on the caller's thread, which may be any. */

/* Samples: makes `n` of 32 bits; counts them; the first one; gives the array back. */
FERROW_API void* floatArray_create(int n);
FERROW_API int floatArray_size(void* array);
FERROW_API float* floatArray_data(void* array);
FERROW_API void floatArray_delete(void* array);

/* Samples: makes `n` of 64 bits; counts them; the first one; gives the array back. */
FERROW_API void* doubleArray_create(int n);
FERROW_API int doubleArray_size(void* array);
FERROW_API double* doubleArray_data(void* array);
FERROW_API void doubleArray_delete(void* array);

/* Samples: makes `n` complex ones, two floats each, the real part first; counts them; the first one; gives the array
 * back. */
FERROW_API void* complexArray_create(int n);
FERROW_API int complexArray_size(void* array);
FERROW_API float* complexArray_data(void* array);
FERROW_API void complexArray_delete(void* array);

/* Memory aligned to 64 bytes, for `bytes` rounded down to a multiple of 16: fewer than 16 give null. mem_free accepts null;
 * mem_memcpy copies nothing for `bytes` below 1. */
FERROW_API void* mem_malloc(int bytes);
FERROW_API void mem_free(void* memory);
FERROW_API void mem_memcpy(void* destination, const void* source, int bytes);

/* Transforms in double precision over two doubleArray handles, input first. The arrays hold complex values as pairs of
 * doubles, real part first; fft_FwdR takes real values and gives the lower half of the spectrum and the middle,
 * N / 2 + 1 pairs. N is the largest power of two that the input holds (in values, not pairs, for fft_FwdR); nothing is
 * scaled. An output that is too small is logged and left alone. Input and output may be the same array. */
FERROW_API void fft_Fwd(void* input, void* output);
FERROW_API void fft_Rev(void* input, void* output);
FERROW_API void fft_FwdR(void* input, void* output);

FERROW_END_C

#endif
