#include "trx/denoise/denoise.hpp"

#include "core/fft/fft.hpp"
#include "trx/denoise/bands.hpp"
#include "trx/denoise/inner_product.hpp"
#include "trx/denoise/pitch.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ferrow {

namespace denoise {

namespace {

constexpr float kSilence = 0.04f;      // energy of a silent frame
constexpr float kSampleLimit = 3.2e7f; // keeps energies finite whatever comes
constexpr float kCorrelationFloor = 0.001f, kEnergyFloor = 1e-8f;
constexpr float kLogFloor = 1e-2f;
constexpr float kLogRange = 7;   // bels below the loudest band so far,
constexpr float kLogSlope = 1.5; // and from band to band: what lies deeper is masked
constexpr std::size_t kDeltas = 6;
constexpr float kDecay = 0.6f; // of a gain from frame to frame, at most

// Power-complementary: squares of both halves add up to 1.
struct Window {
    std::array<float, WINDOW_SIZE> values;

    Window() {
        for (std::size_t i = 0; i < WINDOW_SIZE; ++i) {
            const double s = std::sin(std::numbers::pi * (static_cast<double>(i) + 0.5) / WINDOW_SIZE);
            values[i] = static_cast<float>(std::sin(std::numbers::pi / 2 * s * s));
        }
    }
};

const std::array<float, WINDOW_SIZE>& window() {
    static const Window table;
    return table.values;
}

void highPass(std::array<float, 2>& memory, const float* in, float* out) {
    constexpr double b1 = -2.0f, b2 = 1.0f, a1 = -1.99599f, a2 = 0.996f;
    for (int i = 0; i < FRAME_SIZE; ++i) {
        const float bounded = std::clamp(in[i], -kSampleLimit, kSampleLimit);
        const float x = std::isnan(bounded) ? 0 : bounded;
        const float y = x + memory[0];
        memory[0] = static_cast<float>(memory[1] + (b1 * x - a1 * y));
        memory[1] = static_cast<float>(b2 * x - a2 * y);
        out[i] = y;
    }
}

// Spectra of two real frames by one complex transform, divided by its length. What rounding lets through from
// one to the other is small beside both, since they go in at about the same strength: `lift` is a power of
// two. Beside a frame of zeroes the other one is left out.
void transformBoth(const std::array<float, WINDOW_SIZE>& x, const float* p,
                   const buff<std::complex<float>>& in, const buff<std::complex<float>>& spectrum,
                   Analysis& out) {
    const auto& w = window();
    constexpr float scale = 1.0f / WINDOW_SIZE;
    const float ofX = innerProduct(x.data(), x.data(), WINDOW_SIZE), ofP = innerProduct(p, p, WINDOW_SIZE);
    const int octaves = ofX > 0 && ofP > 0 ? (std::ilogb(ofX) - std::ilogb(ofP)) / 2 : 0;
    const float lift = ofX > 0 ? std::ldexp(1.0f, octaves) : 0, back = std::ldexp(0.5f, -octaves);
    for (std::size_t i = 0; i < WINDOW_SIZE; ++i)
        in[i] = {scale * w[i] * x[i], lift * scale * w[i] * p[i]};
    fft::forward(in, spectrum);
    for (std::size_t k = 0; k < FREQ_SIZE; ++k) {
        const std::complex<float> a = spectrum[k], b = std::conj(spectrum[(WINDOW_SIZE - k) % WINDOW_SIZE]);
        out.x[k] = 0.5f * (a + b);
        const std::complex<float> d = back * (a - b);
        out.p[k] = {d.imag(), -d.real()};
    }
}

// Base-10 logarithms of the energies, no deeper than a loud band below masks them.
Bands logEnergies(const Bands& energies) {
    Bands logs;
    float loudest = -2, follower = -2;
    for (std::size_t b = 0; b < NB_BANDS; ++b) {
        logs[b] = std::max({std::log10(kLogFloor + energies[b]), loudest - kLogRange, follower - kLogSlope});
        loudest = std::max(loudest, logs[b]);
        follower = std::max(follower - kLogSlope, logs[b]);
    }
    return logs;
}

float distance(const Bands& a, const Bands& b) {
    float sum = 0;
    for (std::size_t i = 0; i < NB_BANDS; ++i)
        sum += (a[i] - b[i]) * (a[i] - b[i]);
    return sum;
}

// How much the last eight cepstra differ: each one's distance to the one most like it, summed up.
float variability(const std::array<Bands, kCepstra>& rows) {
    float sum = 0;
    for (std::size_t i = 0; i < kCepstra; ++i) {
        float least = 1e15f;
        for (std::size_t j = 0; j < kCepstra; ++j)
            if (j != i)
                least = std::min(least, distance(rows[i], rows[j]));
        sum += least;
    }
    return sum;
}

// 22 cepstra, of which the first six are sums over three frames; six first and six second differences; six
// coefficients of the likeness; period; variability. The constants centre them.
void fillFeatures(DenoiseState& state, Analysis& analysis) {
    Bands cepstrum = cosineTransform(logEnergies(analysis.ex));
    cepstrum[0] -= 12;
    cepstrum[1] -= 4;
    const auto row = static_cast<std::size_t>(state.memid);
    const Bands& one = state.cepstral_mem[(row + kCepstra - 1) % kCepstra];
    const Bands& two = state.cepstral_mem[(row + kCepstra - 2) % kCepstra];
    state.cepstral_mem[row] = cepstrum;
    state.memid = static_cast<int>((row + 1) % kCepstra);
    Features& f = analysis.features;
    std::copy(cepstrum.begin(), cepstrum.end(), f.begin());
    const Bands likeness = cosineTransform(analysis.likeness);
    for (std::size_t i = 0; i < kDeltas; ++i) {
        f[i] = cepstrum[i] + one[i] + two[i];
        f[NB_BANDS + i] = cepstrum[i] - two[i];
        f[NB_BANDS + kDeltas + i] = cepstrum[i] - 2 * one[i] + two[i];
        f[NB_BANDS + 2 * kDeltas + i] = likeness[i];
    }
    f[NB_BANDS + 2 * kDeltas] -= 1.3f;
    f[NB_BANDS + 2 * kDeltas + 1] -= 0.9f;
    f[kFeatures - 2] = 0.01f * static_cast<float>(state.last_period - 300);
    f[kFeatures - 1] = variability(state.cepstral_mem) / kCepstra - 2.1f;
}

// Adds the pitch-delayed frame where the bands' likeness promises less noise than the gain leaves, and gives
// each band its energy back.
void pitchFilter(Analysis& analysis, const Bands& gains) {
    Bands share;
    for (std::size_t b = 0; b < NB_BANDS; ++b) {
        const float l2 = analysis.likeness[b] * analysis.likeness[b], g2 = gains[b] * gains[b];
        float strength = 1;
        if (analysis.likeness[b] <= gains[b])
            strength = std::sqrt(std::clamp(l2 * (1 - g2) / (kCorrelationFloor + g2 * (1 - l2)), 0.0f, 1.0f));
        share[b] = strength * std::sqrt(analysis.ex[b] / (kEnergyFloor + analysis.ep[b]));
    }
    std::array<float, FREQ_SIZE> bins;
    interpolateBands(share, bins);
    for (std::size_t k = 0; k < FREQ_SIZE; ++k)
        analysis.x[k] += bins[k] * analysis.p[k];
    const Bands filtered = bandEnergy(analysis.x);
    Bands back;
    for (std::size_t b = 0; b < NB_BANDS; ++b)
        back[b] = std::sqrt(analysis.ex[b] / (kEnergyFloor + filtered[b]));
    interpolateBands(back, bins);
    for (std::size_t k = 0; k < FREQ_SIZE; ++k)
        analysis.x[k] *= bins[k];
}

void synthesise(DenoiseState& state, const Spectrum& x, float* out) {
    const auto &spectrum = state.spectrum, &wave = state.wave;
    std::copy(x.begin(), x.end(), spectrum.begin());
    for (std::size_t k = 1; k < FRAME_SIZE; ++k)
        spectrum[WINDOW_SIZE - k] = std::conj(x[k]);
    fft::inverse(spectrum, wave);
    const auto& w = window();
    for (std::size_t i = 0; i < FRAME_SIZE; ++i) {
        out[i] = w[i] * wave[i].real() + state.synthesis_mem[i];
        state.synthesis_mem[i] = w[FRAME_SIZE + i] * wave[FRAME_SIZE + i].real();
    }
}

float mixFactor(float percent) {
    return std::isnan(percent) ? 1.0f : std::clamp(percent, 0.0f, 100.0f) / 100;
}

} // namespace

void analyse(DenoiseState& state, const float* in, Analysis& analysis) {
    if (state.wave.empty()) {
        state.wave = buff<std::complex<float>>(WINDOW_SIZE);
        state.spectrum = buff<std::complex<float>>(WINDOW_SIZE);
    }
    std::array<float, WINDOW_SIZE> frame;
    std::copy(state.analysis_mem.begin(), state.analysis_mem.end(), frame.begin());
    float* fresh = frame.data() + FRAME_SIZE;
    highPass(state.mem_hp_x, in, fresh);
    std::copy_n(fresh, FRAME_SIZE, state.analysis_mem.begin());
    std::copy(state.pitch_buf.begin() + FRAME_SIZE, state.pitch_buf.end(), state.pitch_buf.begin());
    std::copy_n(fresh, FRAME_SIZE, state.pitch_buf.end() - FRAME_SIZE);
    const Pitch pitch = findPitch(state.pitch_buf, state.pitch_enh_buf, {state.last_period, state.last_gain});
    state.last_period = pitch.period;
    state.last_gain = pitch.gain;
    const float* delayed = state.pitch_buf.data() + PITCH_BUF_SIZE - WINDOW_SIZE - pitch.period;
    transformBoth(frame, delayed, state.wave, state.spectrum, analysis);
    analysis.ex = bandEnergy(analysis.x);
    analysis.ep = bandEnergy(analysis.p);
    analysis.likeness = bandCorrelation(analysis.x, analysis.p);
    float energy = 0;
    for (std::size_t b = 0; b < NB_BANDS; ++b) {
        analysis.likeness[b] /= std::sqrt(kCorrelationFloor + analysis.ex[b] * analysis.ep[b]);
        energy += analysis.ex[b];
    }
    analysis.silent = energy < kSilence;
    if (analysis.silent)
        analysis.features.fill(0);
    else
        fillFeatures(state, analysis);
}

void applyGains(DenoiseState& state, Analysis& analysis, Bands gains, float mix, float* out) {
    if (!analysis.silent) {
        const float m = mixFactor(mix);
        for (float& gain : gains)
            gain = m * gain + (1 - m);
        pitchFilter(analysis, gains);
        for (std::size_t b = 0; b < NB_BANDS; ++b)
            state.lastg[b] = gains[b] = std::max(gains[b], kDecay * state.lastg[b]);
        std::array<float, FREQ_SIZE> bins;
        interpolateBands(gains, bins);
        for (std::size_t k = 0; k < FREQ_SIZE; ++k)
            analysis.x[k] *= bins[k];
    }
    synthesise(state, analysis.x, out);
}

} // namespace denoise

float rnnoise_process_frame(DenoiseState* st, float* out, const float* in, float mix) {
    using namespace denoise;
    Analysis analysis;
    analyse(*st, in, analysis);
    float voice = 0;
    Bands gains{};
    if (!analysis.silent) {
        voice = runNetwork(st->rnn, analysis.features, gains);
        ++st->framesThroughNetwork;
    }
    applyGains(*st, analysis, gains, mix, out);
    return voice;
}

} // namespace ferrow
