// A block of a voice mode, either way, asks for no memory, lock or system call once it runs.
#include "core/fft/fft.hpp"
#include "modes/am_mod_demod.hpp"
#include "modes/fm_mod_demod.hpp"
#include "modes/sig_gen_mod_demod.hpp"
#include "modes/ssb_mod_demod.hpp"
#include "tests/guard/sample_path_guard.hpp"
#include "tests/modes/voice/voice_signals.hpp"

namespace ferrow {
namespace {

using namespace test;

class VoicePath : public ::testing::Test {
protected:
    Runtime runtime;
    Application application{kBent};

    static GuardCounts counts(modDemod& mode) {
        const Samples microphone = microphoneBlock(tones({{1000, 0.8}}), 0), out(512),
                      block = toBuff(noise(512));
        const auto both = [&] {
            mode.modulate(microphone, out);
            mode.demodulate(block);
        };
        for (int i = 0; i < 20; ++i)
            both();
        guardBegin();
        for (int i = 0; i < 50; ++i)
            both();
        return guardEnd();
    }
    static void expectNone(modDemod& mode) {
        const GuardCounts found = counts(mode);
        EXPECT_EQ(found.heapCalls, 0);
        EXPECT_EQ(found.locks, 0);
        EXPECT_EQ(found.systemCalls, 0);
    }
};

TEST_F(VoicePath, AsksForNothing) {
    const auto ssb = std::make_shared<ssbModDemod>(rootSyncTask);
    expectNone(*ssb);
    expectNone(*std::make_shared<amModDemod>(rootSyncTask));
    const auto fm = std::make_shared<fmModDemod>(rootSyncTask);
    fm->CTCSS.set(100);
    fm->Stereo.set(true);
    expectNone(*fm);
    fm->deviation.set(5000);
    expectNone(*fm);
    expectNone(*std::make_shared<sigGenModDemod>(rootSyncTask));
}

// Neither does the block that takes a new filter.
TEST_F(VoicePath, ANewFilterIsTakenWithoutAsking) {
    const auto ssb = std::make_shared<ssbModDemod>(rootSyncTask);
    const Samples microphone = microphoneBlock(tones({{1000, 0.8}}), 0), out(512);
    ssb->modulate(microphone, out);
    for (int i = 0; i < 5; ++i) {
        ssb->setTxFilter(100 + i, 3000);
        guardBegin();
        ssb->modulate(microphone, out);
        const GuardCounts found = guardEnd();
        EXPECT_EQ(found.heapCalls, 0);
        EXPECT_EQ(found.locks, 0);
        EXPECT_EQ(found.systemCalls, 0);
    }
}

} // namespace
} // namespace ferrow
