/* FT8 and FT4: decoding one recorded receive period, and the 12-bit CRC that hosts use beside it.
 *
 * Threads: every function here works on the caller's thread and returns when it is done; any number of
 * threads may call them at once. None of them logs, and none needs init() first.
 */
#ifndef FERROWCORE_FT8_H
#define FERROWCORE_FT8_H

#include <ferrowcore/export.h>
#include <stdbool.h>
#include <stdint.h>

FERROW_BEGIN_C

/* Records that one call of ft8decode may write. */
enum { FERROW_FT8_MAX_RESULTS = 50 };

/* Variants. Any value but 8 means FT4; this one is the customary choice. */
enum { FERROW_FT8 = 8, FERROW_FT4 = 4 };

/* One decoded frame: 32 bytes, little-endian as the machine is. */
typedef struct ferrow_ft8_result {
    /* Audio frequency of the lowest tone, in Hz; a multiple of half the tone spacing. */
    float frequency;
    /* Start of the frame in seconds from the start of the file, about half a symbol early: it counts from the
     * start of the two-symbol analysis window that is centred on the first symbol. FT4 takes 0.4 s off. May be
     * negative. */
    float time;
    /* Level of the lowest tone above the noise floor, in dB, with a fixed correction of -17 (FT8) or -56 (FT4).
     * It ranks signals; it is no calibrated figure for 2500 Hz. */
    float snr;
    /* The 77 message bits, first bit in the top bit of payload[0]; the low three bits of payload[9] are zero.
     * FT4 messages are descrambled. */
    uint8_t payload[10];
    /* Never written by ft8decode: what the caller left there stays. */
    uint8_t unused[10];
} ferrow_ft8_result;

/* Decodes the frames of one receive period.
 *
 * path      WAV file with the canonical 44-byte header: PCM, mono, 16 bit; 12000 Hz is what periods are recorded
 *           at, other rates are analysed at their own rate. FT8 takes up to 180000 samples, FT4 up to 90000;
 *           samples that the header promises and the file lacks read as silence, as does all that an FT4 file
 *           falls short of 90000.
 * results   room for FERROW_FT8_MAX_RESULTS records; only those reported are written. Records come in no
 *           particular order, each message once.
 * reserved  ignored; pass 0.
 * variant   FERROW_FT8, or anything else for FT4.
 *
 * Returns the number of records written, 0 to 50, or -1 if the file cannot be read, has another format or holds
 * too many samples. */
FERROW_API int32_t ft8decode(const char* path, ferrow_ft8_result* results, int64_t reserved, int32_t variant);

/* The 12-bit CRC of `length` bytes: polynomial 0xC06, start 0, no reflection, no final XOR, and augmented, that
 * is, no zero bits are appended: the data include the check field, or zeros in its place. A length of 0 or less
 * gives 0. The result is 0 to 4095. */
FERROW_API int crc12(const unsigned char* data, int length);

/* Whether crc12 of the bytes is 0, as it is when they end in their own check field. */
FERROW_API bool crc12_check(const unsigned char* data, int length);

FERROW_END_C

#endif
