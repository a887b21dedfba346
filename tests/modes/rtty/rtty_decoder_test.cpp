#include "modes/baudot.hpp"
#include "modes/rtty_decoder.hpp"
#include "tests/modes/mode_fixture.hpp"
#include "tests/modes/receive_filter.hpp"
#include "tests/modes/rtty/teletype_signal.hpp"

#include <gtest/gtest.h>

namespace ferrow {
namespace {

using test::Line;
using test::Signal;

std::string decode(RttyDecoder& decoder, const Signal& signal, double rxFreq) {
    std::string text;
    for (std::size_t at = 0; at + 512 <= signal.size(); at += 512)
        text += decoder.process({signal.data() + at, 512}, rxFreq);
    return text;
}

std::string decode(const Signal& signal, double rxFreq = 2125) {
    RttyDecoder decoder;
    return decode(decoder, signal, rxFreq);
}

// Without the marks of slipped phases: "#" and a number, and lines of four numbers.
std::string plain(std::string text) {
    for (std::size_t at; (at = text.find('#')) != std::string::npos;)
        text.erase(at, text.find_first_not_of("0123456789", at + 1) - at);
    for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos; ++at) {
        const std::size_t end = text.find('\n', at + 1);
        if (end != std::string::npos && end - at > 8 &&
            text.substr(at + 1, end - at - 1).find_first_not_of("0123456789.e+- ") == std::string::npos)
            text.erase(at, end + 1 - at);
    }
    return text;
}

Signal line(const std::string& text, const Line& how = {}) {
    return test::teletypeSignal(test::teletypeCodes(text, true), how);
}

const std::string kAll = "THE QUICK BROWN FOX JUMPS OVER A LAZY DOG 0123456789 -'!:(+)?&./=,\xA3";

TEST(RttyDecoder, ReadsEveryCharacter) {
    for (const int hertz : {2125, 1000, 0, -2295}) {
        const std::string text = plain(
            decode(line("RYRYRY " + kAll + " END", {.mark = 1.0 * hertz, .space = hertz + 170.0}), hertz));
        EXPECT_NE(text.find(kAll), std::string::npos) << hertz << ": " << text;
    }
}

// A station that has mark above space, which is the custom on the air, is not read.
TEST(RttyDecoder, MarkIsTheLowerTone) {
    const std::string wrong = plain(decode(line("RYRYRYRYRYRYRYRY", {.mark = 2295, .space = 2125})));
    EXPECT_EQ(wrong.find("RYRY"), std::string::npos) << wrong;
    Signal mirrored = line("RYRYRYRYRYRYRYRY", {.mark = 2295, .space = 2125});
    for (auto& sample : mirrored)
        sample = std::conj(sample);
    EXPECT_NE(plain(decode(mirrored, -2295)).find("RYRYRYRY"), std::string::npos);
}

TEST(RttyDecoder, Codes14And15ProduceNoCharacterAndSelectTheTable) {
    // A shift, the same code in either table, the other shift.
    const Signal signal =
        test::teletypeSignal({31, 31, 10, 21, 10, 21, 27, 27, 10, 21, 27, 10, 31, 31, 10, 21, 31}, {});
    RttyDecoder decoder;
    EXPECT_NE(plain(decode(decoder, signal, 2125)).find("RYRY464RY"), std::string::npos);
    EXPECT_FALSE(decoder.figures());
    EXPECT_EQ(baudotCharacters[27], 14);
    EXPECT_EQ(baudotCharacters[59], 14);
    EXPECT_EQ(baudotCharacters[31], 15);
    EXPECT_EQ(baudotCharacters[63], 15);
}

TEST(RttyDecoder, ASpaceInFiguresReturnsToLetters) {
    EXPECT_NE(plain(decode(line("RYRY 12 34 RY"))).find("RYRY 12 34 RY"), std::string::npos);
    // Without a second shift the same codes are letters.
    const auto codes = test::teletypeCodes("RYRY 12 34", false);
    EXPECT_NE(plain(decode(test::teletypeSignal(codes, {}))).find("RYRY 12 ER"), std::string::npos);
}

TEST(RttyDecoder, ToleratesSpeedAndFrequencyErrors) {
    // A speed that is wrong costs a character, doubled or lost, wherever the timing has slid past a whole
    // one.
    const std::string sent = "RYRYRYRY " + kAll + " " + kAll;
    for (const double baud : {44.6, 46.3}) {
        const std::string text = plain(decode(line(sent, {.baud = baud})));
        EXPECT_LT(test::characterErrors(sent, text), 0.06) << baud << text;
    }
    for (const double off : {-8.0, 8.0})
        EXPECT_NE(plain(decode(line(sent, {.mark = 2125 + off, .space = 2295 + off}))).find(kAll),
                  std::string::npos)
            << off;
}

// The character time is fixed to seven and a half elements.
TEST(RttyDecoder, TwoStopElementsAreNotRead) {
    const std::string text = plain(decode(line("RYRYRYRY " + kAll, {.stop = 2.0})));
    EXPECT_GT(test::characterErrors("RYRYRYRY " + kAll, text), 0.3) << text;
}

TEST(RttyDecoder, LevelsFadeAgainstEachOther) {
    Signal signal = line("RYRYRYRY " + kAll);
    // One tone at a third of the other: the threshold lies between what there is.
    const auto tones = test::tones(signal);
    std::size_t at = 1;
    for (const auto& tone : tones)
        for (std::size_t i = 0; i < tone.samples && at < signal.size(); ++i, ++at)
            if (tone.hertz > 2200)
                signal[at] *= 0.33f;
    EXPECT_NE(plain(decode(signal)).find(kAll), std::string::npos);
}

TEST(RttyDecoder, ANoiseBurstDoesNotMoveThePhaseForLong) {
    Signal signal = line("RYRYRYRYRYRYRYRYRYRYRYRYRYRYRYRY");
    // Most of one character drowned.
    const std::size_t from = static_cast<std::size_t>((0.3 + 17 * 0.165) * 48000);
    Signal burst(6000);
    test::addNoise(burst, 100, 3);
    std::copy(burst.begin(), burst.end(), signal.begin() + static_cast<std::ptrdiff_t>(from));
    const std::string text = plain(decode(signal));
    EXPECT_NE(text.find("RYRYRYRYRYRYRY"), std::string::npos) << text;
    EXPECT_NE(text.rfind("RYRYRYRYRY"), text.find("RYRYRYRYRY")) << text;
}

// The new place wins when its three last scores together are the greater; the numbers are told.
TEST(RttyDecoder, APhaseJumpTakesEffectWhenThreeCharactersScoreBetter) {
    Signal signal = line("RYRYRYRYRYRYRYRY", {.tail = 0.022 * 4}),
           again = line("RYRYRYRYRYRYRYRY", {.lead = 0});
    signal.insert(signal.end(), again.begin(), again.end());
    RttyDecoder decoder;
    std::string first;
    const std::string text = decode(decoder, signal, 2125);
    const std::size_t mark = text.find('#', text.find("RYRYRYRY"));
    ASSERT_NE(mark, std::string::npos) << text;
    const int distance = std::atoi(text.c_str() + mark + 1);
    EXPECT_GT(distance, 2);
    EXPECT_LE(distance, 30);
    const std::size_t lineEnd = text.rfind('\n', mark);
    const std::size_t lineStart = text.rfind('\n', lineEnd - 1);
    std::array<double, 4> numbers{};
    EXPECT_EQ(std::sscanf(text.c_str() + lineStart, "%lf %lf %lf %lf", &numbers[0], &numbers[1], &numbers[2],
                          &numbers[3]),
              4)
        << text;
    EXPECT_NE(text.find("RYRYRYRY", mark), std::string::npos);
}

TEST(RttyDecoder, DebugValuesAreTheToneDifferenceTwiceABlock) {
    RttyDecoder decoder;
    const Signal mark = test::teletypeSignal({}, {.lead = 8, .tail = 0});
    int given = 0;
    for (std::size_t at = 0; at + 512 <= mark.size(); at += 512) {
        decoder.process({mark.data() + at, 512}, 2125);
        const buff<float> values = decoder.takeDebug();
        if (values.empty())
            continue;
        ++given;
        EXPECT_EQ(at / 512, 511u);
        ASSERT_EQ(values.size(), 1024u);
        // |sum of 132 turns of 170 Hz at 6000| less 132.
        std::complex<double> sum = 0;
        for (int i = 0; i < 132; ++i)
            sum += std::polar(1.0, 2 * std::numbers::pi * 170 * i / 6000);
        EXPECT_NEAR(values[500], std::abs(sum) - 132, 0.01);
    }
    EXPECT_EQ(given, 1);
}

TEST(RttyDecoder, NoNumbersLeaveNoTrace) {
    RttyDecoder decoder;
    Signal bad(5120, {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()});
    decode(decoder, bad, 2125);
    for (const double hertz : {-2147483648.0, 2147483647.0})
        decode(decoder, Signal(5120, {1, 0}), hertz);
    EXPECT_NE(plain(decode(decoder, line("RYRYRYRY " + kAll), 2125)).find(kAll), std::string::npos);
}

TEST(RttyDecoder, WhiteNoiseAt0DbIsCopied) { // in 2500 Hz; the table is in docs/keyboard-modes.md
    std::string sent = "RYRYRY ";
    for (int i = 0; i < 4; ++i)
        sent += "THE QUICK BROWN FOX ";
    Signal signal = line(sent);
    test::addNoise(signal, 48000 / 2500.0, 11);
    const std::string text = plain(decode(test::receiveFilter(signal, 2210 - 250, 2210 + 250)));
    EXPECT_LT(test::characterErrors(sent, text), 0.1) << text;
}

} // namespace
} // namespace ferrow
