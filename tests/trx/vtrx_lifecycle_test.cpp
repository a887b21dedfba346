#include "core/audio/audio_provider.hpp"
#include "tests/trx/trx_fixture.hpp"

namespace ferrow {
namespace {

using test::ProbeMode;

std::vector<long long> longs;
void onLong(long long value) {
    longs.push_back(value);
}

class VtrxLifecycle : public test::TrxTest {
protected:
    void SetUp() override { radio->addReceiver(14095600, 48000); }
};

TEST_F(VtrxLifecycle, DefaultsAreThoseOfTheTable) {
    vtrx t(rootSyncTask);
    EXPECT_FALSE(t.ptt.value());
    EXPECT_FALSE(t.tune.value());
    EXPECT_EQ(t.specFreq.value(), 14095600);
    EXPECT_EQ(t.specOffset.value(), 0);
    EXPECT_EQ(t.specZoom.value(), 1.0);
    EXPECT_EQ(t.audioOutput.value(), -1);
    EXPECT_FALSE(t.muted.value());
    EXPECT_EQ(t.signalStrength.value(), 0);
    EXPECT_FALSE(t.foregroundDisplay.value());
    EXPECT_EQ(t.oversample.value(), 1);
    EXPECT_EQ(t.waterfallSpeed.value(), 0);
    EXPECT_EQ(t.vfo.value(), 14095600);
    EXPECT_EQ(t.TxOffset.value(), 0);
    EXPECT_TRUE(t.useResampler.value());
    EXPECT_EQ(t.micLevel.value(), 0);
    EXPECT_TRUE(t.bandwidthSufficient.value());
    EXPECT_FALSE(t.useVox.value());
    EXPECT_EQ(t.VoxThreshold.value(), 0.4);
    EXPECT_EQ(t.VoxHold.value(), 0.5);
    EXPECT_EQ(t.drive.value(), 0);
    EXPECT_EQ(t.ADCs.value(), 1);
    EXPECT_EQ(t.ADC1Gain.value(), 1.0);
    EXPECT_EQ(t.ADC1Phase.value(), 0);
    EXPECT_FALSE(t.DelayAudio.value());
    EXPECT_FALSE(t.SendAudio.value());
    EXPECT_FALSE(t.SendIQ.value());
    EXPECT_TRUE(t.TuningValid.value());
    EXPECT_EQ(t.OwnerID.value(), 0);
    EXPECT_EQ(t.filterLow, -3000);
    EXPECT_EQ(t.filterHigh, 3000);
    EXPECT_EQ(t.rxagc.value(), nullptr);
}

TEST_F(VtrxLifecycle, CreateMakesTheGainsAndTakesTheDefaultDevices) {
    const auto t = addVtrx(7100000);
    ASSERT_NE(t->rxagc.value(), nullptr);
    ASSERT_NE(t->txagc.value(), nullptr);
    EXPECT_EQ(t->rxagc.value()->Volume.value(), 1.0f);
    EXPECT_EQ(t->txagc.value()->Volume.value(), 0.0f);
    EXPECT_EQ(t->audioOutput.value(), AudioProvider::instance().defaultOutput);
    EXPECT_EQ(t->audioInput.value(), AudioProvider::instance().defaultInput);
    EXPECT_TRUE(t->rxagc.valid());
    EXPECT_TRUE(t->txagc.valid());
    EXPECT_TRUE(t->vfo.valid());
    EXPECT_FALSE(t->drive.valid());
}

TEST_F(VtrxLifecycle, VfoOfAnAddedTransceiverReplaysEvenAtItsDefault) {
    const auto t = addVtrx(14095600);
    t->vfo.bind(onLong, t.get());
    pumpUpdates();
    EXPECT_EQ(longs, std::vector<long long>{14095600});
    longs.clear();
}

TEST_F(VtrxLifecycle, SpecOffset1000AtVfo7000000GivesSpecFreq7001000) {
    const auto t = addVtrx(7000000);
    t->specFreq.bind(onLong, t.get());
    pumpUpdates();
    longs.clear();
    on(*t, [&] { t->specOffset.setFromHost(1000); });
    EXPECT_EQ(t->specFreq.value(), 7001000);
    pumpUpdates();
    EXPECT_EQ(longs, std::vector<long long>{7001000});
    longs.clear();
    on(*t, [&] { t->vfo.setFromHost(7010000); });
    EXPECT_EQ(t->specFreq.value(), 7011000);
}

TEST_F(VtrxLifecycle, MutedWhileRunningClosesTheOutputAndSetsTheInputToStream0) {
    const auto t = addVtrx(7000000);
    on(*t, [&] {
        t->audioOutput.setFromHost(900); // no such device: the number is kept, the stream stays closed
        t->start();
    });
    EXPECT_EQ(t->output().id(), 900);
    EXPECT_TRUE(runtime.logged("pa_openstream failed -9996"));
    on(*t, [&] { t->muted.setFromHost(true); });
    EXPECT_EQ(t->output().id(), -1);
    EXPECT_EQ(t->microphone().id(), 0);
    on(*t, [&] { t->muted.setFromHost(false); });
    EXPECT_EQ(t->output().id(), 900);
    on(*t, [&] { t->stop(); });
    EXPECT_EQ(t->output().id(), -1);
    EXPECT_FALSE(t->running());
}

TEST_F(VtrxLifecycle, AnOutputOutsideRunningStaysClosed) {
    const auto t = addVtrx(7000000);
    on(*t, [&] { t->audioOutput.setFromHost(900); });
    EXPECT_EQ(t->output().id(), -1);
}

TEST_F(VtrxLifecycle, AnInputOutOfRangeIsLoggedAndChangesNothing) {
    const auto t = addVtrx(7000000);
    on(*t, [&] {
        t->audioInput.setFromHost(0);
        t->start();
        t->audioInput.setFromHost(977);
    });
    EXPECT_EQ(t->microphone().id(), 0);
    EXPECT_TRUE(runtime.logged("Invalid audio stream id 977"));
    EXPECT_TRUE(runtime.logged("set stream id 977"));
}

TEST_F(VtrxLifecycle, SettingAPropertyToItsPresentValueFiresNothing) {
    const auto t = addVtrx(7000000);
    const int before = radio->changes;
    on(*t, [&] {
        t->vfo.setFromHost(7000000);
        t->ADCs.setFromHost(1);
        t->specOffset.setFromHost(0);
    });
    test::settle(radio->context());
    EXPECT_EQ(radio->changes, before);
}

TEST_F(VtrxLifecycle, AModeHearsOfItsLinkFiltersAndFrequency) {
    const auto t = addVtrx(7000000);
    auto mode = std::make_shared<ProbeMode>(rootSyncTask);
    on(*t, [&] {
        t->setModulation(mode);
        EXPECT_EQ(mode->vtrxLink(), t);
        t->setRxFilter(300, 2700);
        t->setTxFilter(200, 2800);
        t->vfo.setFromHost(7100000);
        t->ptt.setFromHost(true);
        t->ptt.setFromHost(false);
    });
    EXPECT_EQ(mode->inits, 1);
    EXPECT_EQ(mode->rxFilters, (std::vector<std::pair<int, int>>{{300, 2700}}));
    EXPECT_EQ(mode->txFilters, (std::vector<std::pair<int, int>>{{200, 2800}}));
    EXPECT_EQ(mode->frequencies, std::vector<long long>{7100000});
    EXPECT_EQ(mode->ptts, (std::vector<bool>{true, false}));
    EXPECT_TRUE(mode->receiving);
    EXPECT_EQ(t->filterLow, 300);
    EXPECT_EQ(t->filterHigh, 2700);
    std::weak_ptr<ProbeMode> old = mode;
    mode.reset();
    on(*t, [&] { t->setModulation(nullptr); });
    EXPECT_TRUE(old.expired());
    EXPECT_EQ(t->mode(), nullptr);
}

TEST_F(VtrxLifecycle, AModeIsNeverSwappedWithinABlock) {
    struct SlowMode : ProbeMode {
        using ProbeMode::ProbeMode;
        std::atomic<int>* inside = nullptr;
        std::atomic<int>* clashes = nullptr;
        buff<float> demodulate(buff<std::complex<float>> block) override {
            ++*inside;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            --*inside;
            return ProbeMode::demodulate(block);
        }
        void init() override {
            if (*inside != 0)
                ++*clashes;
        }
    };
    std::atomic<int> inside{0}, clashes{0};
    const auto t = addVtrx(14095600);
    on(*t, [&] {
        t->muted.setFromHost(true);
        t->start();
    });
    test::Carrier carrier(1000, 48000);
    for (int i = 0; i < 20; ++i) {
        auto mode = std::make_shared<SlowMode>(rootSyncTask);
        mode->inside = &inside;
        mode->clashes = &clashes;
        t->queueSeqItem(seqTask("chunk", [t, chunk = carrier.next(2048)] {
            t->processRxChunk(chunk, 14095600, 48000, {}, 0, 0);
        }));
        t->queueSetItem(seqTask("vtrx.setModulation()", [t, mode] { t->setModulation(mode); }));
    }
    test::settle(t->context());
    EXPECT_EQ(clashes, 0);
}

TEST_F(VtrxLifecycle, RemoveSilencesAndLeavesTheRadio) {
    const auto t = addVtrx(7000000);
    on(*t, [&] {
        t->muted.setFromHost(true);
        t->start();
        t->remove();
    });
    test::settle(radio->context());
    EXPECT_FALSE(t->running());
    EXPECT_TRUE(radio->vtrxs.empty());
}

TEST_F(VtrxLifecycle, AnOwnTransceiverWithoutRadioIsHarmless) {
    auto t = std::make_shared<vtrx>(std::make_shared<syncTask>(threadPool));
    on(*t, [&] {
        t->start();
        t->vfo.setFromHost(7000000);
        t->ptt.setFromHost(true);
        t->ptt.setFromHost(false);
        t->setRxFilter(100, 200);
        t->setTxFilter(100, 200);
        t->produceTxChunk();
        t->processRxChunk(test::Samples(512, 0.0f), 0, 48000, {}, 0, 0);
        t->setModulation(std::make_shared<ProbeMode>(rootSyncTask, 48000, 512));
        for (int i = 0; i < 40; ++i)
            t->processRxChunk(test::Samples(512, 0.0f), 0, 48000, {}, 0, 0);
        t->remove();
    });
}

} // namespace
} // namespace ferrow
