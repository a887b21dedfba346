// Every mode with its two directions on two threads, while a third sets whatever can be set. For the thread
// sanitizer; without it, only that nothing falls over.
#include "modes/am_mod_demod.hpp"
#include "modes/client_mod_demod.hpp"
#include "modes/fm_mod_demod.hpp"
#include "modes/latest_value.hpp"
#include "modes/proxy_mod_demod.hpp"
#include "modes/raw_iq_mod_demod.hpp"
#include "modes/sig_gen_mod_demod.hpp"
#include "modes/ssb_mod_demod.hpp"
#include "tests/modes/voice/voice_signals.hpp"

#include <ferrowcore/ferrowcore.h>

#include <atomic>
#include <thread>

namespace ferrow {
namespace {

using namespace test;

class BothWays : public ::testing::Test {
protected:
    Runtime runtime;
    Application application{kBent};

    // `set` is called again and again, by this thread, while both directions run.
    void run(modDemod& mode, const std::function<void(int)>& set) {
        std::atomic<bool> going{true};
        std::atomic<int> received{0}, transmitted{0};
        std::thread receive([&] {
            const Samples block = toBuff(noise(512));
            for (; going; ++received)
                mode.demodulate(block);
        });
        std::thread transmit([&] {
            const Samples microphone = microphoneBlock(tones({{1000, 0.8}}), 0), out(512);
            for (; going; ++transmitted) {
                mode.modulate(microphone, out);
                for (const auto& z : out)
                    if (!std::isfinite(z.real()))
                        ADD_FAILURE() << "no number";
            }
        });
        for (int i = 0; i < 60 || received < 100 || transmitted < 100; ++i) {
            set(i);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        going = false;
        receive.join();
        transmit.join();
        settle(mode.context());
    }

    void bend(int i) {
        Curve curve = i % 2 == 0 ? kBent : kFlat;
        if (i % 5 == 0)
            application.bend(curve);
    }
};

TEST_F(BothWays, Ssb) {
    const auto handle = ssbModDemod_create();
    const auto mode =
        std::static_pointer_cast<ssbModDemod>(*static_cast<std::shared_ptr<asyncObject>*>(handle));
    run(*mode, [&](int i) {
        ssbModDemod_setcompression(handle, i % 5);
        ssbModDemod_setUseMicEQ(handle, i % 3 == 0);
        modDemod_setrnnoiseSquelch(handle, i);
        mode->setTxFilter(100 + i, 2900);
        bend(i);
    });
    ssbModDemod_release(handle);
}

TEST_F(BothWays, Am) {
    const auto handle = amModDemod_create();
    const auto mode =
        std::static_pointer_cast<amModDemod>(*static_cast<std::shared_ptr<asyncObject>*>(handle));
    run(*mode, [&](int i) {
        amModDemod_setcompression(handle, i % 5);
        mode->setPtt(i % 2 == 0);
        bend(i);
    });
    amModDemod_release(handle);
}

TEST_F(BothWays, Fm) {
    const auto handle = fmModDemod_create();
    const auto mode =
        std::static_pointer_cast<fmModDemod>(*static_cast<std::shared_ptr<asyncObject>*>(handle));
    run(*mode, [&](int i) {
        fmModDemod_setcompression(handle, i % 5);
        fmModDemod_setdeviation(handle, i % 4 < 2 ? 5000 : 75000);
        fmModDemod_setCTCSS(handle, i % 3 * 67);
        fmModDemod_setMaxDeviation(handle, i);
        fmModDemod_setStereo(handle, i % 2 == 0);
        mode->setPtt(i % 2 == 0);
        bend(i);
    });
    fmModDemod_release(handle);
}

TEST_F(BothWays, Generator) {
    const auto handle = sigGenModDemod_create();
    const auto mode =
        std::static_pointer_cast<sigGenModDemod>(*static_cast<std::shared_ptr<asyncObject>*>(handle));
    run(*mode, [&](int i) {
        sigGenModDemod_setampl1(handle, i);
        sigGenModDemod_setampl2(handle, i);
        sigGenModDemod_setfreq2(handle, i * 10);
    });
    sigGenModDemod_release(handle);
}

TEST_F(BothWays, RawIqAndClient) {
    const auto raw = std::make_shared<RawIQModDemod>(rootSyncTask);
    run(*raw, [&](int i) { raw->queueSetItem(seqTask("test", [raw, i] { raw->rxFreq.setFromHost(i); })); });
    const auto client = std::make_shared<clientModDemod>(rootSyncTask);
    run(*client, [&](int i) {
        client->rxChunk.bind(i % 2 == 0 ? +[](void* array, int) { complexArray_delete(array); } : nullptr,
                             client.get());
        getUpdates();
    });
    getUpdates();
}

TEST_F(BothWays, Proxy) {
    const auto mode = std::make_shared<proxyModDemod>(rootSyncTask);
    run(*mode, [&](int i) {
        mode->rxChunk.bind(i % 2 == 0 ? +[](void* array) { complexArray_delete(array); } : nullptr,
                           mode.get());
        mode->getTxChunk.bind(i % 3 == 0 ? +[](void* out, void* in) {
            complexArray_data(out)[0] = complexArray_data(in)[0];
            complexArray_delete(out);
            complexArray_delete(in);
        } : nullptr, mode.get());
    });
}

// The reader sees whole values, in order, and the newest at the end.
TEST(LatestValue, IsWholeAndNewest) {
    LatestValue<std::array<int, 64>> value;
    constexpr int kLast = 20000;
    std::thread writer([&] {
        for (int i = 1; i <= kLast; ++i) {
            value.draft().fill(i);
            value.publish();
        }
    });
    int seen = 0;
    while (seen < kLast) {
        if (!value.take()) {
            std::this_thread::yield();
            continue;
        }
        const auto& now = value.current();
        ASSERT_GT(now[0], seen);
        seen = now[0];
        for (const int x : now)
            ASSERT_EQ(x, seen);
    }
    writer.join();
    EXPECT_FALSE(value.take());
}

} // namespace
} // namespace ferrow
