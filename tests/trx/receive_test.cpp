#include "modes/am_mod_demod.hpp"
#include "modes/ssb_mod_demod.hpp"
#include "tests/trx/trx_fixture.hpp"

#include <numeric>

namespace ferrow {
namespace {

using test::Carrier;
using test::ProbeMode;
using test::Samples;

constexpr long long kCentre = 14095600;

std::vector<float> heard;
std::vector<std::size_t> heardSizes;
void onAudio(void* array) {
    auto* block = static_cast<buff<float>*>(array);
    heard.insert(heard.end(), block->begin(), block->end());
    heardSizes.push_back(block->size());
    delete block;
}
std::vector<Samples> iqs;
std::vector<double> iqCentres;
std::vector<int> iqRates;
void onIq(void* array, double centre, int rate) {
    auto* block = static_cast<Samples*>(array);
    iqs.push_back(*block);
    iqCentres.push_back(centre);
    iqRates.push_back(rate);
    delete block;
}

class Receive : public test::TrxTest {
protected:
    void SetUp() override {
        radio->addReceiver(kCentre, 48000);
        heard.clear();
        heardSizes.clear();
    }

    // Gain 1 and audio to `heard`.
    std::shared_ptr<vtrx> hear(long long frequency, std::shared_ptr<modDemod> mode, int low = 300,
                               int high = 2700) {
        auto t = listen(frequency, std::move(mode));
        on(*t, [&] {
            t->setRxFilter(low, high);
            t->rxagc.value()->Enabled.set(false);
            t->rxagc.value()->ManualGain.set(0);
            t->SendAudio.setFromHost(true);
        });
        t->newAudio.bind(onAudio, t.get());
        return t;
    }

