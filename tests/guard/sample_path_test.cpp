// From a chunk's arrival to the end of its blocks nothing asks for memory, takes a lock or calls the system.

#include "core/fft/fft.hpp"
#include "modes/am_mod_demod.hpp"
#include "modes/ssb_mod_demod.hpp"
#include "tests/guard/sample_path_guard.hpp"
#include "tests/trx/trx_fixture.hpp"

#include <cstdlib>
#include <mutex>
#include <unistd.h>

namespace ferrow {
namespace {

using test::GuardCounts;
using test::Samples;

constexpr long long kCentre = 14095600;

// Calls `what` under the guard, on this thread.
template <class What>
GuardCounts guarded(What what) {
    test::guardBegin();
    what();
    return test::guardEnd();
}

TEST(Guard, SeesAHeapCall) {
    void* volatile block;
    const auto viaMalloc = [&] {
        block = std::malloc(10);
        std::free(block);
    };
    const auto viaNew = [&] {
        block = new int(3);
        delete static_cast<int*>(block);
    };
    EXPECT_EQ(guarded(viaMalloc).heapCalls, 2);
    EXPECT_EQ(guarded(viaNew).heapCalls, 2);
}

TEST(Guard, SeesALock) {
    std::mutex mutex;
    EXPECT_EQ(guarded([&] { const std::lock_guard lock(mutex); }).locks, 1);
}

TEST(Guard, SeesASystemCall) {
    const GuardCounts counts = guarded([] { getppid(); });
    if (!counts.systemCallsSeen)
        GTEST_SKIP() << "this kernel has no user dispatch of system calls";
    EXPECT_EQ(counts.systemCalls, 1);
}

TEST(Guard, CountsNothingElse) {
    const GuardCounts counts = guarded([] {});
    EXPECT_EQ(counts.heapCalls + counts.locks + counts.systemCalls, 0);
}

class SamplePath : public test::TrxTest {
protected:
    void SetUp() override { radio->addReceiver(kCentre, 48000); }

    // Works `chunks` chunks of `rate` on this thread, the first ones freely: they fill the pool and make
    // plans.
    void check(const std::shared_ptr<modDemod>& mode, int rate, bool foreground, double zoom = 1) {
        auto t = listen(14100000, mode);
        on(*t, [&] {
            t->setRxFilter(-3000, 3000);
            t->foregroundDisplay.setFromHost(foreground);
            t->specZoom.setFromHost(zoom);
        });
        t->queueSeqItem(seqTask("warm", [] {}));
        test::settle(t->context());
        const std::size_t size = Radio::chunkSize(rate);
        const Samples chunk = test::Carrier(5000, rate, 0.5).next(size);
        fft::prepare(1024);
        fft::prepare(2048);
        for (int i = 0; i < 100; ++i)
            t->processRxChunk(chunk, kCentre, rate, {}, 0, 0);
        GuardCounts total;
        for (int i = 0; i < 100; ++i) {
            const GuardCounts counts = guarded([&] { t->processRxChunk(chunk, kCentre, rate, {}, 0, 0); });
            total.heapCalls += counts.heapCalls;
            total.locks += counts.locks;
            total.systemCalls += counts.systemCalls;
        }
        EXPECT_EQ(total.heapCalls, 0) << rate;
        EXPECT_EQ(total.locks, 0) << rate;
        EXPECT_EQ(total.systemCalls, 0) << rate;
        on(*radio, [&] { radio->removeVtrx(t); });
    }
};

TEST_F(SamplePath, SsbAsksForNothingAtAnyRate) {
    for (const int rate : {48000, 96000, 192000, 384000, 1536000})
        check(std::make_shared<ssbModDemod>(rootSyncTask), rate, true);
}

TEST_F(SamplePath, AmAsksForNothing) {
    check(std::make_shared<amModDemod>(rootSyncTask), 384000, false);
}

TEST_F(SamplePath, ResampledRatesAskForNothing) {
    for (const int rate : {2000000, 8000000, 10000000})
        check(std::make_shared<ssbModDemod>(rootSyncTask), rate, true);
}

TEST_F(SamplePath, AZoomedSpectrumAsksForNothing) {
    check(std::make_shared<ssbModDemod>(rootSyncTask), 192000, true, 8);
}

TEST_F(SamplePath, NoiseReductionAsksForNothing) {
    auto mode = std::make_shared<ssbModDemod>(rootSyncTask);
    mode->rnnoise.set(true);
    check(mode, 48000, false);
    check(mode, 384000, false);
}

// A host's callbacks: the value itself costs nothing, the copies of events come from the pool.
TEST_F(SamplePath, BoundScalarsAskForNothing) {
    auto t = listen(14100000, std::make_shared<ssbModDemod>(rootSyncTask));
    t->signalStrength.bind([](double) {}, t.get());
    t->micLevel.bind([](double) {}, t.get());
    t->TuningValid.bind([](bool) {}, t.get());
    fft::prepare(1024);
    Samples loud = test::Carrier(5000, 48000, 0.5).next(512 * 18),
            soft = test::Carrier(5000, 48000, 0.1).next(512 * 18);
    const auto run = [&] {
        t->processRxChunk(loud, kCentre, 48000, {}, 0, 0);
        t->processRxChunk(soft, kCentre, 48000, {}, 0, 0);
    };
    for (int i = 0; i < 3; ++i)
        run();
    const GuardCounts counts = guarded(run);
    EXPECT_EQ(counts.heapCalls, 0);
    EXPECT_EQ(counts.locks, 0);
    EXPECT_EQ(counts.systemCalls, 0);
}

} // namespace
} // namespace ferrow
