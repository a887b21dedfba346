#include "modes/morse.hpp"
#include "tests/modes/cw/cw_fixture.hpp"

#include <limits>

namespace ferrow {
namespace {

using test::Element;
using test::elements;
using test::heardText;
using test::kHidden;
using test::sentText;
using test::Signal;

using Cw = test::CwTest;

TEST_F(Cw, DefaultsAreThoseOfTheTable) {
    EXPECT_EQ(mode->freq.value(), 650.0);
    EXPECT_EQ(mode->wpm.value(), 20.0);
    EXPECT_EQ(mode->swHangTime.value(), 200);
    EXPECT_EQ(mode->sidetoneVolume.value(), 1.0);
    EXPECT_EQ(mode->rxwpm.value(), 20.0);
    EXPECT_EQ(mode->sampleRate(), 48000);
    EXPECT_FALSE(mode->bufferedTx) << "126 samples at a time, as the radio takes them";
    EXPECT_TRUE(mode->useTxFilter);
}

TEST_F(Cw, TwentyWordsPerMinuteMeansADotOf2880Samples) {
    mode->QueueText("e", 0);
    skipGap();
    const Signal dot = pull(*mode, 2880), behind = pull(*mode, 3 * 2880);
    EXPECT_GT(std::abs(dot.front()), -1e-9);
    EXPECT_GT(std::abs(dot[1440]), 0.9499);
    for (const auto& sample : behind)
        ASSERT_EQ(sample, std::complex<float>());
    const auto parts = elements(dot);
    ASSERT_EQ(parts.size(), 3u);
    EXPECT_EQ(parts[0].length, kHidden);
    EXPECT_EQ(parts[1].length, 2880 - 2 * kHidden + 1);
}

TEST_F(Cw, ATransmissionBeginsWithAGapOfFiveDots) {
    mode->QueueText("t", 0);
    const Signal out = pull(*mode, 5 * 2880 + 1000);
    for (std::size_t i = 0; i < 5 * 2880; ++i)
        ASSERT_EQ(out[i], std::complex<float>()) << i;
    EXPECT_NEAR(out.back().real(), 0.95, 1e-6);
}

TEST_F(Cw, ElementsHaveRaisedCosineEnds) {
    mode->wpm.set(30);
    mode->QueueText("a", 0);
    skipGap();
    const Signal out = pull(*mode, 1920 * 8);
    const auto check = [&](std::size_t from, std::size_t length) {
        for (std::size_t i = 0; i < length; ++i) {
            double expected = 0.95;
            if (i < 256)
                expected *= 0.5 * std::cos(std::numbers::pi * (256.0 - static_cast<double>(i)) / 256) + 0.5;
            else if (length - i < 256)
                expected *=
                    0.5 * std::cos(std::numbers::pi * (256.0 - static_cast<double>(length - i)) / 256) + 0.5;
            ASSERT_NEAR(out[from + i].real(), expected, 2e-7) << i;
            ASSERT_EQ(out[from + i].imag(), 0);
        }
    };
    check(0, 1920);
    check(2 * 1920, 3 * 1920);
    EXPECT_EQ(out[1920 + 500], std::complex<float>());
    EXPECT_EQ(out[6 * 1920], std::complex<float>());
}

// Every character that has a code, measured element by element at three speeds.
TEST_F(Cw, SentTextMeasuredElementByElement) {
    const std::string text = "the quick brown fox JUMPS 0123456789 .,?!=~<>%+&{}#";
    for (const double wpm : {20.0, 33.0, 47.0}) {
        mode->wpm.set(wpm);
        const auto dot = static_cast<std::size_t>(57600 / wpm), dash = static_cast<std::size_t>(172800 / wpm);
        std::vector<Element> expected{{false, 0}};
        std::size_t total = 0;
        const auto add = [&](bool mark, std::size_t length) {
            if (expected.back().mark != mark)
                expected.push_back({mark, 0});
            expected.back().length += length;
            total += length;
        };
        for (const char c : text)
            for (const char e : morsePattern(static_cast<unsigned char>(c)))
                add(e != ' ', e == '-' ? dash : dot);
        mode->setPtt(true);
        mode->QueueText(text, 0);
        pull(*mode, 5 * dot);
        const auto measured = elements(pull(*mode, total));
        ASSERT_EQ(measured.size(), expected.size()) << wpm;
        for (std::size_t i = 0; i < measured.size(); ++i) {
            ASSERT_EQ(measured[i].mark, expected[i].mark) << i;
            std::size_t length = expected[i].length;
            if (measured[i].mark)
                length -= 2 * kHidden - 1;
            else if (i == 0)
                length = kHidden;
            else
                length += i + 1 == measured.size() ? kHidden - 1 : 2 * kHidden - 1;
            ASSERT_EQ(measured[i].length, length) << wpm << " element " << i;
        }
    }
}

TEST_F(Cw, AnUnknownCharacterSendsNothing) {
    mode->QueueText("e\"\x01\xE4t", 0);
    skipGap();
    const auto parts = elements(pull(*mode, 2880 * (1 + 3 + 3)));
    ASSERT_EQ(parts.size(), 5u); // rise, dot, gap, dash, fall
    EXPECT_EQ(parts[2].length, 3 * 2880 + 2 * kHidden - 1);
    pumpUpdates();
    EXPECT_EQ(sentText, "e\"\x01\xE4t");
}

TEST_F(Cw, SentCharsFiresAsACharacterBegins) {
    mode->QueueText("et", 0);
    skipGap();
    pumpUpdates();
    EXPECT_EQ(sentText, "");
    pull(*mode, 1, 1);
    pumpUpdates();
    EXPECT_EQ(sentText, "e");
    pull(*mode, 4 * 2880 - 1, 1);
    pumpUpdates();
    EXPECT_EQ(sentText, "e");
    pull(*mode, 1, 1);
    pumpUpdates();
    EXPECT_EQ(sentText, "et");
}

TEST_F(Cw, ATerminatorTakesTheTransmitterOffAndSendsASpace) {
    for (const std::string end : {"`", "\r", "\n"}) {
        press(true);
        ASSERT_TRUE(onAir());
        mode->QueueText("e" + end, 0);
        sentText.clear();
        skipGap();
        pull(*mode, 4 * 2880);
        test::settle(t->context());
        EXPECT_TRUE(onAir());
        const Signal out = pull(*mode, 7 * 2880);
        for (const auto& sample : out)
            ASSERT_EQ(sample, std::complex<float>());
        test::settle(t->context());
        EXPECT_FALSE(onAir());
        pumpUpdates();
        EXPECT_EQ(sentText, "e" + end);
    }
}

// The last element is the three dots of silence behind the letter.
TEST_F(Cw, AtAHangTimeOf200TheTransceiverLeaves200MsAfterTheLastElement) {
    press(true);
    mode->QueueText("e", 0);
    skipGap();
    pull(*mode, 4 * 2880);
    const std::size_t idle = pullUntilOff(6, 48000);
    EXPECT_GE(idle, 9600u);
    EXPECT_LE(idle, 9606u);
    for (const int hang : {0, 1, 50, 1000}) {
        press(true);
        mode->swHangTime.set(hang);
        mode->QueueText("e", 0);
        skipGap();
        pull(*mode, 4 * 2880);
        const std::size_t samples = pullUntilOff(6, 96000);
        EXPECT_GE(samples, static_cast<std::size_t>(hang) * 48) << hang;
        EXPECT_LE(samples, static_cast<std::size_t>(hang) * 48 + 6) << hang;
    }
}

TEST_F(Cw, TextThatComesInTimeKeepsTheTransmitterOn) {
    press(true);
    skipGap();
    pull(*mode, 9000);
    mode->QueueText("e", 0);
    pull(*mode, 5000);
    test::settle(t->context());
    EXPECT_TRUE(onAir());
    const std::size_t idle = pullUntilOff(6, 48000);
    EXPECT_GT(idle, 9600u);
}

// By way of the filter, the start's silence and its ramp: each transmission's first element is whole.
TEST_F(Cw, TheTransmitChainLeavesTheFirstElementWhole) {
    for (int transmission = 0; transmission < 2; ++transmission) {
        on(*radio, [&] { radio->sent.clear(); });
        mode->QueueText("et`", 0);
        press(true);
        for (int i = 0; i < 700 && onAir(); i += 20) {
            on(*t, [&] {
                for (int k = 0; k < 20; ++k)
                    t->produceTxChunk();
            });
            test::settle(radio->context());
        }
        EXPECT_FALSE(onAir());
        Signal out;
        for (const auto& chunk : radio->sent)
            out.insert(out.end(), chunk.begin(), chunk.end());
        const auto parts = elements(out);
        ASSERT_EQ(parts.size(), 5u);
        EXPECT_NEAR(static_cast<double>(parts[1].length), 2880 - 2 * kHidden + 1, 3);
        EXPECT_NEAR(static_cast<double>(parts[2].length), 3 * 2880 + 2 * kHidden - 1, 3);
        EXPECT_NEAR(static_cast<double>(parts[3].length), 3 * 2880 - 2 * kHidden + 1, 3);
    }
}

TEST_F(Cw, WhatIsHeardLiesAtThePitch) {
    for (const double pitch : {650.0, 400.0}) {
        mode->freq.set(pitch);
        for (const double above : {0.0, 100.0, -50.0}) {
            test::Carrier carrier(above, 48000, 0.5);
            const test::Samples samples = carrier.next(48000);
            const auto audio = hear(*mode, Signal(samples.begin(), samples.end()));
            const std::vector<float> steady(audio.begin() + 480, audio.begin() + 24480);
            EXPECT_NEAR(test::toneFrequency(steady, pitch + above, 48000), pitch + above, 0.01);
            EXPECT_NEAR(test::toneAmplitude(steady, pitch + above, 48000), 0.5, 0.001);
        }
    }
}

TEST_F(Cw, DecodingIsSkippedWhileTransmitting) {
    press(true);
    mode->QueueText("paris paris paris", 0);
    const Signal signal = pull(*mode, 48000 * 8);
    hear(*mode, signal);
    pumpUpdates();
    EXPECT_EQ(heardText, "");
    EXPECT_EQ(mode->rxwpm.value(), 20.0);
    press(false);
    hear(*mode, signal);
    pumpUpdates();
    EXPECT_NE(heardText, "");
}

TEST_F(Cw, RxwpmTellsTheDecodersSpeed) {
    EXPECT_EQ(mode->rxwpm.value(), 20.0);
    hear(*mode, Signal(512));
    EXPECT_EQ(mode->rxwpm.value(), 45.0);
}

// What the mode sends its own receiver reads: all but the punctuation, which the table does not know.
TEST_F(Cw, ReadsWhatItSends) {
    const std::string text = "abcdefghijklmnopqrstuvwxyz 0123456789 the quick brown fox";
    for (const double wpm : {20.0, 30.0}) {
        mode->wpm.set(wpm);
        mode->setPtt(true);
        mode->QueueText("paris paris paris paris paris paris " + text, 0);
        mode->setPtt(false);
        const Signal signal = pull(*mode, static_cast<std::size_t>(48000 * 120 * 20 / wpm));
        heardText.clear();
        hear(*mode, signal);
        pumpUpdates();
        EXPECT_NE(heardText.find(text + " "), std::string::npos) << wpm << ": " << heardText;
    }
}

TEST_F(Cw, BadSpeedsAndFrequenciesAreLoggedAndHarmless) {
    for (const double bad :
         {0.0, -5.0, std::nan(""), 1e300, 1e-300, std::numeric_limits<double>::infinity()}) {
        mode->wpm.set(bad);
        mode->freq.set(bad);
        mode->sidetoneVolume.set(bad);
        mode->QueueText("et", 0);
        for (const auto& sample : pull(*mode, 51200))
            ASSERT_TRUE(std::isfinite(sample.real()));
        for (const float sample : hear(*mode, Signal(512, {0.5f, 0.5f})))
            ASSERT_TRUE(std::isfinite(sample));
    }
    EXPECT_TRUE(runtime.logged("cwModDemod.wpm 0 is no speed"));
}

TEST_F(Cw, TextBeyondTheRingLosesTheNewest) {
    mode->QueueText(std::string(5000, 'e'), 0);
    EXPECT_TRUE(runtime.logged("cwModDemod text queue is full, 904 bytes lost"));
    mode->wpm.set(1000);
    pull(*mode, 4096 * 4 * 58);
    pumpUpdates();
    EXPECT_EQ(sentText, std::string(4096, 'e'));
}

} // namespace
} // namespace ferrow
