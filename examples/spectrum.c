/* A spectrum on the screen: each line is a moment, each column a slice of 48 kHz, darker is stronger. */
#include <ferrowcore/ferrowcore.h>
#include <stdio.h>
#include <time.h>

enum { kColumns = 96, kLines = 24 };
static int lines;

static void onSpectrum(void* array, double low, double high, int rate) {
    (void)rate;
    const float* power = floatArray_data(array); /* 2048 values, log10 */
    const int bins = floatArray_size(array) / kColumns;
    for (int column = 0; column < kColumns; ++column) {
        float strongest = -20;
        for (int i = column * bins; i < (column + 1) * bins; ++i)
            strongest = power[i] > strongest ? power[i] : strongest;
        const int shade = (int)(10 * strongest + 110) / 8; /* -110 dB is blank */
        putchar(" .:-=+*#%@"[shade < 0 ? 0 : shade > 9 ? 9 : shade]);
    }
    putchar('\n');
    if (++lines == kLines)
        printf("%.0f Hz to %.0f Hz\n", low, high);
    floatArray_delete(array); /* the host owns the arrays that it is given */
}

static void onAdded(void* vtrx, long long frequency, int sampleRate, int ownerId) {
    (void)frequency, (void)sampleRate, (void)ownerId;
    void* mode = ssbModDemod_create(); /* without a mode nothing is received */
    vtrx_setModulation(vtrx, mode);
    ssbModDemod_release(mode);          /* the transceiver keeps it */
    vtrx_setmuted(vtrx, 1);             /* no sound device */
    vtrx_setforegroundDisplay(vtrx, 1); /* all spectra, not two a second */
    vtrx_bindnewSpectrum(vtrx, onSpectrum);
    vtrx_start(vtrx);
    vtrx_release(vtrx); /* the radio keeps it */
}

int main(int argc, char** argv) {
    init("ferrowcore.log", 0);
    void* radio = HpsdrRadio_create();
    HpsdrRadio_setipAddress(radio, argc > 1 ? argv[1] : "127.0.0.1");
    Radio_bindvtrxAdded(radio, onAdded);
    Radio_addVtrx(radio, 14200000, 0, 0);
    Radio_start(radio);
    while (lines < kLines) {
        nanosleep(&(struct timespec){0, 20000000}, NULL);
        getUpdates();
        getRenderUpdates(); /* display data has a pump of its own */
    }
    Radio_stop(radio);
    HpsdrRadio_release(radio);
}
