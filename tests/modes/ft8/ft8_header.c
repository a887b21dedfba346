/* The public header as a C11 host sees it. */
#include <ferrowcore/ft8.h>

#include <stddef.h>

_Static_assert(sizeof(ferrow_ft8_result) == 32, "a record is 32 bytes");
_Static_assert(offsetof(ferrow_ft8_result, frequency) == 0, "frequency");
_Static_assert(offsetof(ferrow_ft8_result, time) == 4, "time");
_Static_assert(offsetof(ferrow_ft8_result, snr) == 8, "snr");
_Static_assert(offsetof(ferrow_ft8_result, payload) == 12, "payload");
_Static_assert(offsetof(ferrow_ft8_result, unused) == 22, "unused");

int32_t ferrow_test_decode_from_c(const char* path);

int32_t ferrow_test_decode_from_c(const char* path) {
    ferrow_ft8_result results[FERROW_FT8_MAX_RESULTS];
    const unsigned char byte = 0;
    if (!crc12_check(&byte, 1) || crc12(&byte, 1) != 0)
        return -2;
    return ft8decode(path, results, 0, FERROW_FT8);
}
