/* Keyboard modes: CW, RTTY, FSK, Hellschreiber; the chirp beacon. */
#ifndef FERROWCORE_KEYBOARD_H
#define FERROWCORE_KEYBOARD_H

#include <ferrowcore/async.h>
#include <ferrowcore/export.h>

#include <stdbool.h>

FERROW_BEGIN_C

/* Text modes share one pattern. QueueText appends to a ring, of 4096 bytes (RTTY: 1024), from which the
 * transmission takes a byte at a time; sentChars is called with each one as it begins. What does not fit is
 * lost, the newest bytes first, and logged. It does not go on the air by itself: that is ptt. A terminator in
 * the text takes ptt off. `flags` is carried and not used. Text has 8 bits a character. */

/* Morse telegraphy. The transceiver is tuned to the carrier itself: reception is decoded at 0 Hz and heard at
 * `freq`; the transmitted carrier lies at the tuned frequency. Codes of up to five elements are decoded,
 * letters in lower case, which leaves out all punctuation. */

FERROW_API void* cwModDemod_create(void);
FERROW_API void cwModDemod_release(void* handle);

/* swHangTime: ms, default 200; how long ptt stays on with nothing to send, unless the radio is keyed by
 * its own input. */
FERROW_API void cwModDemod_bindswHangTime(void* handle, void (*callback)(int value));
FERROW_API void cwModDemod_setswHangTime(void* handle, int value);

/* dbg1: carried for the host. Default 0. */
FERROW_API void cwModDemod_binddbg1(void* handle, void (*callback)(double value));
FERROW_API void cwModDemod_setdbg1(void* handle, double value);

/* dbg2: carried for the host. Default 0. */
FERROW_API void cwModDemod_binddbg2(void* handle, void (*callback)(double value));
FERROW_API void cwModDemod_setdbg2(void* handle, double value);

/* freq: Hz, default 650; pitch of what is heard, and of the sidetone. */
FERROW_API void cwModDemod_bindfreq(void* handle, void (*callback)(double value));
FERROW_API void cwModDemod_setfreq(void* handle, double value);

/* rxwpm: words a minute, default 20; the speed of what is received, as the decoder takes it. It begins at
 * 45 with the first block. */
FERROW_API void cwModDemod_bindrxwpm(void* handle, void (*callback)(double value));
FERROW_API void cwModDemod_setrxwpm(void* handle, double value);

/* sidetoneVolume: 0 to 1, default 1; the operator's own keying on the audio output. 0 leaves the receiver
 * audible. */
FERROW_API void cwModDemod_bindsidetoneVolume(void* handle, void (*callback)(double value));
FERROW_API void cwModDemod_setsidetoneVolume(void* handle, double value);

/* wpm: words a minute, default 20; sending speed. */
FERROW_API void cwModDemod_bindwpm(void* handle, void (*callback)(double value));
FERROW_API void cwModDemod_setwpm(void* handle, double value);

/* newChars: decoded text. */
FERROW_API void cwModDemod_bindnewChars(void* handle, void (*callback)(const char* text));

/* newDebug: nothing sends it in this version. The host owns the array. */
FERROW_API void cwModDemod_bindnewDebug(void* handle,
                                        void (*callback)(void* floatArray, double a, double b, int c));

/* sentChars: a character that begins to be sent. */
FERROW_API void cwModDemod_bindsentChars(void* handle, void (*callback)(const char* text));

/* The key. Down goes on the air if need be; swHangTime after the last one the transmitter goes off. The key
 * goes before the text. */
FERROW_API void cwModDemod_KeyDown(void* handle);
FERROW_API void cwModDemod_KeyUp(void* handle);

/* Letters, digits, space and . , ? ! = &. Prosigns: ~ AA with a letter's gap inside, < AS, > AR, % SK, + KN,
 * { HM, } SN, # BK. A grave accent, carriage return or line feed ends the transmission; "@" idles for a
 * moment; others send nothing. */
FERROW_API void cwModDemod_QueueText(void* handle, const char* text, int flags);

