#include "modes/baudot.hpp"
#include "modes/rtty_mod_demod.hpp"
#include "tests/modes/mode_fixture.hpp"
#include "tests/modes/rtty/teletype_signal.hpp"

#include <atomic>

namespace ferrow {
namespace {

using test::heardText;
using test::sentText;
using test::Signal;

constexpr std::size_t kBit = 1056, kStop = 1584, kCharacter = 6 * kBit + kStop;

void onSent(const char* text) {
    sentText += text;
}
void onHeard(const char* text) {
    heardText += text;
}
int debugCalls;
double debugSum;
void onDebug(void* values, double a, double b, int c) {
    ++debugCalls;
    debugSum += std::abs(a) + std::abs(b) + c;
    delete static_cast<buff<float>*>(values);
}

class Rtty : public test::ModeTest {
protected:
    std::shared_ptr<RTTYModDemod> mode;

    void SetUp() override {
        mode = use<RTTYModDemod>();
        mode->sentChars.bind(onSent, mode.get());
        mode->newChars.bind(onHeard, mode.get());
        debugCalls = 0;
        debugSum = 0;
    }

    // Levels of the next characters, checked element by element: start 0, bits, stop 1 of one and a half.
    std::vector<int> sentCodes(std::size_t characters) {
        const Signal signal = pull(*mode, characters * kCharacter);
        std::vector<int> levels;
        for (std::size_t i = 1; i < signal.size(); ++i) {
            const std::complex<double> turn =
                std::complex<double>(signal[i]) * std::conj(std::complex<double>(signal[i - 1]));
            const double hertz = -std::arg(turn) * 48000 / (2 * std::numbers::pi);
            const bool mark = hertz > 2085;
            EXPECT_NEAR(hertz, mark ? 2170 : 2000, 0.02) << i;
            EXPECT_NEAR(std::abs(signal[i]), 0.95, 1e-6);
            levels.push_back(mark ? 1 : 0);
        }
        levels.insert(levels.begin(), levels.front());
        std::vector<int> codes;
        for (std::size_t c = 0; c < characters; ++c) {
            const auto level = [&](std::size_t from, std::size_t count) {
                const int first = levels[c * kCharacter + from];
                for (std::size_t i = 0; i < count; ++i)
                    EXPECT_EQ(levels[c * kCharacter + from + i], first)
                        << "character " << c << " sample " << from + i;
                return first;
            };
            EXPECT_EQ(level(0, kBit), 0);
            int code = 0;
            for (std::size_t bit = 0; bit < 5; ++bit)
                code |= level((1 + bit) * kBit, kBit) << bit;
            EXPECT_EQ(level(6 * kBit, kStop), 1);
            codes.push_back(code);
        }
        return codes;
    }
};

TEST_F(Rtty, DefaultsAreThoseOfTheTable) {
    EXPECT_EQ(mode->dbg1.value(), 0.0f);
    EXPECT_EQ(mode->dbg2.value(), 0.0f);
    EXPECT_EQ(mode->sampleRate(), 48000);
}

TEST_F(Rtty, SentWaveformMeasuredElementByElement) {
    mode->QueueText("RyA3-B?", 0);
    const std::vector<int> expected{10, 21, 3, 27, 1, 3, 31, 25, 27, 25};
    EXPECT_EQ(sentCodes(expected.size()), expected);
    pumpUpdates();
    EXPECT_EQ(sentText, "RyA3-B?");
}

TEST_F(Rtty, EveryCharacterGoesOutByItsCode) {
    for (int byte = 1; byte < 256; ++byte) {
        const int entry = baudotEntries[static_cast<std::size_t>(byte)];
        if (entry == 0)
            continue;
        const auto half = static_cast<std::size_t>(entry & 1);
        const int code = entry >> 3 & 31;
        EXPECT_EQ(baudotCharacters[static_cast<std::size_t>(code) + 32 * half], std::toupper(byte));
        EXPECT_EQ(entry >> 8, 1); // the stop element
    }
    int known = 0;
    for (const int entry : baudotEntries)
        known += entry != 0;
    // 26 letters twice, 26 figures, space, two line ends, two shifts, and code 0.
    EXPECT_EQ(known, 52 + 26 + 3 + 2 + 1);
}

TEST_F(Rtty, AnEmptyQueueSendsLettersShifts) {
    EXPECT_EQ(sentCodes(5), std::vector<int>(5, 31));
    mode->QueueText("A", 0);
    EXPECT_EQ(sentCodes(3), (std::vector<int>{3, 31, 31}));
    pumpUpdates();
    EXPECT_EQ(sentText, "A");
}

TEST_F(Rtty, IdlingGoesOnUntilTheTransmitterIsTurnedOff) {
    press(true);
    EXPECT_EQ(sentCodes(120), std::vector<int>(120, 31)); // 20 s
    EXPECT_TRUE(onAir());
}

TEST_F(Rtty, ACharacterOfBothHalvesNeverCausesAShift) {
    mode->QueueText("A 1 \r\n2 B\r\n", 0);
    const std::vector<int> expected{3, 4, 27, 23, 4, 8, 2, 19, 4, 31, 25, 8, 2};
    EXPECT_EQ(sentCodes(expected.size()), expected);
}

// The transmitter's half of the code stays over a space, an idle time and a shift in the text.
TEST_F(Rtty, TheTransmittersFiguresStay) {
    mode->QueueText("1 2", 0);
    EXPECT_EQ(sentCodes(5), (std::vector<int>{27, 23, 4, 19, 31}));
    mode->QueueText("3\x0F"
                    "4",
                    0);
    EXPECT_EQ(sentCodes(3), (std::vector<int>{1, 31, 10}));
}

TEST_F(Rtty, TheTerminatorTakesTheTransmitterOffAndGoesOutAsALettersShift) {
    press(true);
    mode->QueueText("A~B", 0);
    EXPECT_EQ(sentCodes(1), std::vector<int>{3});
    test::settle(t->context());
    EXPECT_TRUE(onAir());
    EXPECT_EQ(sentCodes(1), std::vector<int>{31});
    test::settle(t->context());
    EXPECT_FALSE(onAir());
    EXPECT_EQ(sentCodes(1), std::vector<int>{25});
    pumpUpdates();
    EXPECT_EQ(sentText, "A~B");
}

TEST_F(Rtty, ACharacterWithoutACodeGoesOutAsALettersShift) {
    mode->QueueText("A%\xE4"
                    "B",
                    0);
    EXPECT_EQ(sentCodes(4), (std::vector<int>{3, 31, 31, 25}));
}

TEST_F(Rtty, TransmitTonesDoNotFollowTxFreq) {
    mode->txFreq.set(1000);
    EXPECT_EQ(sentCodes(2), std::vector<int>(2, 31)); // 2000 and 2170 Hz inside
}

TEST_F(Rtty, PhaseIsContinuous) {
    mode->QueueText("RYRY", 0);
    const Signal signal = pull(*mode, 4 * kCharacter, 126);
    for (std::size_t i = 1; i < signal.size(); ++i)
        ASSERT_LT(std::abs(signal[i] - signal[i - 1]), 0.95 * 0.285);
}

TEST_F(Rtty, ReceptionReturnsTheRealPart) {
    for (const float sample : hear(*mode, Signal(512, {0.25f, 0.5f})))
        ASSERT_EQ(sample, 0.25f);
}

// Transmitted mark lies above space, received mark below: the own signal is read in the mirrored spectrum.
TEST_F(Rtty, ReadsWhatItSendsMirrored) {
    const std::string text = "THE QUICK BROWN FOX JUMPS OVER A LAZY DOG 0123456789-'!:(+)?&./=,\xA3\r\nEND";
    mode->QueueText("RYRYRY " + text, 0);
    Signal signal = pull(*mode, (text.size() + 20) * kCharacter);
    testing::internal::CaptureStdout();
    mode->rxFreq.set(2000);
    hear(*mode, signal);
    const std::string straight = testing::internal::GetCapturedStdout();
    EXPECT_EQ(straight.find("QUICK"), std::string::npos);
    for (auto& sample : signal)
        sample = std::conj(sample);
    testing::internal::CaptureStdout();
    mode->rxFreq.set(-2170);
    hear(*mode, signal);
    const std::string mirrored = testing::internal::GetCapturedStdout();
    EXPECT_NE(mirrored.find(text), std::string::npos) << mirrored;
    pumpUpdates();
    EXPECT_EQ(heardText, "");
}

// The receiver goes back to letters with a space, the transmitter does not: figures behind it are lost.
TEST_F(Rtty, ASpaceInFiguresReturnsTheReceiverToLettersButNotTheTransmitter) {
    mode->QueueText("RYRYRYRY 12 34 RY", 0);
    Signal signal = pull(*mode, 25 * kCharacter);
    for (auto& sample : signal)
        sample = std::conj(sample);
    testing::internal::CaptureStdout();
    mode->rxFreq.set(-2170);
    hear(*mode, signal);
    EXPECT_NE(testing::internal::GetCapturedStdout().find("RY 12 ER RY"), std::string::npos);
}

TEST_F(Rtty, NewDebugBrings1024ValuesAndZeroes) {
    mode->newDebug.bind(onDebug, mode.get());
    hear(*mode, Signal(512 * 1025, {0.5f, 0}));
    pumpUpdates();
    EXPECT_EQ(debugCalls, 2);
    EXPECT_EQ(debugSum, 0);
}

TEST_F(Rtty, TextBeyond1024CharactersLosesTheNewest) {
    mode->QueueText(std::string(1030, 'E'), 0);
    EXPECT_TRUE(runtime.logged("RTTYModDemod text queue is full, 6 bytes lost"));
}

TEST_F(Rtty, SendsReceivesAndChangesAtOnce) {
    testing::internal::CaptureStdout();
    Signal noise(5120);
    test::addNoise(noise, 1, 1);
    whileBusy(*mode, noise, [&] {
        for (int i = 0; i < 200; ++i) {
            on(*mode, [&] {
                mode->QueueText("CQ DE 1~", 0);
                mode->rxFreq.setFromHost(i);
                mode->dbg1.setFromHost(static_cast<float>(i));
            });
            press(true);
            pumpUpdates();
        }
    });
    testing::internal::GetCapturedStdout();
}

} // namespace
} // namespace ferrow
