// Cost of the receive chain's building blocks. "per_sample" is the time for one input sample of the mixer and
// the resampler, one sample through the filter and the gain control.
#include "core/buff/buff_math.hpp"
#include "trx/dsp/bandpass_design.hpp"
#include "trx/dsp/decimating_mixer.hpp"
#include "trx/dsp/gain_control.hpp"
#include "trx/dsp/overlap_filter.hpp"
#include "trx/dsp/rational_resampler.hpp"
#include "trx/dsp/window.hpp"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <random>

using namespace ferrow;
using cf = std::complex<float>;

namespace {

buff<cf> noise(size_t n) {
    std::mt19937 random(1);
    std::normal_distribution<float> normal;
    buff<cf> b(n);
    for (auto& z : b)
        z = {normal(random), normal(random)};
    return b;
}

void perSample(benchmark::State& state, size_t samples) {
    state.counters["per_sample"] =
        benchmark::Counter(double(samples) * double(state.iterations()),
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void mixer(benchmark::State& state) {
    const auto factor = static_cast<int>(state.range(0));
    const size_t n = 512 * static_cast<size_t>(factor);
    const auto in = noise(n);
    buff<cf> out(512);
    decimatingMixer mixer;
    mixer.configure(factor);
    for (auto _ : state)
        benchmark::DoNotOptimize(mixer.process(0.1234, factor, in, out));
    perSample(state, n);
}
BENCHMARK(mixer)->RangeMultiplier(2)->Range(1, 128);

void filterBlock(benchmark::State& state) {
    const auto taps = static_cast<size_t>(state.range(0));
    overlapFilter filter(designBandpass(300, 2700, 48000, taps, taps));
    noise(512).copy(filter.input);
    for (auto _ : state)
        filter.run();
    perSample(state, 512);
}
BENCHMARK(filterBlock)->Arg(1536)->Arg(2048);

void resampler(benchmark::State& state) {
    const int up = static_cast<int>(state.range(0)), down = static_cast<int>(state.range(1));
    rationalResampler resampler(up, down);
    const size_t n = 512 * static_cast<size_t>(down) / static_cast<size_t>(up);
    const auto in = noise(n);
    buff<cf> out(1024);
    for (auto _ : state) {
        in.copy(resampler.feed(n));
        benchmark::DoNotOptimize(resampler.produce(out));
    }
    perSample(state, n);
}
BENCHMARK(resampler)->Args({96, 125})->Args({384, 625});

void gain(benchmark::State& state) {
    buff<float> block(512);
    GainControl control;
    const GainControlSettings settings;
    const auto source = noise(512);
    for (auto _ : state) {
        for (size_t i = 0; i < 512; ++i)
            block[i] = source[i].real();
        control.process(block, settings, false, true, 0);
    }
    perSample(state, 512);
}
BENCHMARK(gain);

void loadFilter(benchmark::State& state) {
    overlapFilter filter;
    for (auto _ : state) {
        const auto taps = designBandpass(300, 2700, 48000, 1536, 1536);
        filter.load(state.range(0) ? minimumPhase(taps) : taps);
    }
}
BENCHMARK(loadFilter)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

} // namespace
