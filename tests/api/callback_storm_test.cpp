// A storm of notices against callbacks that are slow, throw, and call the library again: every property
// change arrives once and in order, spectra are dropped at worst, and memory stays as it is. FERROW_STORM in
// the environment sets how many changes.

#include "tests/support/sanitizer.hpp"
#include "tests/trx/trx_fixture.hpp"

#include <ferrowcore/ferrowcore.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <malloc.h>
#include <stdexcept>
#include <string>
#include <thread>

namespace ferrow {
namespace {

constexpr long long kFrequency = 14100000;
constexpr int kBatch = 500; // at most 1024 sets wait for a context
constexpr int kDeepest = 3; // pumps inside of callbacks inside of pumps

// One run's counts; callbacks have no context of their own.
struct Storm {
    long long expected = 0; // next value of specFreq
    long long changes = 0, misplaced = 0;
    long long exceptions = 0, numbers = 0, slow = 0, nested = 0, spectra = 0, badSpectra = 0;
    int depth = 0;
};
Storm storm;
void* transceiver = nullptr;

void onDrive(int) {}
void onVfo(long long) {}

// Calls the library as a host does in the middle of something.
void callBack() {
    ++storm.nested;
    vtrx_setdrive(transceiver, static_cast<int>(storm.changes % 255));
    vtrx_binddrive(transceiver, onDrive);
    vtrx_bindvfo(transceiver, onVfo); // replays
    void* gain = agc_create();
    agc_setVolume(gain, 0.5f);
    agc_release(gain);
    if (storm.depth < kDeepest) {
        ++storm.depth;
        getUpdates();
        getRenderUpdates();
        --storm.depth;
    }
}

void onSpecFreq(long long value) {
    storm.misplaced += value != storm.expected;
    storm.expected = value + 1;
    const long long n = ++storm.changes;
    if (n % 20011 == 0) {
        ++storm.slow;
        std::this_thread::sleep_for(
            std::chrono::milliseconds(20)); // more spectra than may wait come meanwhile
    }
    if (n % 101 == 0)
        callBack();
    if (n % 4999 == 0) {
        ++storm.exceptions;
        throw std::runtime_error("storm");
    }
    if (n % 5003 == 0) {
        ++storm.numbers;
        throw 1;
    }
}

void onSpectrum(void* array, double low, double high, int rate) {
    ++storm.spectra;
    storm.badSpectra += floatArray_size(array) != 2048 || !(low < high) || rate != 48000;
    const bool throws = storm.spectra % 97 == 0;
    floatArray_delete(array);
    if (throws)
        throw std::runtime_error("spectrum");
}

void onAdded(void* handle, long long, int, int) {
    transceiver = handle;
}

// What the program has allocated and not freed. Resident pages would also count those of the queues' rings,
// allocated at full size at a thread's first post and touched one by one.
long long allocatedBytes() {
    const struct mallinfo2 all = mallinfo2();
    return static_cast<long long>(all.uordblks + all.hblkhd);
}

int occurrences(const std::string& text, const std::string& words) {
    int count = 0;
    for (std::size_t at = 0; (at = text.find(words, at)) != std::string::npos; at += words.size())
        ++count;
    return count;
}

TEST(CallbackStorm, LosesNothingAndKeepsItsMemory) {
    const char* const wanted = std::getenv("FERROW_STORM");
    const long long total = wanted != nullptr ? std::atoll(wanted) : 1000000;
    test::Runtime runtime(0);
    auto fake = std::make_shared<test::FakeRadio>(rootSyncTask);
    fake->addReceiver(kFrequency, 48000);
    void* radio = makeHandle<asyncObject>(fake);
    Radio_bindvtrxAdded(radio, onAdded);
    Radio_addVtrx(radio, kFrequency, 0, 0);
    const auto pumpUntil = [](const std::function<bool()>& done) {
        return test::waitFor(
            [&] {
                getUpdates();
                getRenderUpdates();
                return done();
            },
            30);
    };
    ASSERT_TRUE(pumpUntil([] { return transceiver != nullptr; }));
    void* mode = ssbModDemod_create();
    vtrx_setmuted(transceiver, true);
    vtrx_setModulation(transceiver, mode);
    vtrx_setforegroundDisplay(transceiver, true);
    vtrx_setwaterfallSpeed(transceiver, 5); // 32 times the spectra
    vtrx_bindnewSpectrum(transceiver, onSpectrum);
    vtrx_start(transceiver);

    std::atomic<bool> leave{false};
    std::thread feeder([&] {
        while (!leave) {
            fake->deliverSamples([](std::complex<float>* to, std::size_t n) { std::fill_n(to, n, 0.1f); },
                                 512, 0);
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
    });
    ASSERT_TRUE(pumpUntil([] { return storm.spectra > 0; }));

    long long sent = 0, early = 0;
    storm.expected = kFrequency + 1; // the bind replays the present value
    vtrx_bindspecFreq(transceiver, [](long long) {});
    getUpdates();
    vtrx_bindspecFreq(transceiver, nullptr);
    vtrx_setspecOffset(transceiver, 0);
    vtrx_bindspecFreq(transceiver, [](long long value) {
        if (value != kFrequency)
            onSpecFreq(value);
    });
    while (sent < total) {
        for (int i = 0; i < kBatch && sent < total; ++i)
            vtrx_setspecOffset(transceiver, ++sent);
        ASSERT_TRUE(pumpUntil([&] { return storm.changes >= sent; })) << storm.changes << " of " << sent;
        if (early == 0 && sent >= total / 5)
            early = allocatedBytes();
    }
    const long long late = allocatedBytes();
    leave = true;
    feeder.join();

    EXPECT_EQ(storm.changes, total);
    EXPECT_EQ(storm.misplaced, 0);
    EXPECT_GT(storm.spectra, 100);
    EXPECT_EQ(storm.badSpectra, 0);
    EXPECT_GT(storm.nested, total / 102);
    if constexpr (!test::kAddressSanitizer) // which keeps what was freed for a while
    {
        EXPECT_LT(late - early, 1 << 20) << "bytes more in the last four fifths";
    }
    const std::string log = runtime.log();
    EXPECT_EQ(occurrences(log, "Can't queue"), 0);
    EXPECT_EQ(occurrences(log, "getUpdates storm\n"), storm.exceptions);
    EXPECT_EQ(occurrences(log, "getUpdates\n"), storm.numbers);
    RecordProperty("spectra", static_cast<int>(storm.spectra));
    std::printf("%lld changes, %lld spectra, %lld slow, %lld nested, %lld thrown; %lld KiB more\n",
                storm.changes, storm.spectra, storm.slow, storm.nested, storm.exceptions + storm.numbers,
                (late - early) / 1024);

    // And all of it can still go.
    std::weak_ptr<asyncObject> watch = *static_cast<Handle*>(transceiver);
    asyncObject_release(mode);
    asyncObject_release(transceiver);
    asyncObject_release(radio);
    fake.reset();
    EXPECT_TRUE(pumpUntil([&] { return watch.expired(); }));
}

} // namespace
} // namespace ferrow
