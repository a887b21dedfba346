// The pool beside the heap: one buffer made and dropped, and a handful alive at a time, on one thread and on
// two.
#include "core/buff/buff.hpp"

#include <benchmark/benchmark.h>
#include <complex>
#include <cstdlib>
#include <vector>

using namespace ferrow;

namespace {

constexpr size_t kAlive = 16;

void pool(benchmark::State& state) {
    const auto n = static_cast<size_t>(state.range(0));
    for (auto _ : state) {
        const buff<std::complex<float>> b(n);
        benchmark::DoNotOptimize(b.data());
    }
}
BENCHMARK(pool)->Arg(512)->Arg(4096)->Arg(65536)->Threads(1)->Threads(2);

void heap(benchmark::State& state) {
    const auto n = static_cast<size_t>(state.range(0));
    for (auto _ : state) {
        void* b = std::malloc(n * sizeof(std::complex<float>));
        benchmark::DoNotOptimize(b);
        std::free(b);
    }
}
BENCHMARK(heap)->Arg(512)->Arg(4096)->Arg(65536)->Threads(1)->Threads(2);

void poolQueue(benchmark::State& state) {
    const auto n = static_cast<size_t>(state.range(0));
    std::vector<buff<std::complex<float>>> alive(kAlive);
    size_t i = 0;
    for (auto _ : state) {
        auto& slot = alive[i++ % kAlive];
        slot = buff<std::complex<float>>(n);
        slot[0] = slot[n - 1] = 0;
    }
}
BENCHMARK(poolQueue)->Arg(512)->Arg(4096)->Arg(65536);

void heapQueue(benchmark::State& state) {
    const auto n = static_cast<size_t>(state.range(0));
    std::vector<std::complex<float>*> alive(kAlive, nullptr);
    size_t i = 0;
    for (auto _ : state) {
        auto& slot = alive[i++ % kAlive];
        std::free(slot);
        slot = static_cast<std::complex<float>*>(std::malloc(n * sizeof(std::complex<float>)));
        slot[0] = slot[n - 1] = 0;
    }
    for (auto* slot : alive)
        std::free(slot);
}
BENCHMARK(heapQueue)->Arg(512)->Arg(4096)->Arg(65536);

} // namespace
