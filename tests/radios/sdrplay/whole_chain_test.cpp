// From the stand-in's antenna to a transceiver's audio.
#include "modes/ssb_mod_demod.hpp"
#include "tests/radios/sdrplay/sdrplay_bench.hpp"

#include <cmath>
#include <numeric>

namespace ferrow {
namespace {

using test::Sdrplay;
namespace rsp = ferrow::sim::rsp;

std::vector<float> heard;
void onAudio(void* array) {
    auto* block = static_cast<buff<float>*>(array);
    heard.insert(heard.end(), block->begin(), block->end());
    delete block;
}

class SdrplayChain : public Sdrplay {
protected:
    // A started radio with one muted transceiver at `vfo`, its receivers tuned.
    void listen(const std::string& model, int rate, std::shared_ptr<modDemod> mode, long long vfo,
                int adcs = 1) {
        start(model, rate);
        trx = transceiver();
        test::onContext(trx, [&] {
            trx->muted.setFromHost(true);
            trx->ADCs.setFromHost(adcs);
            trx->vfo.setFromHost(vfo);
            trx->setModulation(std::move(mode));
            trx->setRxFilter(300, 2700);
            trx->rxagc.value()->Enabled.set(false);
            trx->rxagc.value()->ManualGain.set(0);
            trx->SendAudio.setFromHost(true);
            trx->start();
        });
        trx->newAudio.bind(onAudio, trx.get());
        settleSamples();
        ASSERT_TRUE(test::waitFor([&] {
            advanceSeconds(0.25);
            return tuned();
        })) << "retuned";
    }
    // The API has taken every receiver's frequency.
    bool tuned() {
        bool all = true;
        const auto sent = retunes();
        on([&] {
            for (std::size_t i = 0; i < radio->hwReceivers.size(); ++i) {
                if (i == 1 && radio->maxADCs.value() != 2)
                    continue;
                const auto last = std::find_if(sent.rbegin(), sent.rend(), [&](const rsp::Call& call) {
                    return call.tuner == static_cast<int>(i) + 1;
                });
                all =
                    all && last != sent.rend() &&
                    (i == 0 ? last->a : last->b).rfHz == static_cast<double>(radio->hwReceivers[i].frequency);
            }
        });
        return all;
    }
    void carriers(const std::vector<rsp::CarrierEntry>& list) {
        control->setCarriers(list.data(), static_cast<int>(list.size()));
    }
    std::vector<float> hear(double seconds, std::size_t keep) {
        heard.clear();
        advanceSeconds(seconds);
        pumpUpdates();
        const std::size_t n = std::min(keep, heard.size());
        return {heard.end() - static_cast<std::ptrdiff_t>(n), heard.end()};
    }

