#include "core/audio/audio_input.hpp"
#include "tests/trx/trx_fixture.hpp"

#include <atomic>

namespace ferrow {
namespace {

using test::ProbeMode;
using test::Samples;

constexpr long long kCentre = 14095600;
constexpr std::size_t kChunk = 126;

// Sends ones, and keeps what the microphone brought.
class OnesMode : public ProbeMode {
public:
    using ProbeMode::ProbeMode;
    void modulate(Samples in, Samples out) override {
        inputs.push_back(in[0]);
        sizes.push_back(in.size());
        std::fill(out.begin(), out.end(), std::complex<float>(1, 0));
    }
    std::vector<std::complex<float>> inputs;
    std::vector<std::size_t> sizes;
};

class Transmit : public test::TrxTest {
protected:
    std::shared_ptr<OnesMode> mode = std::make_shared<OnesMode>(rootSyncTask);
    audioInputStream capture{"capture", -1, 48000};
    std::shared_ptr<vtrx> t;

    void SetUp() override {
        radio->addReceiver(kCentre, 48000);
        on(*radio, [&] { radio->canTransmit.set(true); });
        mode->useTxFilter = false;
        t = listen(kCentre, mode);
    }
    void TearDown() override {
        on(*t, [&] { microphone().follow(nullptr, 0); });
    }

    audioInputReader& microphone() { return const_cast<audioInputReader&>(t->microphone()); }

    void press(bool down) {
        on(*t, [&] { t->ptt.setFromHost(down); });
        test::settle(radio->context());
    }

    // The samples of `calls` pulls, one after the other.
    std::vector<std::complex<float>> pull(int calls) {
        on(*radio, [&] { radio->sent.clear(); });
        for (int left = calls; left > 0; left -= 500) { // fewer than the radio's queue holds
            on(*t, [&] {
                for (int i = 0; i < std::min(left, 500); ++i)
                    t->produceTxChunk();
            });
            test::settle(radio->context());
        }
        std::vector<std::complex<float>> all;
        for (const Samples& block : radio->sent) {
            EXPECT_EQ(block.size(), kChunk);
            all.insert(all.end(), block.begin(), block.end());
        }
        return all;
    }

