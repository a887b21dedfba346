/* Hearing a voice: five seconds of upper sideband into a sound file. */
#include <ferrowcore/ferrowcore.h>
#include <stdint.h>
#include <stdio.h>
#include <time.h>

enum { kRate = 48000, kSeconds = 5 };
static FILE* file;
static uint32_t written;

static void onAudio(void* array) {
    const float* sample = floatArray_data(array);
    for (int i = 0; i < floatArray_size(array) && written < kSeconds * kRate; ++i, ++written) {
        const float bounded = sample[i] > 1 ? 1 : sample[i] < -1 ? -1 : sample[i];
        const int16_t value = (int16_t)(32767 * bounded);
        fwrite(&value, sizeof value, 1, file);
    }
    floatArray_delete(array);
}

static void onGain(void* agc) {
    if (agc == NULL)
        return;
    agc_setMaxGain(agc, 60); /* dB */
    agc_release(agc);
}

static void onAdded(void* vtrx, long long frequency, int sampleRate, int ownerId) {
    (void)frequency, (void)sampleRate, (void)ownerId;
    void* voice = ssbModDemod_create();
    vtrx_setModulation(vtrx, voice);
    ssbModDemod_release(voice);        /* the transceiver keeps it */
    vtrx_setRxFilter(vtrx, 300, 2700); /* above the tuned frequency: upper sideband */
    vtrx_bindrxagc(vtrx, onGain);
    vtrx_bindnewAudio(vtrx, onAudio);
    vtrx_setSendAudio(vtrx, 1); /* newAudio, beside the loudspeaker */
    vtrx_start(vtrx);
    vtrx_release(vtrx);
}

static void writeHead(void) {
    const uint32_t bytes = kSeconds * kRate * 2;
    const uint32_t head[11] = {0x46464952, 36 + bytes, 0x45564157, 0x20746d66, 16,   0x00010001,
                               kRate,      2 * kRate,  0x00100002, 0x61746164, bytes};
    fwrite(head, sizeof head, 1, file);
}

int main(int argc, char** argv) {
    init("ferrowcore.log", 0);
    file = fopen(argc > 2 ? argv[2] : "voice.wav", "wb");
    if (file == NULL)
        return 1;
    writeHead();
    void* radio = HpsdrRadio_create();
    HpsdrRadio_setipAddress(radio, argc > 1 ? argv[1] : "127.0.0.1");
    Radio_bindvtrxAdded(radio, onAdded);
    Radio_addVtrx(radio, 14200000, 0, 0);
    Radio_start(radio);
    while (written < kSeconds * kRate) {
        nanosleep(&(struct timespec){0, 20000000}, NULL);
        getUpdates();
    }
    Radio_stop(radio);
    HpsdrRadio_release(radio);
    fclose(file);
    printf("%d seconds\n", kSeconds);
}
