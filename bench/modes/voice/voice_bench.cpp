// Cost of a block of 512 samples of the voice modes; "load" is the share of one core at the mode's rate.
#include "core/tasks/sync_task.hpp"
#include "modes/am_mod_demod.hpp"
#include "modes/fm_mod_demod.hpp"
#include "modes/pilot_pll.hpp"
#include "modes/ssb_mod_demod.hpp"

#include <benchmark/benchmark.h>
#include <random>

using namespace ferrow;
using cf = std::complex<float>;

namespace {

buff<cf> noise() {
    std::mt19937 random(1);
    std::normal_distribution<float> normal(0, 0.3f);
    buff<cf> b(512);
    for (auto& z : b)
        z = {normal(random), normal(random)};
    return b;
}

void load(benchmark::State& state, double rate) {
    state.counters["load"] = benchmark::Counter(512.0 / rate * double(state.iterations()),
                                                benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

template <class Mode>
void modulate(benchmark::State& state) {
    const auto mode = std::make_shared<Mode>(nullptr);
    const auto in = noise();
    const buff<cf> out(512);
    for (auto _ : state)
        mode->modulate(in, out);
    load(state, 48000);
}
BENCHMARK(modulate<ssbModDemod>)->Unit(benchmark::kMicrosecond);
BENCHMARK(modulate<amModDemod>)->Unit(benchmark::kMicrosecond);
BENCHMARK(modulate<fmModDemod>)->Unit(benchmark::kMicrosecond);

void demodulateFm(benchmark::State& state) {
    const auto mode = std::make_shared<fmModDemod>(nullptr);
    mode->deviation.set(double(state.range(0)));
    mode->Stereo.set(true);
    const auto in = noise();
    for (auto _ : state)
        benchmark::DoNotOptimize(mode->demodulate(in));
    load(state, mode->sampleRate());
}
BENCHMARK(demodulateFm)->Arg(5000)->Arg(75000)->Unit(benchmark::kMicrosecond);

void pilot(benchmark::State& state) {
    PilotPll pll;
    const auto in = noise();
    for (auto _ : state)
        for (const cf& z : in)
            benchmark::DoNotOptimize(pll.step(z.real()));
}
BENCHMARK(pilot)->Unit(benchmark::kMicrosecond);

void setTxFilter(benchmark::State& state) {
    const auto mode = std::make_shared<ssbModDemod>(nullptr);
    for (auto _ : state)
        mode->setTxFilter(300, 2700);
}
BENCHMARK(setTxFilter)->Unit(benchmark::kMicrosecond);

} // namespace