    // Everything that the microphone's ring holds becomes `level`.
    void speak(float level) {
        const std::vector<float> block(audioInputStream::kRing, level);
        capture.prepareRing();
        capture.capture(block.data(), block.size());
    }
};

double raised(int c, int length) {
    return 0.5 * std::cos(c * std::numbers::pi / length) + 0.5;
}

TEST_F(Transmit, APressWithTuneOnSendsACarrierAfter768SilentSamples) {
    on(*t, [&] { t->tune.setFromHost(true); });
    press(true);
    const auto out = pull(12);
    for (int i = 0; i < 768; ++i)
        ASSERT_EQ(out[static_cast<std::size_t>(i)], std::complex<float>()) << i;
    for (int i = 768; i < 1280; ++i)
        ASSERT_NEAR(out[static_cast<std::size_t>(i)].real(), 0.99 * raised(1280 - i, 512), 1e-6) << i;
    for (std::size_t i = 1280; i < out.size(); ++i)
        ASSERT_EQ(out[i], std::complex<float>(0.99f, 0)) << i;
    EXPECT_TRUE(mode->sizes.empty()) << "the mode is not asked";
}

TEST_F(Transmit, APressWithTuneOnAndADirectModeHasNoSilence) {
    mode->bufferedTx = false;
    on(*t, [&] { t->tune.setFromHost(true); });
    press(true);
    const auto out = pull(6);
    for (int i = 0; i < 512; ++i)
        ASSERT_NEAR(out[static_cast<std::size_t>(i)].real(), 0.99 * raised(512 - i, 512), 1e-6) << i;
    EXPECT_EQ(out[600], std::complex<float>(0.99f, 0));
}

TEST_F(Transmit, APressWithADirectModeHasNoSilence) {
    mode->bufferedTx = false;
    press(true);
    const auto out = pull(5);
    for (int i = 0; i < 512; ++i)
        ASSERT_NEAR(out[static_cast<std::size_t>(i)].real(), raised(512 - i, 512), 1e-6) << i;
    EXPECT_EQ(out[600], std::complex<float>(1, 0));
    EXPECT_EQ(mode->sizes, std::vector<std::size_t>(5, kChunk));
}

TEST_F(Transmit, APressWithABufferedModeIsSilentFor768SamplesOfTheModesBlocks) {
    press(true);
    const auto out = pull(12);
    for (int i = 0; i < 768; ++i)
        ASSERT_EQ(out[static_cast<std::size_t>(i)], std::complex<float>()) << i;
    for (int i = 768; i < 1280; ++i)
        ASSERT_NEAR(out[static_cast<std::size_t>(i)].real(), raised(1280 - i, 512), 1e-6) << i;
    EXPECT_EQ(out[1281], std::complex<float>(1, 0));
    EXPECT_EQ(mode->sizes, std::vector<std::size_t>(3, 512)) << "1512 samples in blocks of 512";
}

TEST_F(Transmit, AModeThatLeavesTheBlockAloneSendsNothing) {
    press(true);
    pull(20);
    on(*t, [&] { t->setModulation(std::make_shared<modDemod>(rootSyncTask)); });
    pull(5); // what the last mode had made
    for (const auto& sample : pull(10))
        ASSERT_EQ(sample, std::complex<float>());
}

TEST_F(Transmit, AReleaseWithAShortTailStartsTheCosinePartWay) {
    mode->txTail = 256;
    press(true);
    pull(12);
    press(false);
    EXPECT_TRUE(mode->receiving);
    const auto out = pull(3);
    for (int i = 0; i < 256; ++i)
        ASSERT_NEAR(out[static_cast<std::size_t>(i)].real(), raised(256 + i, 512), 1e-6) << i;
    for (std::size_t i = 256; i < out.size(); ++i)
        ASSERT_EQ(out[i], std::complex<float>()) << i;
}

TEST_F(Transmit, AReleaseWithTxTail0MutesAtOnce) {
    mode->txTail = 0;
    press(true);
    pull(12);
    press(false);
    for (const auto& sample : pull(2))
        ASSERT_EQ(sample, std::complex<float>());
}

TEST_F(Transmit, ATailOf512EndsInTheFifthCallAndTheRadioIsUnkeyedInTheNinth) {
    press(true);
    pull(12);
    press(false);
    EXPECT_TRUE(radio->ptt.value());
    const auto four = pull(4), fifth = pull(1);
    for (const auto& sample : four)
        ASSERT_NE(sample, std::complex<float>());
    EXPECT_NE(fifth[7], std::complex<float>());
    for (std::size_t i = 8; i < kChunk; ++i)
        ASSERT_EQ(fifth[i], std::complex<float>()) << i;
    pull(3);
    EXPECT_TRUE(radio->ptt.value());
    pull(1);
    EXPECT_FALSE(radio->ptt.value());
}

TEST_F(Transmit, PullsAfterTheEndDoNotUnkeyAnother) {
    press(true);
    pull(12);
    press(false);
    pull(9);
    auto other = addVtrx(kCentre);
    on(*other, [&] { other->ptt.setFromHost(true); });
    test::settle(radio->context());
    ASSERT_TRUE(radio->ptt.value());
    pull(20);
    EXPECT_TRUE(radio->ptt.value());
    EXPECT_EQ(radio->txVtrx, other.get());
}

TEST_F(Transmit, ASecondPressDuringTheTailRestartsTheRise) {
    press(true);
    pull(12);
    press(false);
    pull(2);
    press(true);
    const auto out = pull(12);
    EXPECT_EQ(out[767], std::complex<float>());
    EXPECT_EQ(out[1300], std::complex<float>(1, 0));
    EXPECT_TRUE(radio->ptt.value());
}

TEST_F(Transmit, TheMicrophoneComesWith0707InBothParts) {
    speak(0.5f);
    on(*t, [&] { microphone().follow(&capture, 1); });
    press(true);
    pull(5);
    ASSERT_FALSE(mode->inputs.empty());
    EXPECT_EQ(mode->sizes[0], 512u);
    EXPECT_EQ(mode->inputs[0], std::complex<float>(0.707f * 0.5f, 0.707f * 0.5f));
}

TEST_F(Transmit, DelayAudioTurnedOffMidWayBringsTheMicrophoneBack) {
    speak(0.25f);
    on(*t, [&] {
        microphone().follow(&capture, 1);
        t->DelayAudio.setFromHost(true);
    });
    const auto heard = [&](int calls) {
        mode->inputs.clear();
        pull(calls);
        return mode->inputs.back().real();
    };
    EXPECT_EQ(heard(1910), 0.707f * 0.25f); // 240660 samples: the line is full
    speak(0.5f);
    EXPECT_EQ(heard(20), 0.707f * 0.25f) << "the line repeats";
    on(*t, [&] { t->DelayAudio.setFromHost(false); });
    EXPECT_EQ(heard(20), 0.707f * 0.5f);
}

TEST_F(Transmit, TheDelayLineTakesBlocksOfChangingSize) {
    on(*t, [&] {
        t->DelayAudio.setFromHost(true);
        t->tune.setFromHost(true); // blocks of 126
    });
    pull(1904);                                  // 239904 of 240000
    on(*t, [&] { t->tune.setFromHost(false); }); // blocks of 512
    pull(10);
    on(*t, [&] { t->tune.setFromHost(true); });
    pull(10);
}

TEST_F(Transmit, VoxActsInTheForegroundOnly) {
    speak(0.5f);
    const auto chunk = [&] { feed(*t, Samples(512, 0.0f), kCentre, 48000); };
    on(*t, [&] {
        microphone().follow(&capture, 1);
        t->useVox.setFromHost(true);
        t->VoxHold.setFromHost(0.02);
    });
    chunk();
    EXPECT_FALSE(t->ptt.value());
    on(*t, [&] { t->foregroundDisplay.setFromHost(true); });
    chunk();
    EXPECT_TRUE(t->ptt.value());
    speak(0.21f); // more than half of the threshold of 0.4
    for (int i = 0; i < 10; ++i)
        chunk();
    EXPECT_TRUE(t->ptt.value());
    speak(0.19f);
    chunk();
    EXPECT_TRUE(t->ptt.value()) << "10.7 ms of 20";
    chunk();
    EXPECT_FALSE(t->ptt.value());
}

TEST_F(Transmit, AVoxHoldThatIsNoNumberDoesNotKeyForEver) {
    speak(0.5f);
    on(*t, [&] {
        microphone().follow(&capture, 1);
        t->useVox.setFromHost(true);
        t->foregroundDisplay.setFromHost(true);
        t->VoxHold.setFromHost(std::nan(""));
    });
    feed(*t, Samples(512, 0.0f), kCentre, 48000);
    EXPECT_TRUE(t->ptt.value());
    speak(0);
    feed(*t, Samples(512, 0.0f), kCentre, 48000);
    EXPECT_FALSE(t->ptt.value());
}

TEST_F(Transmit, AnotherModeEndsTheSidetoneOfTheLast) {
    on(*t, [&] {
        t->sidetone().fromKey = true;
        t->sidetone().fromMode = true;
        t->setModulation(nullptr);
        EXPECT_FALSE(t->sidetone().fromKey);
        EXPECT_FALSE(t->sidetone().fromMode);
    });
}

TEST_F(Transmit, ATransceiverWithoutAModeIsUnkeyedAtOnce) {
    on(*t, [&] { t->setModulation(nullptr); });
    press(true);
    EXPECT_TRUE(radio->ptt.value());
    press(false);
    EXPECT_FALSE(radio->ptt.value());
}

} // namespace
} // namespace ferrow
