#include "core/async/handle.hpp"
#include "tests/trx/trx_fixture.hpp"

namespace ferrow {
namespace {

using test::FakeRadio;
using test::Samples;

struct Added {
    std::shared_ptr<asyncObject> object;
    long long frequency;
    int rate, owner;
};
std::vector<Added> addedEvents;
void onAdded(void* handle, long long frequency, int rate, int owner) {
    addedEvents.push_back({*static_cast<Handle*>(handle), frequency, rate, owner});
    releaseHandle(handle);
}
std::vector<int> iqSizes, iqRates;
std::vector<double> iqCentres;
void onIq(void* array, double centre, int rate) {
    auto* block = static_cast<Samples*>(array);
    iqSizes.push_back(static_cast<int>(block->size()));
    iqCentres.push_back(centre);
    iqRates.push_back(rate);
    delete block;
}
std::vector<bool> ptts;
void onPtt(bool value) {
    ptts.push_back(value);
}

class RadioTest : public test::TrxTest {
protected:
    void SetUp() override {
        radio->SampleRate.set(192000, false);
        radio->addReceiver(14095600, 192000);
    }
    int receiverOf(const std::shared_ptr<vtrx>& t, int adc = 0) { return t->hwReceiverOfAdc[adc]; }
    void retune(const std::shared_ptr<vtrx>& t, long long frequency) {
        on(*t, [&] { t->vfo.set(frequency); });
        test::settle(radio->context());
    }
    HwReceiver& rx(std::size_t i) { return radio->hwReceivers[i]; }
};

TEST_F(RadioTest, DefaultsAreThoseOfTheTable) {
    auto plain = std::make_shared<Radio>(rootSyncTask);
    EXPECT_FALSE(plain->ptt.value());
    EXPECT_EQ(plain->maxHwReceivers.value(), 1);
    EXPECT_EQ(plain->maxADCs.value(), 1);
    EXPECT_FALSE(plain->canTransmit.value());
    EXPECT_EQ(plain->rxLevelCalibration.value(), 1.0);
    EXPECT_EQ(plain->SampleRate.value(), 48000);
    EXPECT_FALSE(plain->disableVirtualReceivers.value());
    EXPECT_EQ(plain->TransceiverOffset.value(), 0);
    EXPECT_EQ(plain->cwHangTime.value(), 120);
    EXPECT_FALSE(plain->cwInternal.value());
    EXPECT_EQ(plain->ValidBandwidthRatio.value(), 0.95);
    EXPECT_EQ(plain->edgeMargin, 1000);
    EXPECT_EQ(Radio::filterGuard, 1000);
    EXPECT_FALSE(plain->avoidDcSpike);
    EXPECT_TRUE(plain->adcSwapAllowed);
    EXPECT_TRUE(plain->firstStart);
    EXPECT_NE(plain->context(), rootSyncTask) << "a context of its own";
}

TEST_F(RadioTest, AddVtrxTellsTheHostAndBecomesTheTransmitter) {
    radio->vtrxAdded.bind(onAdded, radio.get());
    const auto t = addVtrx(7100000, 0, 5);
    pumpUpdates();
    ASSERT_EQ(addedEvents.size(), 1u);
    EXPECT_EQ(addedEvents[0].object, t);
    EXPECT_EQ(addedEvents[0].frequency, 7100000);
    EXPECT_EQ(addedEvents[0].rate, 192000);
    EXPECT_EQ(addedEvents[0].owner, 5);
    EXPECT_EQ(radio->txVtrx, t.get());
    EXPECT_EQ(t->OwnerID.value(), 5);
    EXPECT_EQ(t->vfo.value(), 7100000);
    EXPECT_EQ(receiverOf(t), 0);
    addedEvents.clear();
}

TEST_F(RadioTest, FrequencyMinusOneTakesTheHintedReceivers) {
    const auto t = addVtrx(-1, 0);
    EXPECT_EQ(t->vfo.value(), 14095600);
}

TEST_F(RadioTest, AHintOutOfRangeIsLoggedAndHarmless) {
    const auto t = addVtrx(7100000, 17);
    EXPECT_EQ(receiverOf(t), 0);
    EXPECT_TRUE(runtime.logged("has no hardware receiver 17"));
}

TEST_F(RadioTest, CountZeroOnlyReleasesTheFiller) {
    int calls = 0;
    radio->deliverSamples([&](std::complex<float>*, std::size_t) { ++calls; }, 0, 0);
    EXPECT_EQ(calls, 0);
}

TEST_F(RadioTest, ChunkSizesFollowTheRate) {
    EXPECT_EQ(Radio::chunkSize(48000), 512u);
    EXPECT_EQ(Radio::chunkSize(96000), 1024u);
    EXPECT_EQ(Radio::chunkSize(192000), 2048u);
    EXPECT_EQ(Radio::chunkSize(384000), 4096u);
    EXPECT_EQ(Radio::chunkSize(8000000), 166u * 512);
    EXPECT_GE(Radio::chunkSize(44100), 512u);
}

TEST_F(RadioTest, Rate2000000GivesChunksOf32768) {
    EXPECT_EQ(Radio::chunkSize(2000000), 32768u);
    const auto t = addVtrx(14100000);
    on(*t, [&] {
        t->SendIQ.setFromHost(true);
        t->start();
    });
    t->newIQ.bind(onIq, t.get());
    rx(0).rate = 2000000;
    on(*radio, [&] {
        radio->deliverSamples([](std::complex<float>* to, std::size_t n) { std::fill_n(to, n, 0.0f); },
                              512 + 32768, 0);
    });
    test::settle(t->context());
    pumpUpdates();
    EXPECT_EQ(iqSizes, (std::vector<int>{512, 32768}));
    EXPECT_EQ(iqRates.back(), 2000000);
    iqSizes.clear();
    iqRates.clear();
}

TEST_F(RadioTest, AListenerOnTwoAdcSlotsGetsTheChunkTwice) {
    const auto t = addVtrx(14100000);
    on(*t, [&] {
        t->SendIQ.setFromHost(true);
        t->start();
    });
    t->newIQ.bind(onIq, t.get());
    t->hwReceiverOfAdc[1] = 0;
    radio->TransceiverOffset.set(28000000, false);
    on(*radio, [&] {
        radio->deliverSamples([](std::complex<float>* to, std::size_t n) { std::fill_n(to, n, 0.0f); }, 512,
                              0);
    });
    test::settle(t->context());
    pumpUpdates();
    EXPECT_EQ(iqSizes, (std::vector<int>{512, 512}));
    EXPECT_EQ(iqCentres[0], 28000000.0 + static_cast<double>(rx(0).frequency.load()));
    iqSizes.clear();
    iqCentres.clear();
}

TEST_F(RadioTest, ALoneListenerKeepsTheReceiverWhileItFits) {
    const auto t = addVtrx(14100000);
    const long long before = rx(0).frequency;
    retune(t, before + 5000); // within rate / 16
    EXPECT_EQ(rx(0).frequency, before);
    retune(t, before + 20000); // beyond it
    EXPECT_EQ(rx(0).frequency, before + 20000);
    retune(t, 7000000);
    EXPECT_EQ(rx(0).frequency, 7000000);
    EXPECT_GT(radio->changes, 0);
}

TEST_F(RadioTest, ASecondListenerSharesARetunedReceiver) {
    const auto a = addVtrx(14000000), b = addVtrx(14120000);
    EXPECT_EQ(receiverOf(a), 0);
    EXPECT_EQ(receiverOf(b), 0);
    // The band of the first, with guards, widened by the second's frequency: (13996000 + 14120000) / 2.
    EXPECT_EQ(rx(0).frequency, 14058000);
}

TEST_F(RadioTest, AFarListenerGetsAReceiverOfItsOwnWhereThereIsOne) {
    on(*radio, [&] { radio->maxHwReceivers.set(2, false); });
    rx(0).fill = 100;
    const auto a = addVtrx(14100000), b = addVtrx(7100000), c = addVtrx(21100000);
    EXPECT_EQ(radio->added, 1);
    EXPECT_EQ(receiverOf(a), 0);
    EXPECT_EQ(receiverOf(b), 1);
    EXPECT_EQ(rx(1).frequency, 7100000);
    EXPECT_EQ(rx(0).fill, 0u) << "all receivers start again";
    EXPECT_EQ(receiverOf(c), 0) << "nothing left: the hinted one stays";
    EXPECT_EQ(rx(0).frequency, 14095600);
}

TEST_F(RadioTest, AReceiverThatAnotherFreedIsRetuned) {
    on(*radio, [&] { radio->maxHwReceivers.set(2, false); });
    const auto a = addVtrx(14100000), b = addVtrx(7100000);
    on(*radio, [&] { radio->removeVtrx(b); });
    const auto c = addVtrx(21100000);
    EXPECT_EQ(receiverOf(c), 1);
    EXPECT_EQ(rx(1).frequency, 21100000);
    EXPECT_EQ(radio->added, 1);
}

TEST_F(RadioTest, TransceiverOffsetShiftsTheHardware) {
    on(*radio, [&] { radio->TransceiverOffset.set(116000000, false); });
    addVtrx(144300000);
    EXPECT_EQ(rx(0).frequency, 28300000);
}

TEST_F(RadioTest, AnAdcThatTheMaskLacksIsUnassigned) {
    on(*radio, [&] { radio->maxHwReceivers.set(2, false); });
    const auto t = addVtrx(14100000);
    on(*t, [&] { t->ADCs.set(3); });
    test::settle(radio->context());
    EXPECT_EQ(receiverOf(t, 0), 0);
    EXPECT_EQ(receiverOf(t, 1), 1);
    EXPECT_EQ(rx(1).adc, 1);
    on(*t, [&] { t->ADCs.set(2); });
    test::settle(radio->context());
    EXPECT_EQ(receiverOf(t, 0), -1);
    EXPECT_EQ(receiverOf(t, 1), 1);
}

TEST_F(RadioTest, WithoutVirtualReceiversTheExcessStaysUnassigned) {
    on(*radio, [&] {
        radio->maxHwReceivers.set(2, false);
        radio->disableVirtualReceivers.set(true, false);
    });
    const auto a = addVtrx(14100000, -1), b = addVtrx(14110000, -1), c = addVtrx(14120000, -1);
    EXPECT_EQ(receiverOf(a), 0);
    EXPECT_EQ(receiverOf(b), 1);
    EXPECT_EQ(receiverOf(c), -1);
    EXPECT_EQ(rx(0).frequency, 14100000);
    EXPECT_EQ(rx(1).frequency, 14110000);
}

TEST_F(RadioTest, ADcSpikeInThePassbandMovesTheHardwareByTheUpperEdge) {
    on(*radio, [&] { radio->avoidDcSpike = true; });
    addVtrx(7100000);
    // Upper edge of -3000 to 3000 Hz with its guard.
    EXPECT_EQ(rx(0).frequency, 7100000 + 3000 + 1000);
}

TEST_F(RadioTest, WithoutReceiversNothingIsAssigned) {
    auto bare = std::make_shared<FakeRadio>(rootSyncTask);
    on(*bare, [&] { bare->addVtrx(14100000, -1, 0); });
    test::settle(bare->context());
    for (const auto& receiver : bare->vtrxs[0]->hwReceiverOfAdc)
        EXPECT_EQ(receiver, -1);
}

TEST_F(RadioTest, ABackendThatCannotAddLeavesWhatThereWas) {
    auto plain = std::make_shared<Radio>(rootSyncTask); // its addHwReceiver does nothing
    on(*plain, [&] {
        plain->maxHwReceivers.set(4, false);
        plain->disableVirtualReceivers.set(true, false);
        plain->addVtrx(14100000, -1, 0);
    });
    test::settle(plain->context());
    EXPECT_EQ(plain->vtrxs[0]->hwReceiverOfAdc[0], -1);
}

TEST_F(RadioTest, ABandwidthRatioChangeRepacks) {
    on(*radio, [&] { radio->maxHwReceivers.set(2, false); });
    const auto a = addVtrx(14000000), b = addVtrx(14090000), c = addVtrx(14200000);
    const int before = radio->changes;
    on(*radio, [&] { radio->ValidBandwidthRatio.set(0.5); });
    // 96 kHz are left of 192: a alone with its guards takes 8 kHz, b ends at 14094000 and would need 98 kHz.
    EXPECT_EQ(radio->edgeMargin, 48000);
    EXPECT_EQ(receiverOf(a), 0);
    EXPECT_EQ(rx(0).frequency, 14000000);
    EXPECT_EQ(receiverOf(b), 1);
    EXPECT_EQ(rx(1).frequency, 14090000);
    EXPECT_GT(radio->changes, before);
    on(*radio, [&] { radio->ValidBandwidthRatio.set(1.0); });
    EXPECT_EQ(receiverOf(a), 0);
    EXPECT_EQ(receiverOf(b), 0);
    EXPECT_EQ(rx(0).frequency, (14000000 - 4000 + 14090000 + 4000) / 2);
    EXPECT_EQ(receiverOf(c), 1);
    EXPECT_EQ(rx(1).frequency, 14200000);
}

TEST_F(RadioTest, StartAndStop) {
    const auto t = addVtrx(14100000);
    on(*radio, [&] { radio->start(); });
    test::settle(t->context());
    EXPECT_EQ(radio->starts, 1);
    EXPECT_FALSE(t->running()) << "the first start leaves that to vtrx_start";
    on(*radio, [&] { radio->stop(); });
    on(*radio, [&] { radio->start(); });
    test::settle(t->context());
    EXPECT_TRUE(t->running());
    on(*radio, [&] { radio->stop(); });
    test::settle(t->context());
    EXPECT_FALSE(t->running());
    EXPECT_EQ(radio->stops, 2);
}

TEST_F(RadioTest, PttFollowsTheTransceiverOnlyWhereTheRadioCanTransmit) {
    const auto a = addVtrx(14100000), b = addVtrx(14110000);
    on(*b, [&] { b->ptt.set(true); });
    test::settle(radio->context());
    EXPECT_FALSE(radio->ptt.value());
    on(*b, [&] { b->ptt.set(false); });
    on(*radio, [&] { radio->canTransmit.set(true, false); });
    radio->ptt.bind(onPtt, radio.get());
    on(*b, [&] { b->ptt.set(true); });
    test::settle(radio->context());
    EXPECT_TRUE(radio->ptt.value());
    EXPECT_EQ(radio->txVtrx, b.get());
    on(*b, [&] { b->ptt.set(false); }); // without a mode the radio is unkeyed at once
    test::settle(radio->context());
    EXPECT_FALSE(radio->ptt.value());
    pumpUpdates();
    EXPECT_EQ(ptts, (std::vector<bool>{true, false}));
    ptts.clear();
}

TEST_F(RadioTest, RemovingTheTransmitterEndsTheTransmission) {
    on(*radio, [&] { radio->canTransmit.set(true, false); });
    const auto a = addVtrx(14100000), b = addVtrx(14110000), c = addVtrx(14120000);
    on(*b, [&] { b->ptt.set(true); });
    test::settle(radio->context());
    ASSERT_TRUE(radio->ptt.value());
    on(*radio, [&] { radio->removeVtrx(c); });
    EXPECT_TRUE(radio->ptt.value()) << "another one's removal does no harm";
    EXPECT_EQ(radio->txVtrx, b.get());
    on(*b, [&] { b->remove(); });
    test::settle(radio->context());
    EXPECT_FALSE(radio->ptt.value());
    EXPECT_EQ(radio->txVtrx, a.get());
    EXPECT_EQ(radio->vtrxs, (std::vector<std::shared_ptr<vtrx>>{a}));
    on(*radio, [&] { radio->removeVtrx(a); });
    EXPECT_EQ(radio->txVtrx, nullptr);
}

TEST_F(RadioTest, ARemovedTransceiverNeitherKeysNorRetunes) {
    on(*radio, [&] { radio->canTransmit.set(true, false); });
    const auto a = addVtrx(14100000), b = addVtrx(14110000);
    on(*radio, [&] { radio->removeVtrx(a); });
    const long long before = rx(0).frequency;
    retune(a, 14180000);
    EXPECT_EQ(rx(0).frequency, before);
    on(*a, [&] { a->ptt.set(true); });
    test::settle(radio->context());
    EXPECT_FALSE(radio->ptt.value());
    EXPECT_EQ(radio->txVtrx, b.get());
    on(*b, [&] { b->ptt.set(true); });
    on(*a, [&] { a->ptt.set(false); });
    test::settle(radio->context());
    EXPECT_TRUE(radio->ptt.value()) << "it does not unkey another either";
}

TEST_F(RadioTest, AbsurdBandwidthRatiosAreLoggedAndBounded) {
    const auto t = addVtrx(14100000);
    on(*radio, [&] { radio->ValidBandwidthRatio.setFromHost(std::nan("")); });
    EXPECT_EQ(radio->edgeMargin, 4800) << "as with the default of 0.95";
    EXPECT_TRUE(runtime.logged("Radio.ValidBandwidthRatio nan counts as 0.95"));
    on(*radio, [&] { radio->ValidBandwidthRatio.setFromHost(-1e300); });
    EXPECT_EQ(radio->edgeMargin, 96000);
    on(*radio, [&] { radio->ValidBandwidthRatio.setFromHost(std::numeric_limits<double>::infinity()); });
    EXPECT_EQ(radio->edgeMargin, -96000);
    on(*radio, [&] { radio->ValidBandwidthRatio.setFromHost(0.95); });
    EXPECT_EQ(radio->edgeMargin, 4800);
    EXPECT_EQ(receiverOf(t), 0);
}

TEST_F(RadioTest, AbsurdFrequenciesAndFiltersAreHarmless) {
    constexpr long long least = std::numeric_limits<long long>::min();
    constexpr long long most = std::numeric_limits<long long>::max();
    on(*radio, [&] { radio->maxHwReceivers.set(2, false); });
    const auto a = addVtrx(14100000), b = addVtrx(14150000);
    for (const long long offset : {0LL, least, most})
        for (const long long frequency : {least, most, -1LL, 14100000LL}) {
            on(*radio, [&] { radio->TransceiverOffset.setFromHost(offset); });
            on(*a, [&] {
                a->setRxFilter(std::numeric_limits<int>::min(), std::numeric_limits<int>::max());
                a->specOffset.setFromHost(frequency);
                a->vfo.setFromHost(frequency);
                a->setRxFrequency(frequency);
            });
            on(*b, [&] { b->vfo.setFromHost(14100000); });
            on(*radio, [&] {
                radio->ValidBandwidthRatio.setFromHost(radio->ValidBandwidthRatio.value() / 2);
                radio->deliverSamples(
                    [](std::complex<float>* to, std::size_t n) { std::fill_n(to, n, 1.0f); }, 2048, 0);
            });
            test::settle(a->context());
            test::settle(b->context());
        }
    on(*radio, [&] {
        radio->TransceiverOffset.setFromHost(0);
        radio->ValidBandwidthRatio.setFromHost(0.95);
    });
    on(*a, [&] { a->setRxFilter(300, 2700); });
    on(*radio, [&] { radio->removeVtrx(b); });
    retune(a, 7000000);
    EXPECT_EQ(rx(static_cast<std::size_t>(receiverOf(a))).frequency, 7000000) << "and all is well again";
}

TEST_F(RadioTest, AnAbsurdRateTakesNoMachineFullOfMemory) {
    EXPECT_EQ(Radio::chunkSize(std::numeric_limits<int>::max()), std::size_t{1} << 20);
    EXPECT_EQ(Radio::chunkSize(std::numeric_limits<int>::min()), 512u);
    EXPECT_EQ(Radio::chunkSize(0), 512u);
}

TEST_F(RadioTest, TransceiversRetunedDuringARepackAreHarmless) {
    std::vector<std::shared_ptr<vtrx>> all;
    for (int i = 0; i < 40; ++i)
        all.push_back(addVtrx(14000000 + i * 1000));
    std::atomic<bool> leave{false};
    std::thread tuner([&] {
        for (long long f = 0; !leave; f += 7919)
            for (const auto& t : all)
                t->vfo.set(14000000 + (f += 104729) % 200000, false);
    });
    for (int i = 0; i < 200; ++i)
        on(*radio, [&] { radio->ValidBandwidthRatio.set(0.5 + 0.002 * i); });
    leave = true;
    tuner.join();
}

TEST_F(RadioTest, HandlesMayGoInAnyOrder) {
    auto t = addVtrx(14100000);
    std::weak_ptr<FakeRadio> gone = radio;
    radio.reset();
    EXPECT_TRUE(test::waitFor([&] { return gone.expired(); }));
    on(*t, [&] {
        t->vfo.set(7000000);
        t->ptt.set(true);
        t->start();
        t->remove();
    });
    t.reset();
}

} // namespace
} // namespace ferrow