    // Runs `seconds` of `carrier` at `rate` and returns the audio of the last `keep` samples.
    std::vector<float> run(const std::shared_ptr<vtrx>& t, Carrier carrier, int rate, double seconds,
                           std::size_t keep = 48000) {
        const std::size_t chunk = Radio::chunkSize(rate);
        const auto chunks = static_cast<int>(seconds * rate / static_cast<double>(chunk));
        for (int i = 0; i < chunks; ++i) {
            feed(*t, carrier.next(chunk), kCentre, rate);
            pumpUpdates();
        }
        const std::size_t n = std::min(keep, heard.size());
        return {heard.end() - static_cast<std::ptrdiff_t>(n), heard.end()};
    }
};

TEST_F(Receive, ACarrier1000HzAboveVfoComesOutAt1000Hz) {
    auto t = hear(14100000, std::make_shared<ssbModDemod>(rootSyncTask));
    const auto audio = run(t, Carrier(14101000 - kCentre, 384000, 0.5), 384000, 1.5);
    EXPECT_NEAR(test::toneFrequency(audio, 1000, 48000), 1000, 0.1);
    EXPECT_NEAR(test::toneAmplitude(audio, 1000, 48000), 0.5, 0.001);
}

TEST_F(Receive, TheOppositeSidebandIsAtLeast90dBDown) {
    auto t = hear(14100000, std::make_shared<ssbModDemod>(rootSyncTask));
    const auto audio = run(t, Carrier(14099000 - kCentre, 384000, 0.5), 384000, 1.5);
    const double level = test::toneAmplitude(audio, 1000, 48000);
    RecordProperty("dB", std::to_string(20 * std::log10(level / 0.5)));
    EXPECT_LT(20 * std::log10(level / 0.5), -90);
}

TEST_F(Receive, ANegativeFilterPassesTheLowerSideband) {
    auto t = hear(7100000, std::make_shared<ssbModDemod>(rootSyncTask), -2700, -300);
    radio->hwReceivers[0].frequency = kCentre;
    on(*t, [&] { t->vfo.setFromHost(14100000); });
    const auto audio = run(t, Carrier(14098500 - kCentre, 192000, 0.5), 192000, 1.2);
    EXPECT_NEAR(test::toneFrequency(audio, 1500, 48000), 1500, 0.1);
    EXPECT_NEAR(test::toneAmplitude(audio, 1500, 48000), 0.5, 0.001);
}

TEST_F(Receive, ResampledRatesKeepTheFrequency) {
    for (const auto& [rate, up] : {std::pair{2000000, 96}, {8000000, 96}, {10000000, 384}}) {
        heard.clear();
        auto t = hear(14100000, std::make_shared<ssbModDemod>(rootSyncTask));
        const auto audio = run(t, Carrier(14101000 - kCentre, rate, 0.5), rate, 1.3, 32768);
        ASSERT_EQ(audio.size(), 32768u) << rate;
        EXPECT_NEAR(test::toneFrequency(audio, 1000, 48000), 1000, 0.1) << rate;
        EXPECT_NEAR(test::toneAmplitude(audio, 1000, 48000) * up, 0.5, 0.005) << rate;
        double power = 0;
        for (const float v : audio)
            power += v * v;
        const double rms = std::sqrt(power / static_cast<double>(audio.size())) * up;
        EXPECT_NEAR(rms, 0.5 / std::sqrt(2.0), 0.005) << rate << ": nothing else in the audio, no gap";
    }
}

TEST_F(Receive, EveryRateBringsTheSameBlocks) {
    for (const int rate : {48000, 96000, 192000, 384000, 768000, 1536000}) {
        heard.clear();
        heardSizes.clear();
        auto t = hear(14096000, std::make_shared<ssbModDemod>(rootSyncTask));
        run(t, Carrier(14097000 - kCentre, rate, 0.5), rate, 0.11);
        EXPECT_EQ(heardSizes.size(), 10u) << rate;
        for (const std::size_t size : heardSizes)
            EXPECT_EQ(size, 512u);
    }
}

TEST_F(Receive, BlockSplitsDoNotChangeTheAudio) {
    auto a = hear(14100000, std::make_shared<ssbModDemod>(rootSyncTask));
    const Samples whole = Carrier(14101000 - kCentre, 192000, 0.5).next(40960);
    for (std::size_t at = 0; at < whole.size(); at += 4096)
        feed(*a, whole.slice(at, 4096), kCentre, 192000);
    pumpUpdates();
    const std::vector<float> first = heard;
    heard.clear();
    auto b = hear(14100000, std::make_shared<ssbModDemod>(rootSyncTask));
    const std::size_t sizes[] = {8, 4096, 60, 1000, 4, 12, 2048, 512, 1236};
    std::size_t at = 0, i = 0;
    while (at < whole.size()) {
        const std::size_t n = std::min(sizes[i++ % std::size(sizes)], whole.size() - at);
        feed(*b, whole.slice(at, n), kCentre, 192000);
        at += n;
    }
    pumpUpdates();
    ASSERT_EQ(heard.size(), first.size());
    for (std::size_t k = 0; k < first.size(); ++k)
        ASSERT_NEAR(heard[k], first[k], 4e-6) << k;
}

TEST_F(Receive, AnAmEnvelopeComesOut) {
    auto t = hear(14100000, std::make_shared<amModDemod>(rootSyncTask), -5000, 5000);
    const int rate = 192000;
    const double offset = 14100000.0 - kCentre;
    for (int c = 0; c < 150; ++c) {
        Samples chunk(2048);
        for (std::size_t i = 0; i < chunk.size(); ++i) {
            const double n = c * 2048.0 + static_cast<double>(i);
            const double envelope = 0.4 * (1 + 0.5 * std::cos(2 * std::numbers::pi * 1000 * n / rate));
            const double phase = -2 * std::numbers::pi * std::fmod(offset * n / rate, 1.0);
            chunk[i] = {static_cast<float>(envelope * std::cos(phase)),
                        static_cast<float>(envelope * std::sin(phase))};
        }
        feed(*t, chunk, kCentre, rate);
    }
    pumpUpdates();
    const std::vector<float> audio(heard.end() - 48000, heard.end());
    // The tracker of the carrier, a one-pole of 0.01 a sample, is a gentle high-pass.
    const double w = 2 * std::numbers::pi * 1000 / 48000;
    const std::complex<double> z = std::polar(1.0, -w);
    const double gain = std::abs(1.0 - 0.01 / (1.0 - 0.99 * z));
    EXPECT_NEAR(test::toneAmplitude(audio, 1000, 48000), 0.2 * gain, 0.001);
    const double mean = std::accumulate(audio.begin(), audio.end(), 0.0) / static_cast<double>(audio.size());
    EXPECT_NEAR(mean, 0, 1e-4);
}

TEST_F(Receive, BelowTheBandEdgePassesAndAtItTheBlockIsSilent) {
    auto mode = std::make_shared<ProbeMode>(rootSyncTask);
    auto t = listen(14100000, mode);
    const auto level = [&](long long vfo, int rate) {
        mode->heard.clear();
        on(*t, [&] { t->vfo.setFromHost(vfo); });
        Carrier carrier(static_cast<double>(vfo - kCentre) + 100, rate, 0.5);
        for (int i = 0; i < 8; ++i)
            feed(*t, carrier.next(512), kCentre, rate);
        double largest = 0;
        for (const auto& sample : mode->heard)
            largest = std::max(largest, static_cast<double>(std::abs(sample)));
        return largest;
    };
    // 3.14 radians a sample are 23987.83 Hz at 48 kHz.
    EXPECT_GT(level(kCentre + 23987, 48000), 0.4);
    EXPECT_EQ(level(kCentre + 23988, 48000), 0.0);
    EXPECT_GT(level(kCentre - 23987, 48000), 0.4);
    EXPECT_EQ(level(kCentre - 23988, 48000), 0.0);
}

TEST_F(Receive, WithAdcs3ALoneChunkWaitsForTheOther) {
    auto mode = std::make_shared<ProbeMode>(rootSyncTask);
    auto t = listen(kCentre + 1000, mode);
    on(*t, [&] {
        t->ADCs.setFromHost(3);
        t->ADC1Gain.setFromHost(2);
        t->ADC1Phase.setFromHost(180);
        t->setRxFilter(-3000, 3000);
    });
    Carrier first(1500, 48000, 0.5), second(1500, 48000, 0.25);
    feed(*t, first.next(512), kCentre, 48000, 0);
    first.next(512); // a second chunk of ADC 0 replaces the waiting one
    first = Carrier(1500, 48000, 0.5);
    feed(*t, first.next(512), kCentre, 48000, 0);
    EXPECT_EQ(mode->blocks, 0);
    feed(*t, second.next(512), kCentre, 48000, 1);
    EXPECT_EQ(mode->blocks, 1);
    for (int i = 0; i < 9; ++i) {
        feed(*t, first.next(512), kCentre, 48000, 0);
        EXPECT_EQ(mode->blocks, 1 + i);
        feed(*t, second.next(512), kCentre, 48000, 1);
    }
    EXPECT_EQ(mode->blocks, 10);
    double largest = 0;
    for (const auto& sample : mode->heard)
        largest = std::max(largest, static_cast<double>(std::abs(sample)));
    EXPECT_LT(largest, 1e-5) << "0.5 and 2 x 0.25 at 180 degrees cancel";
}

TEST_F(Receive, AChunkShorterThanABlockCarriesOver) {
    auto mode = std::make_shared<ProbeMode>(rootSyncTask);
    auto t = listen(kCentre, mode);
    feed(*t, Samples(300, 0.0f), kCentre, 48000);
    EXPECT_EQ(mode->blocks, 0);
    feed(*t, Samples(211, 0.0f), kCentre, 48000);
    EXPECT_EQ(mode->blocks, 0);
    feed(*t, Samples(1, 0.0f), kCentre, 48000);
    EXPECT_EQ(mode->blocks, 1);
}

TEST_F(Receive, AnotherModeRateDropsThePartFilledBlock) {
    auto wide = std::make_shared<ProbeMode>(rootSyncTask, 96000);
    auto narrow = std::make_shared<ProbeMode>(rootSyncTask, 48000);
    auto t = listen(kCentre, narrow);
    feed(*t, Samples(800, 0.0f), kCentre, 96000); // 400 of 512
    on(*t, [&] { t->setModulation(wide); });
    feed(*t, Samples(511, 0.0f), kCentre, 96000);
    EXPECT_EQ(wide->blocks, 0);
    feed(*t, Samples(1, 0.0f), kCentre, 96000);
    EXPECT_EQ(wide->blocks, 1);
    EXPECT_EQ(narrow->blocks, 0);
}

TEST_F(Receive, ARateBelowTheModesGivesASpectrumAndNoAudio) {
    static int frames;
    frames = 0;
    auto mode = std::make_shared<ProbeMode>(rootSyncTask, 384000);
    auto t = listen(kCentre, mode);
    on(*t, [&] { t->foregroundDisplay.setFromHost(true); });
    t->newSpectrum.bind(
        [](void* array, double, double, int) {
            ++frames;
            delete static_cast<buff<float>*>(array);
        },
        t.get());
    for (int i = 0; i < 4; ++i)
        feed(*t, Samples(512, 0.0f), kCentre, 48000);
    pumpRenderUpdates();
    EXPECT_FALSE(t->bandwidthSufficient.value());
    EXPECT_EQ(mode->blocks, 0);
    EXPECT_EQ(frames, 1);
    feed(*t, Samples(512, 0.0f), kCentre, 384000);
    EXPECT_TRUE(t->bandwidthSufficient.value());
    EXPECT_EQ(mode->blocks, 1);
}

TEST_F(Receive, TheFirst29BlocksAfterATransmissionAreSilent) {
    auto t = hear(kCentre, std::make_shared<ProbeMode>(rootSyncTask, 48000, 512));
    const auto block = [&] {
        heard.clear();
        feed(*t, Samples(512, 0.0f), kCentre, 48000);
        pumpUpdates();
        return heard.empty() ? -1.0f : heard[0];
    };
    EXPECT_EQ(block(), 0.5f);
    on(*t, [&] {
        t->rxagc.value()->Volume.set(1);
        t->ptt.setFromHost(true);
    });
    EXPECT_EQ(block(), -1.0f) << "no audio event while transmitting";
    on(*t, [&] { t->ptt.setFromHost(false); });
    for (int i = 0; i < 29; ++i)
        ASSERT_EQ(block(), 0.0f) << i;
    for (int i = 0; i < 30; ++i)
        ASSERT_EQ(block(), 0.5f) << i;
}

TEST_F(Receive, TheGainStaysFrozenForTheLast21Of50Blocks) {
    auto t = hear(kCentre, std::make_shared<ProbeMode>(rootSyncTask, 48000, 512));
    on(*t, [&] {
        t->rxagc.value()->Enabled.set(true);
        t->ptt.setFromHost(true);
    });
    feed(*t, Samples(512, 0.0f), kCentre, 48000);
    on(*t, [&] { t->ptt.setFromHost(false); });
    const auto last = [&] {
        heard.clear();
        feed(*t, Samples(512, 0.0f), kCentre, 48000);
        pumpUpdates();
        return heard.back();
    };
    for (int i = 0; i < 29; ++i)
        last();
    for (int i = 0; i < 21; ++i)
        ASSERT_EQ(last(), 1.0f) << "the initial gain of 200 clamps 0.5";
    float value = 1;
    for (int i = 0; i < 60; ++i)
        value = last();
    EXPECT_NEAR(value, 0.5f / (0.5f * 1.2f), 0.01) << "then the gain follows";
}

TEST_F(Receive, SignalStrengthOfZeroesIsMinus1800AndComesEvery18thBlock) {
    auto mode = std::make_shared<ProbeMode>(rootSyncTask);
    auto t = listen(kCentre, mode);
    for (int i = 0; i < 17; ++i)
        feed(*t, Samples(512, 0.0f), kCentre, 48000);
    EXPECT_EQ(t->signalStrength.value(), 0);
    feed(*t, Samples(512, 0.0f), kCentre, 48000);
    EXPECT_DOUBLE_EQ(t->signalStrength.value(), -1800);
    Carrier carrier(1000, 48000, 0.1);
    for (int i = 0; i < 17; ++i)
        feed(*t, carrier.next(512), kCentre, 48000);
    EXPECT_DOUBLE_EQ(t->signalStrength.value(), -1800);
    feed(*t, carrier.next(512), kCentre, 48000);
    // 10 log10(10 x 0.1^2)
    EXPECT_NEAR(t->signalStrength.value(), -10, 0.01);
}

TEST_F(Receive, TuningValidSaysWhetherTheBandHoldsTheFilter) {
    auto mode = std::make_shared<ProbeMode>(rootSyncTask);
    auto t = listen(kCentre, mode);
    test::settle(radio->context());
    radio->hwReceivers[0].frequency = kCentre;
    const auto valid = [&](long long vfo) {
        on(*t, [&] { t->vfo.setFromHost(vfo); });
        test::settle(radio->context());
        radio->hwReceivers[0].frequency = kCentre; // the lone listener's receiver would follow
        for (int i = 0; i < 18; ++i)
            feed(*t, Samples(512, 0.0f), kCentre, 48000);
        return t->TuningValid.value();
    };
    // Half of 0.95 x 48000 is 22800; the filter reaches 3000 and its guard 1000 further.
    EXPECT_TRUE(valid(kCentre));
    EXPECT_TRUE(valid(kCentre + 18800));
    EXPECT_FALSE(valid(kCentre + 18801));
    EXPECT_TRUE(valid(kCentre - 18800));
    EXPECT_FALSE(valid(kCentre - 18801));
    t->hwReceiverOfAdc[2] = 9; // no such receiver
    for (int i = 0; i < 18; ++i)
        feed(*t, Samples(512, 0.0f), kCentre, 48000);
    EXPECT_FALSE(t->TuningValid.value());
    t->hwReceiverOfAdc[2] = -1;
}

TEST_F(Receive, IqBlocksAreCopiesWithTheirCentreAndRate) {
    auto t = listen(kCentre, nullptr);
    on(*t, [&] { t->SendIQ.setFromHost(true); });
    t->newIQ.bind(onIq, t.get());
    const Samples chunk = Carrier(100, 96000).next(1024);
    feed(*t, chunk, kCentre + 5, 96000);
    pumpUpdates();
    ASSERT_EQ(iqs.size(), 1u);
    EXPECT_NE(iqs[0].data(), chunk.data());
    EXPECT_TRUE(std::equal(chunk.begin(), chunk.end(), iqs[0].begin(), iqs[0].end()));
    EXPECT_EQ(iqCentres[0], static_cast<double>(kCentre + 5));
    EXPECT_EQ(iqRates[0], 96000);
    iqs.clear();
}

TEST_F(Receive, ARemoteClientsTransceiverHasNoDemodulator) {
    auto mode = std::make_shared<ProbeMode>(rootSyncTask);
    auto t = listen(kCentre, mode);
    on(*t, [&] {
        t->OwnerID.setFromHost(3);
        t->SendIQ.setFromHost(true);
    });
    t->newIQ.bind(onIq, t.get());
    feed(*t, Samples(512, 0.0f), kCentre, 48000);
    pumpUpdates();
    EXPECT_EQ(iqs.size(), 1u);
    EXPECT_EQ(mode->blocks, 0);
    iqs.clear();
}

TEST_F(Receive, AModeMayReturnNothingOrAnySize) {
    for (const std::size_t size : {0u, 511u, 512u, 1024u}) {
        heardSizes.clear();
        auto t = hear(kCentre, std::make_shared<ProbeMode>(rootSyncTask, 48000, size));
        feed(*t, Samples(512, 0.0f), kCentre, 48000);
        pumpUpdates();
        if (size == 0)
            EXPECT_TRUE(heardSizes.empty());
        else
            EXPECT_EQ(heardSizes, std::vector<std::size_t>{size});
    }
}

TEST_F(Receive, SamplesThatAreNoNumbersDoNotSilenceAmForEver) {
    auto t = hear(kCentre, std::make_shared<amModDemod>(rootSyncTask), -3000, 3000);
    feed(*t, Samples(512, std::nanf("")), kCentre, 48000);
    Carrier carrier(500, 48000, 0.3);
    for (int i = 0; i < 10; ++i)
        feed(*t, carrier.next(512), kCentre, 48000);
    pumpUpdates();
    EXPECT_TRUE(std::isfinite(heard.back()));
}

TEST_F(Receive, AModeServesTheLastTransceiverThatItWasGivenTo) {
    auto mode = std::make_shared<ProbeMode>(rootSyncTask);
    auto a = listen(kCentre, mode), b = listen(kCentre, mode);
    EXPECT_EQ(mode->vtrxLink(), b);
    feed(*a, Samples(512, 0.0f), kCentre, 48000);
    EXPECT_EQ(mode->blocks, 0);
    on(*a, [&] { a->setModulation(nullptr); });
    EXPECT_EQ(mode->vtrxLink(), b) << "the first one's farewell does not touch the second";
    feed(*b, Samples(512, 0.0f), kCentre, 48000);
    EXPECT_EQ(mode->blocks, 1);
}

TEST_F(Receive, AModeOfTwoTransceiversIsNeverEnteredTwice) {
    struct Counting : ProbeMode {
        using ProbeMode::ProbeMode;
        std::atomic<int> inside{0}, worst{0};
        buff<float> demodulate(buff<std::complex<float>>) override {
            if (++inside > 1)
                worst = 2;
            std::this_thread::sleep_for(std::chrono::microseconds(200));
            --inside;
            return {};
        }
    };
    auto mode = std::make_shared<Counting>(rootSyncTask);
    auto a = listen(kCentre, mode), b = listen(kCentre, mode);
    for (int i = 0; i < 100; ++i)
        for (const auto& t : {a, b}) {
            t->queueSeqItem(seqTask("take", [t, mode] { t->setModulation(mode); }));
            t->queueSeqItem(
                seqTask("chunk", [t] { t->processRxChunk(Samples(1024, 0.0f), kCentre, 48000, {}, 0, 0); }));
        }
    test::settle(a->context());
    test::settle(b->context());
    EXPECT_EQ(mode->worst, 0);
}

TEST_F(Receive, AStoppedTransceiverDropsItsChunks) {
    auto mode = std::make_shared<ProbeMode>(rootSyncTask);
    auto t = listen(kCentre, mode);
    on(*t, [&] { t->stop(); });
    feed(*t, Samples(512, 0.0f), kCentre, 48000);
    EXPECT_EQ(mode->blocks, 0);
}

TEST_F(Receive, OddRatesAndEmptyChunksAreHarmless) {
    auto mode = std::make_shared<ProbeMode>(rootSyncTask);
    auto t = listen(kCentre, mode);
    feed(*t, Samples(), kCentre, 48000);
    feed(*t, Samples(512, 0.0f), kCentre, 0);
    feed(*t, Samples(512, 0.0f), kCentre, -5);
    feed(*t, Samples(1536, 0.0f), kCentre, 144000); // a factor of 3 has no stages
    feed(*t, Samples(513, 0.0f), kCentre, 100000);
    EXPECT_EQ(mode->blocks, 0);
}

} // namespace
} // namespace ferrow
