// After preparation nothing on the sample path asks for memory: neither operator new nor the pool's heap.
#include "core/buff/buffer_pool.hpp"
#include "core/fft/fft.hpp"
#include "reference.hpp"
#include "trx/dsp/bandpass_design.hpp"
#include "trx/dsp/decimating_mixer.hpp"
#include "trx/dsp/gain_control.hpp"
#include "trx/dsp/look_ahead_buffer.hpp"
#include "trx/dsp/overlap_filter.hpp"
#include "trx/dsp/rational_resampler.hpp"

#include <atomic>
#include <cstdlib>
#include <gtest/gtest.h>
#include <new>
#include <thread>

namespace {

std::atomic<long> allocations{0};

void* counted(size_t bytes) {
    ++allocations;
    if (void* p = std::malloc(bytes ? bytes : 1))
        return p;
    throw std::bad_alloc();
}

} // namespace

void* operator new(size_t bytes) {
    return counted(bytes);
}
void* operator new[](size_t bytes) {
    return counted(bytes);
}
void operator delete(void* p) noexcept {
    std::free(p);
}
void operator delete[](void* p) noexcept {
    std::free(p);
}
void operator delete(void* p, size_t) noexcept {
    std::free(p);
}
void operator delete[](void* p, size_t) noexcept {
    std::free(p);
}

using namespace ferrow;
using namespace ferrow::test;

namespace {

long poolAllocations() {
    long sum = 0;
    for (int k = 0; k < bufferPool::kClasses; ++k)
        sum += long(bufferPool::instance().rawAllocations(k) + bufferPool::instance().nodeAllocations(k));
    return sum;
}

} // namespace

TEST(NoAllocation, ProcessAndRunAskForNoMemory) {
    std::thread([] {
        const auto in = noise(4096);
        const std::vector<float> audio(512, 0.1f);
        std::vector<float> block(audio);
        decimatingMixer mixer;
        mixer.configure(8);
        rationalResampler resampler(96, 125);
        overlapFilter filter(designBandpass(300, 2700, 48000, 1536, 1536));
        const auto other = designBandpass(-2700, -300, 48000, 1536, 1536);
        lookAheadBuffer limiter;
        const buff<cf> limited(512);
        std::vector<cf> out(1024);
        GainControl control;
        const GainControlSettings settings;
        fft::prepare(overlapFilter::kBins);

        const auto once = [&](int round) {
            mixer.process(0.1 * round, 8, in, filter.input.span());
            filter.run();
            std::copy_n(in.begin(), 600, resampler.feed(600).begin());
            resampler.produce(out);
            limiter.push(filter.output);
            limiter.limit(0.94f, limited);
            control.process(block, settings, false, true, 0);
        };
        filter.load(other);
        const long before = allocations, poolBefore = poolAllocations();
        for (int round = 0; round < 50; ++round)
            once(round);
        EXPECT_EQ(allocations, before);
        EXPECT_EQ(poolAllocations(), poolBefore);

        filter.load(other);
        for (int round = 0; round < 50; ++round)
            filter.run();
        EXPECT_EQ(poolAllocations(), poolBefore)
            << "a new filter of the same size takes its memory from the pool";
    }).join();
}

TEST(NoAllocation, TheCountingWorks) {
    const long before = allocations;
    delete new int;
    EXPECT_EQ(allocations, before + 1);
}
