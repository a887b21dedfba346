// The transform service beside the bare library, planned by estimate and by measurement, at the lengths in
// use.
#include "core/fft/fft.hpp"

#include <benchmark/benchmark.h>
#include <fftw3.h>

using namespace ferrow;
using cf = std::complex<float>;

namespace {

void service(benchmark::State& state) {
    const auto n = static_cast<size_t>(state.range(0));
    const buff<cf> in(n, {1, 2}), out(n);
    for (auto _ : state) {
        fft::forward(in, out);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(service)->Arg(1024)->Arg(2048);

void serviceNewResult(benchmark::State& state) {
    const buff<cf> in(static_cast<size_t>(state.range(0)), {1, 2});
    for (auto _ : state)
        benchmark::DoNotOptimize(fft::forward(in));
}
BENCHMARK(serviceNewResult)->Arg(1024)->Arg(2048);

void serviceMisaligned(benchmark::State& state) {
    const auto n = static_cast<size_t>(state.range(0));
    const auto in = buff<cf>(n + 1, {1, 2}).slice(1, n), out = buff<cf>(n + 1).slice(1, n);
    for (auto _ : state) {
        fft::forward(in, out);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(serviceMisaligned)->Arg(1024)->Arg(2048);

template <unsigned Flags>
void bare(benchmark::State& state) {
    const auto n = static_cast<size_t>(state.range(0));
    const buff<cf> in(n, {1, 2}), out(n);
    auto* from = reinterpret_cast<fftwf_complex*>(in.data());
    auto* to = reinterpret_cast<fftwf_complex*>(out.data());
    const auto plan = fftwf_plan_dft_1d(static_cast<int>(n), from, to, FFTW_FORWARD, Flags);
    for (auto _ : state) {
        fftwf_execute_dft(plan, from, to);
        benchmark::ClobberMemory();
    }
    fftwf_destroy_plan(plan);
    fftwf_forget_wisdom();
}
BENCHMARK(bare<FFTW_ESTIMATE>)->Arg(1024)->Arg(2048);
BENCHMARK(bare<FFTW_MEASURE>)->Arg(1024)->Arg(2048);

} // namespace
