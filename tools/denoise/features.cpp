// The library's own feature analysis and frame call, for the training and its tools: build the target denoise_features, and load
// libdenoise_features.so.
#include "trx/denoise/bands.hpp"
#include "trx/denoise/denoise.hpp"

#include <algorithm>
#include <vector>

using namespace ferrow;
using namespace ferrow::denoise;

extern "C" {

// Of `frames` frames of `noisy` samples and what is wanted of them, all scaled to 16-bit integers: the 42 features, then per band
// the noisy energy, the wanted energy and their correlation, and whether the frame is silent.
__attribute__((visibility("default"))) void denoiseFeatures(const float* noisy, const float* wanted, int frames,
                                                            float* features, float* noisyEnergy,
                                                            float* wantedEnergy, float* correlation,
                                                            unsigned char* silent) {
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
    }
}

// The whole of it, with the weights that were compiled in.
__attribute__((visibility("default"))) void denoiseProcess(const float* in, int frames, float mix, float* out,
                                                           float* voice) {
    DenoiseState state;
    for (int i = 0; i < frames; ++i)
        voice[i] = rnnoise_process_frame(&state, out + i * FRAME_SIZE, in + i * FRAME_SIZE, mix);
}

} // extern "C"
