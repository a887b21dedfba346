/* A contact by PSK31: hear a CQ, answer, hear the other station again, say goodbye. */
#include <ferrowcore/ferrowcore.h>
#include <stdio.h>
#include <string.h>
#include <time.h>

static void *radio, *transceiver, *psk;
static char heard[256];
static int onAir;

static void onChars(const char* text) {
    const size_t length = strlen(heard), more = strlen(text);
    if (length + more + 1 > sizeof heard) /* forget the older half */
        memmove(heard, heard + length / 2, length - length / 2 + 1);
    strncat(heard, text, sizeof heard - strlen(heard) - 1);
    fputs(text, stdout), fflush(stdout);
}

static void onSent(const char* text) { fputs(text, stdout), fflush(stdout); }

static void onPtt(bool on) { onAir = on; }

static void onAdded(void* vtrx, long long frequency, int sampleRate, int ownerId) {
    (void)frequency, (void)sampleRate, (void)ownerId;
    transceiver = vtrx;
    psk = PskModDemod_create();
    PskModDemod_bindnewChars(psk, onChars);
    PskModDemod_bindsentChars(psk, onSent);
    vtrx_setModulation(vtrx, psk);
    vtrx_setRxFilter(vtrx, 1000, 2000);
    vtrx_setTxFilter(vtrx, 1000, 2000);
    modDemod_setrxFreq(psk, 1500); /* txFreq follows */
    vtrx_setdrive(vtrx, 100);
    vtrx_bindptt(vtrx, onPtt);
    vtrx_start(vtrx);
}

static void pump(void) {
    nanosleep(&(struct timespec){0, 20000000}, NULL);
    getUpdates();
}

static void listenFor(const char* words) {
    heard[0] = '\0';
    while (strstr(heard, words) == NULL)
        pump();
}

static void say(const char* text) {
    printf("\n> ");
    PskModDemod_QueueText(psk, text, 0); /* it waits for ptt */
    vtrx_setptt(transceiver, 1);         /* a value that the host sets does not come back */
    for (onAir = 1; onAir;)              /* ... until "~" takes it off */
        pump();
    putchar('\n');
}

int main(int argc, char** argv) {
    init("ferrowcore.log", 0);
    radio = HpsdrRadio_create();
    HpsdrRadio_setipAddress(radio, argc > 1 ? argv[1] : "127.0.0.1");
    HpsdrRadio_setTypeID(radio, 6); /* a Hermes-Lite 2, which discovery would tell */
    HpsdrRadio_setHLite2Gain(radio, 1);
    HpsdrRadio_setenablePA(radio, 1);
    Radio_bindvtrxAdded(radio, onAdded);
    Radio_addVtrx(radio, 14070000, 0, 0);
    Radio_start(radio);
    listenFor("CQ de G4ABC k");
    say("G4ABC de K1ABC 599 599 k\n~");
    listenFor("G4ABC k");
    say("G4ABC 73 de K1ABC sk\n~");
    Radio_stop(radio);
    PskModDemod_release(psk);
    vtrx_release(transceiver);
    HpsdrRadio_release(radio);
}