/* Radioteletype: 45.45 baud, 170 Hz shift, five-unit code. On receive mark is the tone at rxFreq (modDemod)
 * and space lies 170 Hz above it; on transmit mark is 2170 Hz and space 2000 Hz above the tuned frequency,
 * whatever txFreq says. Received text goes to the standard output: characters as they come, "#" and a number
 * where the timing has slipped, and a line of four numbers before it. */

FERROW_API void* RTTYModDemod_create(void);
FERROW_API void RTTYModDemod_release(void* handle);

/* dbg1: carried for the host. Default 0. */
FERROW_API void RTTYModDemod_binddbg1(void* handle, void (*callback)(float value));
FERROW_API void RTTYModDemod_setdbg1(void* handle, float value);

/* dbg2: carried for the host. Default 0. */
FERROW_API void RTTYModDemod_binddbg2(void* handle, void (*callback)(float value));
FERROW_API void RTTYModDemod_setdbg2(void* handle, float value);

/* newChars: never called; see above. */
FERROW_API void RTTYModDemod_bindnewChars(void* handle, void (*callback)(const char* text));

/* newDebug: 1024 differences of the two tones' levels, upper less lower, two for every 512 samples. The host
 * owns the array. The numbers are zero. */
FERROW_API void RTTYModDemod_bindnewDebug(void* handle,
                                          void (*callback)(void* floatArray, double a, double b, int c));

/* sentChars: a character that begins to be sent. */
FERROW_API void RTTYModDemod_bindsentChars(void* handle, void (*callback)(const char* text));

/* Letters of both cases, digits, space, line ends and - ' ! : ( + ) ? & . / = , and byte 0xA3; others idle
 * for a character. "~" ends the transmission. With nothing to send letters shifts go out. Figures behind a
 * space are not shifted anew: a receiver that goes back to letters with a space, as this one does, needs
 * byte 14. */
FERROW_API void RTTYModDemod_QueueText(void* handle, const char* text, int flags);

/* The numbers of a two-tone mode, kept for the host: it receives silence and sends nothing. */

FERROW_API void* fskModDemod_create(void);
FERROW_API void fskModDemod_release(void* handle);

/* baud: elements a second, default 0. */
FERROW_API void fskModDemod_bindbaud(void* handle, void (*callback)(int value));
FERROW_API void fskModDemod_setbaud(void* handle, int value);

/* f0: Hz, default 0; one tone. */
FERROW_API void fskModDemod_bindf0(void* handle, void (*callback)(int value));
FERROW_API void fskModDemod_setf0(void* handle, int value);

/* f1: Hz, default 0; the other. */
FERROW_API void fskModDemod_bindf1(void* handle, void (*callback)(int value));
FERROW_API void fskModDemod_setf1(void* handle, int value);

/* Hellschreiber: text painted dot by dot into the spectrogram of whoever looks at it, rows of tones from 1300
 * Hz above the tuned frequency downward. It does not receive. */

FERROW_API void* hellschreiberModDemod_create(void);
FERROW_API void hellschreiberModDemod_release(void* handle);

/* frequencyStep: Hz between rows, default 30; a row lasts 1 / frequencyStep seconds. */
FERROW_API void hellschreiberModDemod_bindfrequencyStep(void* handle, void (*callback)(double value));
FERROW_API void hellschreiberModDemod_setfrequencyStep(void* handle, double value);

/* sentChars: a character that begins to be sent. */
FERROW_API void hellschreiberModDemod_bindsentChars(void* handle, void (*callback)(const char* text));

/* Characters 32 to 127; others are blanks. "~" ends the transmission and is not sent. With nothing to send
 * blanks go out. */
FERROW_API void hellschreiberModDemod_QueueText(void* handle, const char* text, int flags);

/* A chirp beacon: while ptt is on it sends its callsign every twelve seconds, in a band of 1000 Hz around
 * txFreq (modDemod; 0 stands for 1500 Hz). While it receives, around rxFreq, each beacon that it hears adds a
 * line to the file that the environment's FERROW_CHIRP_CSV names, by default ferrowcore/chirp.csv in the
 * user's state folder. */

FERROW_API void* chirpyModDemod_create(void);
FERROW_API void chirpyModDemod_release(void* handle);

FERROW_END_C

#endif
