// The pool beside the heap: one buffer made and dropped, and a handful alive at a time, on one thread and on
// two; and blocks that one thread allocates and another one releases, as samples go through the library.
#include "core/buff/buff.hpp"
#include "core/buff/buffer_pool.hpp"

#include <algorithm>
#include <array>
#include <atomic>
#include <benchmark/benchmark.h>
#include <complex>
#include <cstdlib>
#include <thread>
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

struct PoolBlocks {
    static void* allocate(size_t bytes) { return bufferPool::instance().allocate(bytes + 32); }
    static void release(void* block, size_t bytes) { bufferPool::instance().release(block, bytes + 32); }
};

struct HeapBlocks {
    static void* allocate(size_t bytes) { return std::malloc(bytes); }
    static void release(void* block, size_t) { std::free(block); }
};

// Blocks alone, on both threads.
template <class Blocks>
void blocks(benchmark::State& state) {
    const auto bytes = static_cast<size_t>(state.range(0));
    for (auto _ : state) {
        void* block = Blocks::allocate(bytes);
        benchmark::DoNotOptimize(block);
        Blocks::release(block, bytes);
    }
}
BENCHMARK(blocks<PoolBlocks>)->Arg(4096)->Threads(1)->Threads(2);
BENCHMARK(blocks<HeapBlocks>)->Arg(4096)->Threads(1)->Threads(2);

// From this thread to another one, through a ring; each block is written to at both ends, and the number that
// it carries is checked.
template <class Blocks>
void handover(benchmark::State& state) {
    constexpr size_t kRing = 256, kBytes = 4096;
    std::array<std::atomic<void*>, kRing> ring{};
    std::atomic<bool> end{false};
    size_t wrong = 0;
    std::thread releaser([&] {
        for (size_t i = 0;; ++i) {
            void* block;
            while ((block = ring[i % kRing].exchange(nullptr, std::memory_order_acquire)) == nullptr)
                if (end.load(std::memory_order_acquire))
                    return;
            wrong += *static_cast<size_t*>(block) != i;
            Blocks::release(block, kBytes);
        }
    });
    size_t i = 0;
    for (auto _ : state) {
        void* block = Blocks::allocate(kBytes);
        *static_cast<size_t*>(block) = i;
        auto& slot = ring[i++ % kRing];
        while (slot.load(std::memory_order_relaxed) != nullptr) {
        }
        slot.store(block, std::memory_order_release);
    }
    while (std::any_of(ring.begin(), ring.end(), [](const auto& slot) { return slot.load() != nullptr; }))
        std::this_thread::yield();
    end.store(true, std::memory_order_release);
    releaser.join();
    if (wrong != 0)
        state.SkipWithError("blocks were mixed up");
}
BENCHMARK(handover<PoolBlocks>)->UseRealTime();
BENCHMARK(handover<HeapBlocks>)->UseRealTime();

} // namespace
