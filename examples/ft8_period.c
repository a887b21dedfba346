/* One period of FT8: recorded by the library, read by ft8decode. The 77 bits are shown; their text is the host's business. */
#include <ferrowcore/ferrowcore.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

static int periods;

static void onFile(const char* nameAndMarker) {
    char name[4096];
    snprintf(name, sizeof name, "%s", nameAndMarker);
    name[strlen(name) - 1] = '\0'; /* the marker, 8: nothing was sent in this period */
    ferrow_ft8_result found[FERROW_FT8_MAX_RESULTS];
    const int count = ft8decode(name, found, 0, FERROW_FT8);
    for (int i = 0; i < count; ++i) {
        printf("%7.1f Hz %5.1f s  ", (double)found[i].frequency, (double)found[i].time);
        for (int byte = 0; byte < 10; ++byte)
            printf("%02x", found[i].payload[byte]);
        putchar('\n');
    }
    printf("%d messages\n", count);
    remove(name);
    periods += count > 0; /* the first one may have begun before we did */
}

static void onAdded(void* vtrx, long long frequency, int sampleRate, int ownerId) {
    (void)frequency, (void)sampleRate, (void)ownerId;
    const char* folder = getenv("TMPDIR");
    char prefix[4096];
    snprintf(prefix, sizeof prefix, "%s/", folder != NULL ? folder : "/tmp");
    void* slots = JTModDemod_create(); /* by default periods of 15 s, as FT8 has them */
    JTModDemod_setsaveDirectory(slots, prefix);
    JTModDemod_bindnewFile(slots, onFile);
    vtrx_setmuted(vtrx, 1);
    vtrx_setModulation(vtrx, slots);
    JTModDemod_release(slots);
    vtrx_setRxFilter(vtrx, 100, 3300);
    vtrx_start(vtrx);
    vtrx_release(vtrx);
}

int main(int argc, char** argv) {
    init("ferrowcore.log", 0);
    void* radio = HpsdrRadio_create();
    HpsdrRadio_setipAddress(radio, argc > 1 ? argv[1] : "127.0.0.1");
    Radio_bindvtrxAdded(radio, onAdded);
    Radio_addVtrx(radio, 14074000, 0, 0);
    Radio_start(radio);
    while (periods == 0) {
        nanosleep(&(struct timespec){0, 50000000}, NULL);
        getUpdates();
    }
    Radio_stop(radio);
    HpsdrRadio_release(radio);
}
