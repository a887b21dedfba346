/* A first host: prints the signal strength of 14.2 MHz, upper sideband, as the radio at the given address hears it. */
#include <ferrowcore/ferrowcore.h>
#include <stdio.h>
#include <time.h>

static void* transceiver;

static void onStrength(double dB) { printf("%6.1f dB\n", dB); }

static void onAdded(void* handle, long long frequency, int sampleRate, int ownerId) {
    (void)sampleRate, (void)ownerId;
    printf("listening on %lld Hz\n", frequency);
    transceiver = handle;
    vtrx_bindsignalStrength(transceiver, onStrength);
    void* mode = ssbModDemod_create();
    vtrx_setModulation(transceiver, mode);
    ssbModDemod_release(mode); /* the transceiver keeps it */
    vtrx_setRxFilter(transceiver, 300, 2700);
    vtrx_start(transceiver);
}

int main(int argc, char** argv) {
    init("ferrowcore.log", 0);
    void* radio = HpsdrRadio_create();
    HpsdrRadio_setipAddress(radio, argc > 1 ? argv[1] : "127.0.0.1");
    Radio_bindvtrxAdded(radio, onAdded);
    Radio_addVtrx(radio, 14200000, 0, 0);
    Radio_start(radio);
    for (int i = 0; i < 100; ++i) { /* five seconds */
        nanosleep(&(struct timespec){0, 50000000}, NULL);
        getUpdates(); /* runs the callbacks above */
    }
    Radio_stop(radio);
    vtrx_release(transceiver);
    HpsdrRadio_release(radio);
}
