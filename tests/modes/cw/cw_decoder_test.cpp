#include "modes/cw_decoder.hpp"
#include "modes/morse.hpp"
#include "tests/modes/cw/morse_signal.hpp"

#include <gtest/gtest.h>

#include <limits>

namespace ferrow {
namespace {

using test::Keying;

std::string lower(std::string text) {
    for (char& c : text)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

// Marks and spaces in envelope samples, straight to the decoder.
class Runs {
public:
    CwDecoder decoder;
    std::string text;

    // A level that never changes is no silence: the decoder has to have heard a mark.
    Runs() {
        run(true, 60);
        run(false, 300);
        text.clear();
    }

    void run(bool mark, int samples) {
        for (int i = 0; i < samples; ++i)
            decoder.push(mark ? 1.0 : 0.001, [this](char c) { text += c; });
    }
    void key(const std::string& elements, int dot) {
        for (const char element : elements) {
            run(true, element == '-' ? 3 * dot : dot);
            run(false, dot);
        }
        run(false, 2 * dot);
    }
};

std::string decode(const std::vector<std::complex<float>>& signal, CwDecoder& decoder) {
    std::string text;
    for (std::size_t i = 0; i < signal.size(); i += 32)
        decoder.push(std::abs(signal[i]), [&](char c) { text += c; });
    return text;
}

// A decoder that has already found the speed: it starts near 45 and gets there with the text's own pairs.
std::string decodeAfterTuning(const std::string& text, Keying keying) {
    CwDecoder decoder;
    decode(test::morseSignal("PARIS PARIS PARIS PARIS PARIS PARIS PARIS PARIS", keying), decoder);
    keying.seed += 1000;
    return decode(test::morseSignal(text, keying), decoder);
}

TEST(CwDecoder, StartsNear45WordsPerMinute) {
    const CwDecoder decoder;
    EXPECT_EQ(decoder.dot(), 40);
    EXPECT_EQ(decoder.wpm(), 45); // (57600 / 40) / 32
}

TEST(CwDecoder, FollowsTheSpeed) {
    // The pair of a dash and the space behind a dot: (180 + 60) / 4 = 60 is 30 WPM.
    for (const int wpm : {15, 20, 25, 30, 40}) {
        Runs runs;
        const int dot = 1800 / wpm;
        for (int i = 0; i < 200; ++i)
            runs.key("-.-.", dot);
        EXPECT_NEAR(runs.decoder.dot(), dot, 1.5) << wpm;
        EXPECT_NEAR(runs.decoder.wpm(), wpm, 1) << wpm;
    }
}

TEST(CwDecoder, ReadsATenthLowAfterWordGaps) {
    // A dash after a space of seven dots counts as four dots: ten, quartered, is two and a half.
    Runs letters, words;
    for (int i = 0; i < 300; ++i) {
        letters.key("-.-", 90);
        words.key("-.-", 90);
        words.run(false, 4 * 90);
    }
    EXPECT_NEAR(letters.decoder.dot(), 90, 2);
    EXPECT_GT(words.decoder.dot(), 1.08 * 90);
    EXPECT_LT(words.decoder.wpm(), 19);
}

TEST(CwDecoder, PairsOfOtherRatiosDoNotMoveTheSpeed) {
    for (const auto& [off, on] : {std::pair{60, 60}, {60, 100}, {200, 29}, {22, 66}, {60, 22}, {30, 150}}) {
        Runs runs;
        runs.run(true, on + 1); // a run does not count the sample that begins it
        runs.run(false, off + 1);
        const double before = runs.decoder.dot();
        for (int i = 0; i < 50; ++i) {
            runs.run(true, on + 1);
            runs.run(false, off + 1);
        }
        EXPECT_EQ(runs.decoder.dot(), before) << off << " " << on;
    }
}

TEST(CwDecoder, ASilenceOfMoreThanFiveDotsEndsTheLetterAndAddsOneSpace) {
    Runs runs;
    runs.run(true, 40);
    runs.run(false, 202); // the fall, five dots, and one more
    EXPECT_EQ(runs.text, "");
    runs.run(false, 1);
    EXPECT_EQ(runs.text, "e ");
    runs.run(false, 5000);
    EXPECT_EQ(runs.text, "e ");
    EXPECT_TRUE(runs.decoder.spaceSent());
}

TEST(CwDecoder, ALettersGapAddsNoSpace) {
    Runs runs;
    runs.key(".", 40);
    runs.key("-", 40);
    EXPECT_EQ(runs.text, "e");
    EXPECT_FALSE(runs.decoder.spaceSent());
}

TEST(CwDecoder, SixElementsOrAnUnknownCodeDecodeToNothing) {
    for (const std::string code :
         {"..--..", "-...-", "........", "----", "..--", "-.-.--..--..--..--..--..--..--"}) {
        Runs runs;
        runs.key(".", 40);
        runs.key(code, 40);
        EXPECT_FALSE(runs.decoder.spaceSent());
        runs.key("-", 40);
        runs.run(false, 30);
        EXPECT_TRUE(runs.text == "e" || runs.text == "et") << code << ": " << runs.text;
        runs.run(false, 400);
        EXPECT_EQ(runs.text, "et ") << code;
    }
    Runs runs;
    runs.key("----", 40);
    runs.run(false, 60); // more than five dots
    EXPECT_EQ(runs.text, "");
    EXPECT_TRUE(runs.decoder.spaceSent());
}

// A change counts at once, and the next one not before half a dot has gone by.
TEST(CwDecoder, ChangesWithinHalfADotAreLeftOut) {
    Runs runs;
    for (int i = 0; i < 10; ++i) { // 20 samples of chatter after the rise
        runs.run(true, 1);
        runs.run(false, 1);
    }
    runs.run(true, 70);
    for (int i = 0; i < 10; ++i) { // and after the fall
        runs.run(false, 1);
        runs.run(true, 1);
    }
    runs.run(false, 400);
    EXPECT_EQ(runs.text, "t ");
}

TEST(CwDecoder, TheThresholdHasHysteresis) {
    // 0.6 of the span lies above the middle, but not within a third from the top.
    Runs runs;
    const auto push = [&](double level, int samples) {
        for (int i = 0; i < samples; ++i)
            runs.decoder.push(level, [&](char c) { runs.text += c; });
    };
    runs.run(true, 60);
    push(0.58, 40); // still the mark
    runs.run(false, 30);
    runs.run(true, 60);
    runs.run(false, 21);
    push(0.55, 60); // still the space
    runs.run(false, 300);
    EXPECT_EQ(runs.text, "n ");
}

TEST(CwDecoder, EveryLetterAndDigitDecodes) {
    const std::string all = "ABCDEFGHIJKLMNOPQRSTUVWXYZ 0123456789";
    for (const int wpm : {12, 20, 30, 40})
        EXPECT_EQ(decodeAfterTuning(all, {.wpm = static_cast<double>(wpm)}).substr(0, all.size()), lower(all))
            << wpm;
}

TEST(CwDecoder, TheTablesAgreeWithEachOther) {
    for (int c = 0; c < 256; ++c) {
        const auto pattern = morsePattern(static_cast<unsigned char>(c));
        std::string elements;
        for (const char e : pattern)
            if (e == '.' || e == '-')
                elements += e;
        if (std::isalnum(c) != 0 && c < 128) {
            EXPECT_EQ(elements, test::dotsAndDashes(static_cast<char>(c))) << c;
            unsigned code = 0;
            for (const char e : elements)
                code = code << 1 | (e == '-');
            EXPECT_EQ(morseCharacter(static_cast<unsigned>(elements.size()), code), std::tolower(c));
            EXPECT_EQ(pattern.substr(pattern.size() - 3), "   ");
        }
    }
    const std::pair<char, std::string> others[] = {
        {'.', ". - . - . -   "}, {',', "- - . . - -   "},  {'?', ". . - - . .   "}, {'!', "- . - . - -   "},
        {'=', "- . . . -   "},   {'~', ". -   . -   "},    {'<', ". - . . .   "},   {'>', ". - . - .   "},
        {'%', ". . . - . -   "}, {'+', "- . - - .   "},    {'&', ". . - . -   "},   {'{', ". . . . - -   "},
        {'}', ". . . - .   "},   {'#', "- . . . - . -   "}};
    for (const auto& [character, pattern] : others)
        EXPECT_EQ(morsePattern(static_cast<unsigned char>(character)), pattern) << character;
    EXPECT_EQ(morsePattern('@'), "@");
    EXPECT_EQ(morsePattern(' '), "       ");
    EXPECT_EQ(morsePattern('"'), "");
    EXPECT_EQ(morsePattern(0), "");
    EXPECT_EQ(morsePattern(0xE4), "");
    int known = 0;
    for (unsigned elements = 0; elements < 40; ++elements)
        for (unsigned code = 0; code < 64; ++code)
            known += morseCharacter(elements, code) != ' ' && code < (1u << elements);
    EXPECT_EQ(known, 36);
}

TEST(CwDecoder, NoNumberAndNothingAtAllDoNoHarm) {
    Runs runs;
    for (const double bad :
         {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(), -1.0, 1e30})
        for (int i = 0; i < 100; ++i)
            runs.decoder.push(bad, [&](char c) { runs.text += c; });
    runs.run(false, 80000); // a minute for the level to come down
    runs.run(true, 40);
    runs.run(false, 400);
    runs.text.clear();
    runs.key("-.-", 40);
    runs.run(false, 300);
    EXPECT_EQ(runs.text, "k ");
}

// Short versions of the table in docs/keyboard-modes.md.
TEST(CwDecoder, JitterOfATenthIsCopied) {
    for (const double wpm : {12.0, 20.0, 30.0}) {
        const std::string text = test::randomGroups(20, 5);
        const std::string heard = decodeAfterTuning(text, {.wpm = wpm, .jitter = 0.1, .seed = 9});
        EXPECT_EQ(heard.substr(0, text.size()), lower(text)) << wpm;
    }
}

} // namespace
} // namespace ferrow