    std::shared_ptr<vtrx> trx;
};

class SdrplayRate : public SdrplayChain, public testing::WithParamInterface<int> {};

// A station of two tones in the upper sideband, and a carrier below that must not be heard.
TEST_P(SdrplayRate, AStationIsHeardAtItsAudioFrequencies) {
    const int rate = GetParam();
    constexpr long long vfo = 7050000;
    carriers({{vfo + 700, -80}, {vfo + 1900, -80}, {vfo - 1200, -80}});
    listen("RSP1A", rate, std::make_shared<ssbModDemod>(rootSyncTask), vfo);
    const auto audio = hear(0.4, 9600);
    ASSERT_EQ(audio.size(), 9600u);
    EXPECT_NEAR(test::toneFrequency(audio, 700, 48000), 700, 0.5);
    EXPECT_NEAR(test::toneFrequency(audio, 1900, 48000), 1900, 0.5);
    const double low = test::toneAmplitude(audio, 700, 48000), high = test::toneAmplitude(audio, 1900, 48000);
    EXPECT_NEAR(20 * std::log10(high / low), 0, 0.3);
    EXPECT_LT(20 * std::log10(test::toneAmplitude(audio, 1200, 48000) / low), -50) << "the other sideband";
    double power = 0;
    for (const float sample : audio)
        power += sample * sample;
    EXPECT_NEAR(power / static_cast<double>(audio.size()), (low * low + high * high) / 2,
                0.03 * (low * low + high * high) / 2)
        << "nothing else, no gap";
    RecordProperty("tone", std::to_string(test::toneFrequency(audio, 700, 48000)));
}

INSTANTIATE_TEST_SUITE_P(Rates, SdrplayRate,
                         testing::Values(768000, 1536000, 6144000, 8000000, 10000000, 2000000));

// The level of a carrier at the antenna stays where it is while both gains move.
TEST_F(SdrplayChain, LevelsAreTrackedThroughGainEventsWithinATenthOfADecibel) {
    constexpr long long vfo = 7050000;
    constexpr double level = -75;
    carriers({{vfo + 1000, level}});
    auto probe = std::make_shared<test::ProbeMode>(rootSyncTask);
    listen("RSP1A", 768000, probe, vfo);
    const auto measure = [&] {
        advanceSeconds(0.15);
        double decibels = 0;
        test::onContext(trx, [&] {
            double power = 0;
            constexpr int count = 2400;
            for (auto sample = probe->heard.end() - count; sample != probe->heard.end(); ++sample)
                power += std::norm(*sample);
            decibels = 10 * std::log10(power / count);
        });
        return decibels;
    };
    double worst = 0;
    const auto check = [&](const std::string& at) {
        const double error = measure() - (level + 20); // the scale's 10 is 20 dB
        EXPECT_NEAR(error, 0, 0.1) << at;
        worst = std::max(worst, std::abs(error));
    };
    check("start");
    for (const int reduction : {59, 45, 33, 21, 50}) {
        control->setIfReduction(1, reduction);
        check("IF " + std::to_string(reduction));
    }
    for (const int gain : {0, 5, 9, 3}) {
        on([&] { radio->rxGain.setFromHost(gain); });
        check("RF " + std::to_string(gain));
    }
    RecordProperty("dB", std::to_string(worst));
    std::printf("worst error %.4f dB\n", worst);
}

// The gain control walks from where it started to its set point; the level is the same after as before.
TEST_F(SdrplayChain, TheApisOwnGainControlLeavesTheLevelAlone) {
    constexpr long long vfo = 7050000;
    carriers({{vfo + 1000, -75}});
    auto probe = std::make_shared<test::ProbeMode>(rootSyncTask);
    listen("RSP1A", 768000, probe, vfo);
    control->setGainControl(1);
    advanceSeconds(1.6); // 23 steps of 50 ms
    control->setGainControl(0);
    advanceSeconds(0.15);
    EXPECT_NEAR(radio->stream().scale(0), 10 / std::pow(10.0, 45.0 / 20) / 32768, 2e-7) << "-30 dBFS";
    double power = 0;
    test::onContext(trx, [&] {
        for (auto sample = probe->heard.end() - 2400; sample != probe->heard.end(); ++sample)
            power += std::norm(*sample) / 2400;
    });
    EXPECT_NEAR(10 * std::log10(power), -55, 0.1);
}

// Tuner B hears the same carrier 6 dB weaker and 40 degrees later: with the right gain and phase the sum
// doubles, with the opposite phase it vanishes.
TEST_F(SdrplayChain, BothTunersMakeDiversity) {
    constexpr long long vfo = 7050000;
    carriers({{vfo + 1000, -70}});
    control->setSecondTuner(-6, -40);
    auto probe = std::make_shared<test::ProbeMode>(rootSyncTask);
    on([&] {
        radio->rxGain.setFromHost(9);
        radio->rxGain2.setFromHost(9);
    });
    listen("RSPduo", 2000000, probe, vfo, 3);
    on([&] {
        EXPECT_EQ(trx->hwReceiverOfAdc[0], 0);
        EXPECT_EQ(trx->hwReceiverOfAdc[1], 1);
        EXPECT_EQ(radio->hwReceivers[0].frequency, radio->hwReceivers[1].frequency);
        EXPECT_EQ(radio->hwReceivers[0].fill, radio->hwReceivers[1].fill);
    });
    const auto level = [&](double gainDb, double phase) {
        test::onContext(trx, [&] {
            trx->ADC1Gain.setFromHost(std::pow(10.0, gainDb / 20));
            trx->ADC1Phase.setFromHost(phase);
        });
        advanceSeconds(0.25);
        double power = 0;
        test::onContext(trx, [&] {
            for (auto sample = probe->heard.end() - 2400; sample != probe->heard.end(); ++sample)
                power += std::norm(*sample) / 2400;
        });
        return 10 * std::log10(power);
    };
    const double alone = level(-300, 0);
    // I and Q are exchanged on their way in: the later carrier's phase is ahead.
    const double sum = level(6, -40), null = level(6, 140);
    std::printf("sum %+.2f dB, null %+.1f dB\n", sum - alone, null - alone);
    EXPECT_NEAR(sum - alone, 6.02, 0.1);
    EXPECT_LT(null - alone, -40);
}

TEST_F(SdrplayChain, TunerBAloneIsHeardOnItsOwnAdc) {
    constexpr long long vfo = 7050000;
    carriers({{vfo + 1000, -70}});
    control->setSecondTuner(-20, 0);
    auto probe = std::make_shared<test::ProbeMode>(rootSyncTask);
    listen("RSPduo", 2000000, probe, vfo, 1);
    const auto level = [&](int adcs) {
        test::onContext(trx, [&] { trx->ADCs.setFromHost(adcs); });
        EXPECT_TRUE(test::waitFor([&] {
            advanceSeconds(0.25);
            return tuned();
        }));
        advanceSeconds(0.25);
        double power = 0;
        test::onContext(trx, [&] {
            for (auto sample = probe->heard.end() - 2400; sample != probe->heard.end(); ++sample)
                power += std::norm(*sample) / 2400;
        });
        return 10 * std::log10(power);
    };
    const double a = level(1), b = level(2);
    EXPECT_NEAR(b - a, -20, 0.2);
    on([&] { EXPECT_EQ(trx->hwReceiverOfAdc[1], 1); });
}

TEST_F(SdrplayChain, ARateChangeIntoDualTunersGoesOnWithBoth) {
    constexpr long long vfo = 7050000;
    carriers({{vfo + 1000, -70}});
    auto probe = std::make_shared<test::ProbeMode>(rootSyncTask);
    listen("RSPduo", 768000, probe, vfo, 3);
    advance(5);
    on([&] { radio->SampleRate.setFromHost(2000000); });
    advanceSeconds(0.5);
    EXPECT_TRUE(test::waitFor([&] {
        advanceSeconds(0.25);
        return tuned();
    }));
    on([&] {
        EXPECT_EQ(radio->hwReceivers[0].fill, radio->hwReceivers[1].fill) << "the chunks cover the same time";
        EXPECT_EQ(radio->hwReceivers[0].chunk.size(), 32768u);
    });
    test::onContext(trx, [&] { probe->heard.clear(); });
    advanceSeconds(0.25);
    test::onContext(trx, [&] { EXPECT_GT(probe->heard.size(), 9000u); });
}

} // namespace
} // namespace ferrow
