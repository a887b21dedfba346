// The library's own feature analysis and frame call, for the training and its tools: build the target denoise_features, and load
// libdenoise_features.so.
#include "trx/denoise/bands.hpp"
#include "trx/denoise/denoise.hpp"

#include <algorithm>
#include <vector>

using namespace ferrow;
using namespace ferrow::denoise;

namespace {

constexpr int kBins = 80; // up to 3.75 kHz: the bands that a voice's filter passes whole

float* copyBins(const Spectrum& spectrum, float* out) {
    for (int k = 0; k < kBins; ++k) {
        *out++ = spectrum[k].real();
        *out++ = spectrum[k].imag();
    }
    return out;
}

} // namespace

extern "C" {

// Of `frames` frames of `noisy` samples and what is wanted of them, all scaled to 16-bit integers: the 42 features, then per band
// the noisy energy, the wanted energy and their correlation, whether the frame is silent, and the lowest 80 bins of the noisy
// spectrum, the pitch-delayed one and the wanted one.
__attribute__((visibility("default"))) void denoiseFeatures(const float* noisy, const float* wanted, int frames,
                                                            float* features, float* noisyEnergy,
                                                            float* wantedEnergy, float* correlation,
                                                            unsigned char* silent, float* spectra) {
    DenoiseState a, b;
    Analysis one, two;
    for (int i = 0; i < frames; ++i) {
        analyse(a, noisy + i * FRAME_SIZE, one);
        analyse(b, wanted + i * FRAME_SIZE, two);
        const Bands cross = bandCorrelation(one.x, two.x);
        std::copy(one.features.begin(), one.features.end(), features + i * kFeatures);
        std::copy(one.ex.begin(), one.ex.end(), noisyEnergy + i * NB_BANDS);
        std::copy(two.ex.begin(), two.ex.end(), wantedEnergy + i * NB_BANDS);
        std::copy(cross.begin(), cross.end(), correlation + i * NB_BANDS);
        silent[i] = one.silent;
        for (const Spectrum* spectrum : {&one.x, &one.p, &two.x})
            spectra = copyBins(*spectrum, spectra);
    }
}

// The whole of it, with the weights that were compiled in.
__attribute__((visibility("default"))) void denoiseProcess(const float* in, int frames, float mix, float* out,
                                                           float* voice) {
    DenoiseState state;
    for (int i = 0; i < frames; ++i)
        voice[i] = rnnoise_process_frame(&state, out + i * FRAME_SIZE, in + i * FRAME_SIZE, mix);
}

// The whole of it with 22 given gains a frame instead of the network's.
__attribute__((visibility("default"))) void denoiseGains(const float* in, int frames, float mix, const float* gains,
                                                         float* out) {
    DenoiseState state;
    Analysis analysis;
    for (int i = 0; i < frames; ++i) {
        analyse(state, in + i * FRAME_SIZE, analysis);
        Bands given;
        std::copy_n(gains + i * NB_BANDS, NB_BANDS, given.begin());
        applyGains(state, analysis, given, mix, out + i * FRAME_SIZE);
    }
}

} // extern "C"
