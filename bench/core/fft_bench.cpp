// The transform service beside the bare library, planned by estimate and by measurement, and beside KISS FFT,
// at the lengths in use. Each result is compared with the service's.
#include "core/fft/fft.hpp"

#include <benchmark/benchmark.h>
#include <fftw3.h>
#include <kiss_fft.h>

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
    for (size_t i = 0; i < n; ++i) // planning by measurement has written over it
        in[i] = i == 1 ? cf{3, -1} : cf{1, 2};
    for (auto _ : state) {
        fftwf_execute_dft(plan, from, to);
        benchmark::ClobberMemory();
    }
    const buff<cf> expected = fft::forward(in);
    for (size_t i = 0; i < n; ++i)
        if (std::abs(out[i] - expected[i]) > 1e-2f)
            return state.SkipWithError("another result");
    fftwf_destroy_plan(plan);
    fftwf_forget_wisdom();
}
BENCHMARK(bare<FFTW_ESTIMATE>)->Arg(1024)->Arg(2048);
BENCHMARK(bare<FFTW_MEASURE>)->Arg(1024)->Arg(2048);

void kiss(benchmark::State& state) {
    const auto n = static_cast<size_t>(state.range(0));
    const buff<cf> in(n, {1, 2}), out(n);
    in[1] = {3, -1};
    kiss_fft_cfg plan = kiss_fft_alloc(static_cast<int>(n), 0, nullptr, nullptr);
    const auto* from = reinterpret_cast<const kiss_fft_cpx*>(in.data());
    auto* to = reinterpret_cast<kiss_fft_cpx*>(out.data());
    for (auto _ : state) {
        kiss_fft(plan, from, to);
        benchmark::ClobberMemory();
    }
    kiss_fft_free(plan);
    const buff<cf> expected = fft::forward(in);
    for (size_t i = 0; i < n; ++i)
        if (std::abs(out[i] - expected[i]) > 1e-2f)
            return state.SkipWithError("another result");
}
BENCHMARK(kiss)->Arg(1024)->Arg(2048);

} // namespace
