#include "modes/ft8/waterfall.hpp"

#include <array>
#include <cmath>
#include <kissfft/kiss_fftr.h>
#include <map>
#include <memory>
#include <new>
#include <vector>

namespace ferrow {
namespace {

constexpr float kPi = 3.1415927f;
constexpr double kNoisePercentile = 0.3;

struct PlanRelease {
    void operator()(kiss_fftr_cfg plan) const { kiss_fftr_free(plan); }
};
using Plan = std::unique_ptr<kiss_fftr_state, PlanRelease>;

kiss_fftr_cfg forwardPlan(int length) {
    thread_local std::map<int, Plan> plans;
    Plan& plan = plans[length];
    if (!plan)
        plan.reset(kiss_fftr_alloc(length, 0, nullptr, nullptr));
    if (!plan)
        throw std::bad_alloc();
    return plan.get();
}

// The divisor brings 16-bit samples to about unit scale; the SNR corrections rest on it.
std::vector<float> window(int length) {
    std::vector<float> w(static_cast<std::size_t>(length));
    for (int i = 0; i < length; ++i) {
        const float s = std::sin(kPi * static_cast<float>(i) / static_cast<float>(length - 1));
        w[static_cast<std::size_t>(i)] = s * s / 32000.0f;
    }
    return w;
}

int quantise(float db) {
    const int v = static_cast<int>(2.0f * (120.0f + db));
    return v < 0 ? 0 : v > 255 ? 255 : v;
}

int percentile(const std::array<std::int32_t, 256>& histogram, std::int32_t total) {
    const double wanted = kNoisePercentile * total;
    std::int32_t reached = 0;
    for (int value = 0; value < 256; ++value) {
        reached += histogram[static_cast<std::size_t>(value)];
        if (reached >= wanted)
            return value;
    }
    return 255;
}

} // namespace

Waterfall waterfallGrid(std::int32_t sampleRate, std::int32_t sampleCount, const Ft8Variant& variant) {
    Waterfall grid{0, 0, 2, 2, 0, nullptr};
    grid.numBins = static_cast<std::int32_t>(static_cast<float>(sampleRate) / variant.binDivisor);
    if (grid.numBins > 0)
        grid.numBlocks = (sampleCount - grid.nfft() + grid.subBlock()) / grid.blockSize();
    return grid;
}

void buildWaterfall(const short* samples, Waterfall& grid) {
    const int nfft = grid.nfft();
    const kiss_fftr_cfg plan = forwardPlan(nfft);
    const std::vector<float> w = window(nfft);
    const float fftNorm = 2.0f / static_cast<float>(nfft);
    const float powerNorm = fftNorm * fftNorm;
    std::vector<float> timeData(w.size());
    std::vector<kiss_fft_cpx> spectrum(w.size() / 2 + 1);
    std::vector<float> db(spectrum.size());
    std::array<std::int32_t, 256> histogram{};
    std::int32_t total = 0;

    std::uint8_t* out = grid.mag;
    for (int block = 0; block < grid.numBlocks; ++block) {
        for (int timeSub = 0; timeSub < grid.timeOsr; ++timeSub) {
            const short* in = samples + block * grid.blockSize() + timeSub * grid.subBlock();
            for (std::size_t i = 0; i < w.size(); ++i)
                timeData[i] = static_cast<float>(in[i]) * w[i];
            kiss_fftr(plan, timeData.data(), spectrum.data());
            for (std::size_t k = 0; k < spectrum.size(); ++k) {
                const kiss_fft_cpx x = spectrum[k];
                db[k] = 10.0f * std::log10((x.r * x.r + x.i * x.i) * powerNorm + 1e-10f);
            }
            for (int freqSub = 0; freqSub < grid.freqOsr; ++freqSub) {
                for (int bin = 0; bin < grid.numBins; ++bin) {
                    const int v = quantise(db[static_cast<std::size_t>(bin * 2 + freqSub)]);
                    *out++ = static_cast<std::uint8_t>(v);
                    ++histogram[static_cast<std::size_t>(v)];
                }
                total += grid.numBins;
            }
        }
    }
    grid.noiseLevel = percentile(histogram, total);
}

} // namespace ferrow
