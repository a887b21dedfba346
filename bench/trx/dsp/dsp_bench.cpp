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

// The mixer's first part alone, and one stage alone, per input sample of each.
void splitMixing(benchmark::State& state) {
    const size_t n = 2048;
    const auto in = noise(n);
    buff<float> rows(2 * n + 64);
    const PhasorSteps steps(0.1234);
    for (auto _ : state) {
        mixSplit(in.data(), n, 1.0, steps,
                 {&rows[0], &rows[n / 2 + 16], &rows[n + 32], &rows[n + n / 2 + 48]});
        benchmark::ClobberMemory();
    }
    perSample(state, n);
}
BENCHMARK(splitMixing);

void halfBandStage(benchmark::State& state) {
    const size_t pairs = 1024;
    HalfBandStage stage(static_cast<HalfBandKind>(state.range(0)), pairs);
    buff<float> rows(2 * pairs + 64);
    const SplitOutput split{&rows[0], &rows[pairs / 2 + 16], &rows[pairs + 32],
                            &rows[pairs + pairs / 2 + 48]};
    for (auto _ : state) {
        stage.run(pairs, split);
        benchmark::ClobberMemory();
    }
    perSample(state, 2 * pairs);
}
BENCHMARK(halfBandStage)->DenseRange(0, 2);

void mixerPlain(benchmark::State& state) {
    const size_t n = 4096;
    const auto in = noise(n);
    buff<float> rows(2 * n + 64, 0.0f), y(n);
    for (auto _ : state) {
        mixSplit_ref(in.data(), n, 1.0, 0.1234,
                     {&rows[8], &rows[n / 2 + 16], &rows[n + 24], &rows[n + n / 2 + 32]});
        halfBand_ref(halfBandTaps(HalfBandKind::Short), &rows[0], &rows[n], y.data(), n / 2);
        halfBand_ref(halfBandTaps(HalfBandKind::Medium), &rows[0], &rows[n], y.data(), n / 4);
        halfBand_ref(halfBandTaps(HalfBandKind::Long), &rows[0], &rows[n], y.data(), n / 8);
        benchmark::ClobberMemory();
    }
    perSample(state, n);
}
BENCHMARK(mixerPlain);

void filterBlock(benchmark::State& state) {
    const auto taps = static_cast<size_t>(state.range(0));
    overlapFilter filter(designBandpass(300, 2700, 48000, taps, taps));
    noise(512).copy(filter.input);
    for (auto _ : state)
        filter.run();
    perSample(state, 512);
}
BENCHMARK(filterBlock)->Arg(1536)->Arg(2048);

void spectrumProduct(benchmark::State& state) {
    const auto a = noise(1024), b = noise(1024);
    buff<cf> sum(1024, cf(0));
    const auto product = state.range(0) ? multiplySpectra : multiplySpectra_ref;
    for (auto _ : state) {
        product(a.data(), b.data(), sum.data(), 1024, true);
        benchmark::ClobberMemory();
    }
    perSample(state, 1024);
}
BENCHMARK(spectrumProduct)->Arg(0)->Arg(1);

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

void window(benchmark::State& state) {
    const auto in = noise(2048);
    const auto w = sevenTermWindow(2048);
    buff<cf> out(2048);
    for (auto _ : state) {
        multiplyByWindow(in.data(), w.data(), out.data(), 2048);
        benchmark::ClobberMemory();
    }
    perSample(state, 2048);
}
BENCHMARK(window);

void powers(benchmark::State& state) {
    const auto in = noise(2048);
    for (auto _ : state)
        benchmark::DoNotOptimize(power(in, 1.0f));
    perSample(state, 2048);
}
BENCHMARK(powers);

void logarithms(benchmark::State& state) {
    const auto in = power(noise(2048), 1.0f);
    buff<float> out(2048);
    for (auto _ : state)
        if (state.range(0))
            log10Into(in, out);
        else
            log10_ref(in.data(), out.data(), 2048);
    perSample(state, 2048);
}
BENCHMARK(logarithms)->Arg(0)->Arg(1);

void loadFilter(benchmark::State& state) {
    overlapFilter filter;
    for (auto _ : state) {
        const auto taps = designBandpass(300, 2700, 48000, 1536, 1536);
        filter.load(state.range(0) ? minimumPhase(taps) : taps);
    }
}
BENCHMARK(loadFilter)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

} // namespace
