#include "host/failure.hpp"
#include "host/ft8_encode.hpp"
#include "host/ft8_pack.hpp"
#include "tests/modes/ft8/ft8_signal.hpp"

#include <array>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <random>

namespace {

using namespace ferrow::test;
using ferrow::CallTable;
using ferrow::Ft8MessageBits;
using ferrow::ft8MessageType;
using ferrow::ft8Tones;
using ferrow::packFt8Message;
using ferrow::SlotMode;
using ferrow::UsageError;

std::string hexOf(const Ft8MessageBits& payload) {
    return hex(payload.data(), payload.size());
}

std::string digits(const std::vector<int>& tones) {
    std::string text;
    for (const int tone : tones)
        text += static_cast<char>('0' + tone);
    return text;
}

// What a receiver shows that knows the calls that go as hashes.
std::string shown(const std::string& text, const std::vector<std::string>& known = {}) {
    CallTable table;
    for (const auto& call : known)
        table.add(call);
    return ferrow::unpackFt8Message(packFt8Message(text), table).value_or("(none)");
}

std::string type(const std::string& text) {
    return ft8MessageType(packFt8Message(text));
}

class Dice {
public:
    unsigned below(unsigned n) { return static_cast<unsigned>(random_() % n); }
    bool coin() { return below(2) == 1; }
    char of(const std::string& alphabet) { return alphabet[below(static_cast<unsigned>(alphabet.size()))]; }
    std::string word(const std::string& alphabet, unsigned length) {
        std::string text;
        for (unsigned i = 0; i < length; ++i)
            text += of(alphabet);
        return text;
    }
    std::string call() {
        static const std::string letters = "ABCDEFGHIJKLMNOPRSTUVWXYZ";
        std::string prefix(1, of(letters.substr(0, letters.size())));
        if (coin())
            prefix += of(letters + "Q");
        else if (below(3) == 0)
            prefix = std::string(1, of("23456789")) + of(letters);
        return prefix + of("0123456789") + word(letters + "Q", 1 + below(3));
    }
    std::string grid() {
        static const std::string fields = "ABCDEFGHIJKLMNOPQR", numbers = "0123456789";
        return word(fields, 2) + word(numbers, 2);
    }
    std::string report(int low, int high) {
        const int value = low + static_cast<int>(below(static_cast<unsigned>(high - low + 1)));
        return fmt::format("{:+03}", value);
    }

private:
    std::mt19937_64 random_{20260301};
};

TEST(Ft8Pack, PublishedMessagesBitByBit) {
    int count = 0;
    for (const Mode mode : {Mode::Ft8, Mode::Ft4}) {
        for (const Vector& vector : readVectors(mode)) {
            const Ft8MessageBits payload = packFt8Message(vector.message);
            EXPECT_EQ(hexOf(payload), vector.payload) << vector.message;
            const auto tones = digits(ft8Tones(payload, mode == Mode::Ft8 ? SlotMode::Ft8 : SlotMode::Ft4));
            EXPECT_EQ(tones, mode == Mode::Ft8 ? vector.tones : "0" + vector.tones + "0") << vector.message;
            ++count;
        }
    }
    EXPECT_EQ(count, 39);
}

TEST(Ft8Pack, RandomStandardMessagesComeBackAsTheyWere) {
    Dice dice;
    for (int i = 0; i < 3000; ++i) {
        const bool portable = dice.coin();
        const auto call = [&] { return dice.call() + (dice.below(4) == 0 ? (portable ? "/P" : "/R") : ""); };
        std::string text;
        if (dice.below(4) == 0) {
            const std::string words[] = {
                "CQ ", "CQ " + dice.word("ABCDEFGHIJKLMNOPQRSTUVWXYZ", 1 + dice.below(4)) + " ",
                "CQ " + dice.word("0123456789", 3) + " ", "DE ", "QRZ "};
            text = words[dice.below(5)] + call() + (dice.coin() ? " " + dice.grid() : "");
        } else {
            const std::string remarks[] = {"",
                                           " " + dice.grid(),
                                           " R " + dice.grid(),
                                           " " + dice.report(-50, 49),
                                           " R" + dice.report(-50, 49),
                                           " RRR",
                                           " RR73",
                                           " 73"};
            text = call() + " " + call() + remarks[dice.below(8)];
        }
        ASSERT_EQ(shown(text), text);
        ASSERT_TRUE(type(text) == "1" || type(text) == "2") << text;
    }
}

TEST(Ft8Pack, RandomFreeTextsComeBackAsTheyWere) {
    Dice dice;
    for (int i = 0; i < 2000; ++i) {
        // The sign in front keeps it from being a message of another kind.
        const std::string text =
            "+" + dice.word(" 0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ+-./?", dice.below(12)) + "?";
        std::string once = text;
        for (std::size_t at; (at = once.find("  ")) != std::string::npos;)
            once.erase(at, 1);
        ASSERT_EQ(shown(text), once);
        ASSERT_EQ(type(text), "0.0") << text;
    }
}

TEST(Ft8Pack, RandomTelemetryComesBackAsItWas) {
    Dice dice;
    for (int i = 0; i < 1000; ++i) {
        const std::string text = dice.word("1234567", 1) + dice.word("0123456789ABCDEF", 13 + dice.below(5));
        ASSERT_EQ(shown(text), text);
        ASSERT_EQ(type(text), "0.5");
    }
    EXPECT_EQ(shown("0000000000000F"), "F") << "leading zeroes are not shown";
    EXPECT_THROW(packFt8Message("812345678901234567"), UsageError) << "the first of 18 digits has three bits";
}

TEST(Ft8Pack, RandomNonstandardCallsComeBackAsTheyWere) {
    Dice dice;
    const std::string closings[] = {"", " RRR", " RR73", " 73"};
    for (int i = 0; i < 1000; ++i) {
        const std::string odd = dice.word("ABCDEFGH", 2) + dice.word("0123456789", 2) + "/" +
                                dice.word("KLMNOP", 1 + dice.below(5));
        const std::string plain = dice.call(), closing = closings[dice.below(4)];
        ASSERT_EQ(shown("CQ " + odd), "CQ " + odd);
        ASSERT_EQ(shown(plain + " " + odd + closing, {plain}), "<" + plain + "> " + odd + closing);
        ASSERT_EQ(shown("<" + plain + "> " + odd + closing, {plain}), "<" + plain + "> " + odd + closing);
        ASSERT_EQ(shown(odd + " " + plain + closing, {plain}), odd + " <" + plain + ">" + closing);
        ASSERT_EQ(type("CQ " + odd), "4");
        ASSERT_EQ(type(odd + " " + plain + closing), "4");
        // With a report there is no room for the call in full.
        ASSERT_EQ(shown(odd + " " + plain + " -09", {odd}), "<" + odd + "> " + plain + " -09");
        ASSERT_EQ(type(odd + " " + plain + " -09"), "1");
    }
}

TEST(Ft8Pack, RandomContestExchangesComeBackAsTheyWere) {
    Dice dice;
    const char* sections[] = {"AB", "EMA", "NB", "PE", "WY"};
    const char* multipliers[] = {"AL", "WY", "PEI", "ZL", "X01", "X99"};
    for (int i = 0; i < 1000; ++i) {
        const std::string a = dice.call(), b = dice.call(), roger = dice.coin() ? " R " : " ";
        const unsigned transmitters = 1 + dice.below(32);
        const std::string day = a + " " + b + roger + std::to_string(transmitters) + dice.of("ABCDEFGH") +
                                " " + sections[dice.below(5)];
        ASSERT_EQ(shown(day), day);
        ASSERT_EQ(type(day), transmitters > 16 ? "0.4" : "0.3");

        std::string serial = fmt::format("{:04}", 1 + dice.below(7999));
        const std::string round = (dice.coin() ? "TU; " : "") + a + " " + b + roger + "5" +
                                  dice.of("23456789") + "9 " +
                                  (dice.coin() ? serial : multipliers[dice.below(6)]);
        ASSERT_EQ(shown(round), round);
        ASSERT_EQ(type(round), "3");

        serial = fmt::format("{:04}", 1 + dice.below(2047));
        const std::string vhf = "<" + a + "> <" + b + ">" + roger + "5" + dice.of("23456789") + serial + " " +
                                dice.grid() + dice.word("ABCDEFGHIJKLMNOPQRSTUVWX", 2);
        ASSERT_EQ(shown(vhf, {b, a}), vhf);
        ASSERT_EQ(type(vhf), "5");

        const int report = -30 + 2 * static_cast<int>(dice.below(32));
        serial = fmt::format("{:+03}", report);
        const std::string expedition = a + " RR73; " + b + " <KH1/K1ABC> " + serial;
        ASSERT_EQ(shown(expedition, {"KH1/K1ABC"}), expedition);
        ASSERT_EQ(type(expedition), "0.1");
    }
}

TEST(Ft8Pack, CaseAndBlanksDoNotMatter) {
    EXPECT_EQ(hexOf(packFt8Message("  cq   k1abc fn42 ")), hexOf(packFt8Message("CQ K1ABC FN42")));
}

TEST(Ft8Pack, WhatFitsNoFormIsToldSo) {
    for (const char* text :
         {"", "   ", "FOURTEEN CHARS", "K1ABC W9XYZ FN42 EXTRA", "CQ PJ4/K1ABC FN42", "K1ABC W9XYZ R-51",
          "HI \xC3\x84", "K1ABC RR73; W9XYZ <KH1/K1ABC> -07", "<...> K1ABC RR73", "K1ABC/R W9XYZ/P RR73",
          "K1ABC W9XYZ 33A WI", "K1ABC W9XYZ 579 8000"})
        EXPECT_THROW(packFt8Message(text), UsageError) << text;
}

TEST(Ft8Pack, ShortHexWordsAreText) {
    EXPECT_EQ(type("ABBA"), "0.0");
    EXPECT_EQ(type("73"), "0.0");
    EXPECT_EQ(shown("CQ TEST"), "CQ TEST");
}

// Whatever bytes come: a message that unpacks, or a clear refusal.
TEST(Ft8Pack, AnyBytesAreAMessageOrRefused) {
    std::mt19937 random(7);
    const std::string alphabet = " </>;+-0179AKRQ73\x01\xFFz";
    for (int i = 0; i < 20000; ++i) {
        std::string text;
        for (unsigned n = static_cast<unsigned>(random() % 24); n > 0; --n)
            text += alphabet[random() % alphabet.size()];
        try {
            CallTable table;
            ASSERT_TRUE(ferrow::unpackFt8Message(packFt8Message(text), table)) << text;
        } catch (const UsageError&) {
        }
    }
}

// The encoder of an independent program, where it is installed (package wsjtx).
TEST(Ft8Pack, AnIndependentEncoderMakesTheSameTones) {
    if (std::system("command -v ft8code > /dev/null") != 0)
        GTEST_SKIP() << "no ft8code here; it comes with the package wsjtx";
    Dice dice;
    std::vector<std::string> texts = {
        "CQ K1ABC FN42",         "W9XYZ <PJ4/K1ABC> R-11",           "PJ4/K1ABC <W9XYZ> RR73",
        "CQ PJ4/K1ABC",          "K1ABC RR73; W9XYZ <KH1/KH7Z> -12", "TNX BOB 73 GL",
        "W9XYZ K1ABC R 17B EMA", "TU; W9XYZ K1ABC R 579 MA",         "<PA3XYZ> <G4ABC/P> R 590003 IO91NP",
        "71234567890ABCDEF1"};
    for (int i = 0; i < 20; ++i)
        texts.push_back(dice.call() + " " + dice.call() +
                        (i % 2 ? " " + dice.grid() : " R" + dice.report(-30, 30)));
    for (const std::string& text : texts) {
        FILE* pipe = popen(("ft8code '" + text + "'").c_str(), "r");
        std::string output;
        std::array<char, 256> line;
        bool next = false;
        while (std::fgets(line.data(), line.size(), pipe)) {
            const std::string one = line.data();
            if (next && one.find_first_not_of("01234567 \n") == std::string::npos && one.size() > 70)
                output = one;
            next = next || one.find("Channel symbols") != std::string::npos;
        }
        pclose(pipe);
        std::erase_if(output, [](char c) { return c < '0' || c > '7'; });
        EXPECT_EQ(digits(ft8Tones(packFt8Message(text), SlotMode::Ft8)), output) << text;
    }
}

} // namespace
