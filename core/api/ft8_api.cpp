// FT8 and FT4: the decoder and the host's CRC.
#include "modes/ft8/crc12.hpp"
#include "modes/ft8/ft8decode.hpp"

#include <cstddef>
#include <ferrowcore/ft8.h>

static_assert(sizeof(ferrow_ft8_result) == 32);
static_assert(offsetof(ferrow_ft8_result, frequency) == 0);
static_assert(offsetof(ferrow_ft8_result, time) == 4);
static_assert(offsetof(ferrow_ft8_result, snr) == 8);
static_assert(offsetof(ferrow_ft8_result, payload) == 12);
static_assert(offsetof(ferrow_ft8_result, unused) == 22);

extern "C" {

FERROW_API int32_t ft8decode(const char* path, ferrow_ft8_result* results, int64_t reserved, int32_t variant) {
    // No exception may reach a C caller; memory for plans and tables is all that can run out.
    try {
        return ferrow::ft8decode(path, results, reserved, variant);
    } catch (...) {
        return -1;
    }
}

FERROW_API int crc12(const unsigned char* data, int length) { return ferrow::crc12(data, length); }

FERROW_API bool crc12_check(const unsigned char* data, int length) { return ferrow::crc12_check(data, length); }

} // extern "C"
