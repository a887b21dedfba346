#include "host/ft8_message.hpp"
#include "host/ft8_sections.hpp"
#include "tests/modes/ft8/ft8_signal.hpp"

#include <gtest/gtest.h>
#include <random>

namespace {

using namespace ferrow::test;
using ferrow::CallTable;
using ferrow::Ft8MessageBits;
using Text = std::optional<std::string>;

constexpr std::uint32_t kHash = 2063592;
constexpr std::uint32_t kCall = kHash + 4194304;

// Fields packed front to back; the type fields stand at the end of the 77 bits.
class Packer {
public:
    Packer& add(std::uint64_t value, unsigned width) {
        for (unsigned bit = width; bit-- > 0; ++at)
            if (bit < 64 && (value >> bit) & 1)
                bytes[at / 8] = static_cast<std::uint8_t>(bytes[at / 8] | (0x80 >> (at % 8)));
        return *this;
    }
    Ft8MessageBits type(unsigned i3, unsigned n3 = 0) {
        if (i3 == 0) {
            EXPECT_EQ(at, 71u);
            add(n3, 3);
        }
        EXPECT_EQ(at, 74u);
        return add(i3, 3).bytes;
    }

private:
    Ft8MessageBits bytes{};
    unsigned at = 0;
};

std::uint32_t packCall(const std::string& six) {
    const auto place = [](const char* alphabet, char c) {
        return static_cast<std::uint32_t>(std::string(alphabet).find(c));
    };
    const char* letters = " ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    std::uint32_t n = place(" 0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ", six[0]);
    n = n * 36 + place("0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ", six[1]);
    n = n * 10 + place("0123456789", six[2]);
    for (std::size_t i = 3; i < 6; ++i)
        n = n * 27 + place(letters, six[i]);
    return kCall + n;
}

std::uint64_t packCall58(const std::string& call) {
    std::uint64_t n = 0;
    for (const char c : std::string(11 - call.size(), ' ') + call)
        n = n * 38 + std::string(" 0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ/").find(c);
    return n;
}

Text unpack(const Ft8MessageBits& payload) {
    CallTable table;
    return ferrow::unpackFt8Message(payload, table);
}

Ft8MessageBits standard(std::uint32_t to, std::uint32_t from, bool roger, unsigned g15, unsigned i3 = 1) {
    return Packer().add(to, 28).add(0, 1).add(from, 28).add(0, 1).add(roger, 1).add(g15, 15).type(i3);
}

Ft8MessageBits payloadOf(const Vector& vector) {
    Ft8MessageBits payload;
    for (std::size_t i = 0; i < payload.size(); ++i)
        payload[i] = static_cast<std::uint8_t>(std::stoi(vector.payload.substr(2 * i, 2), nullptr, 16));
    return payload;
}

const std::uint32_t kK1ABC = packCall(" K1ABC");
const std::uint32_t kW9XYZ = packCall(" W9XYZ");

TEST(Ft8Message, PublishedMessagesWithTheirHashedCallsKnown) {
    for (const Mode mode : {Mode::Ft8, Mode::Ft4})
        for (const Vector& vector : readVectors(mode)) {
            CallTable table;
            for (auto open = vector.message.find('<'); open != std::string::npos;
                 open = vector.message.find('<', open + 1)) {
                const auto close = vector.message.find('>', open);
                table.add(vector.message.substr(open + 1, close - open - 1));
            }
            EXPECT_EQ(ferrow::unpackFt8Message(payloadOf(vector), table), Text(vector.message));
        }
}

TEST(Ft8Message, PublishedMessagesWithNoCallKnown) {
    for (const Mode mode : {Mode::Ft8, Mode::Ft4})
        for (const Vector& vector : readVectors(mode))
            EXPECT_EQ(unpack(payloadOf(vector)), Text(vector.unhashed)) << vector.message;
}

TEST(Ft8Message, TypesAreNamed) {
    EXPECT_EQ(ferrow::ft8MessageType(standard(2, kK1ABC, false, 1)), "1");
    EXPECT_EQ(ferrow::ft8MessageType(Packer().add(0, 71).type(0, 5)), "0.5");
    EXPECT_EQ(ferrow::ft8MessageType(Packer().add(0, 74).type(7)), "7");
}

TEST(Ft8Message, TypesNotInUseAreUnknown) {
    for (const unsigned n3 : {2u, 6u, 7u})
        EXPECT_FALSE(unpack(Packer().add(1, 35).add(1, 36).type(0, n3)));
    for (const unsigned i3 : {6u, 7u})
        EXPECT_FALSE(unpack(Packer().add(1, 37).add(1, 37).type(i3)));
}

TEST(Ft8Message, TokensOfThe28BitCall) {
    const auto cq = [](std::uint32_t token) { return unpack(standard(token, kK1ABC, false, 32401)); };
    EXPECT_EQ(cq(0), Text("DE K1ABC"));
    EXPECT_EQ(cq(1), Text("QRZ K1ABC"));
    EXPECT_EQ(cq(2), Text("CQ K1ABC"));
    EXPECT_EQ(cq(3), Text("CQ 000 K1ABC"));
    EXPECT_EQ(cq(1002), Text("CQ 999 K1ABC"));
    EXPECT_EQ(cq(1003), Text()) << "four blanks";
    EXPECT_EQ(cq(1004), Text("CQ A K1ABC"));
    EXPECT_EQ(cq(1003 + 27), Text()) << "A and a blank";
    EXPECT_EQ(cq(1003 + 27 + 2), Text("CQ AB K1ABC"));
    EXPECT_EQ(cq(532443), Text("CQ ZZZZ K1ABC"));
    EXPECT_EQ(cq(532444), Text());
    EXPECT_EQ(cq(2063591), Text());
    EXPECT_EQ(cq(kHash), Text("<...> K1ABC"));
    EXPECT_EQ(cq(kCall - 1), Text("<...> K1ABC"));
}

TEST(Ft8Message, TokensStandOnlyInTheFirstCallOfStandardMessages) {
    for (const std::uint32_t token : {0u, 1u, 2u, 3u, 1004u}) {
        EXPECT_FALSE(unpack(standard(kK1ABC, token, false, 1)));
        for (const unsigned place : {0u, 1u}) {
            const std::uint32_t to = place == 0 ? token : kK1ABC;
            const std::uint32_t from = place == 1 ? token : kK1ABC;
            EXPECT_FALSE(unpack(Packer().add(to, 28).add(from, 28).add(0, 10).add(0, 5).type(0, 1)));
            for (const unsigned n3 : {3u, 4u})
                EXPECT_FALSE(unpack(
                    Packer().add(to, 28).add(from, 28).add(0, 1).add(0, 4).add(0, 3).add(1, 7).type(0, n3)));
            EXPECT_FALSE(
                unpack(Packer().add(0, 1).add(to, 28).add(from, 28).add(0, 1).add(0, 3).add(1, 13).type(3)));
        }
    }
}

TEST(Ft8Message, StandardCallsAndThoseThatAreNone) {
    const auto sender = [](const char* six) { return unpack(standard(2, packCall(six), false, 32401)); };
    EXPECT_EQ(sender(" K1ABC"), Text("CQ K1ABC"));
    EXPECT_EQ(sender("KA1ABC"), Text("CQ KA1ABC"));
    EXPECT_EQ(sender("3D2A  "), Text("CQ 3D2A"));
    EXPECT_EQ(sender(" W1A  "), Text("CQ W1A"));
    EXPECT_EQ(sender("9A1A  "), Text("CQ 9A1A"));
    EXPECT_EQ(sender(" K1   "), Text()) << "two characters";
    EXPECT_EQ(sender(" K1A C"), Text()) << "a blank inside";
    EXPECT_EQ(sender("QA1ABC"), Text()) << "starts with Q";
    EXPECT_EQ(sender(" Q1ABC"), Text()) << "starts with Q";
    EXPECT_EQ(sender(" 11ABC"), Text()) << "no letter before the area digit";
    EXPECT_EQ(sender("121ABC"), Text()) << "no letter before the area digit";
    EXPECT_EQ(unpack(standard(2, 268435455, false, 32401)), Text("CQ ZZ9ZZZ")) << "the last value is a call";
}

TEST(Ft8Message, GridReportAndClosingWord) {
    const auto end = [](unsigned g15, bool roger = false) {
        return unpack(standard(kW9XYZ, kK1ABC, roger, g15));
    };
    EXPECT_EQ(end(0), Text("W9XYZ K1ABC AA00"));
    EXPECT_EQ(end(32399), Text("W9XYZ K1ABC RR99"));
    EXPECT_EQ(end(32373), Text("W9XYZ K1ABC RR73"));
    EXPECT_EQ(end(10342, true), Text("W9XYZ K1ABC R FN42"));
    EXPECT_EQ(end(32400), Text());
    EXPECT_EQ(end(32401), Text("W9XYZ K1ABC"));
    EXPECT_EQ(end(32402), Text("W9XYZ K1ABC RRR"));
    EXPECT_EQ(end(32403), Text("W9XYZ K1ABC RR73"));
    EXPECT_EQ(end(32404), Text("W9XYZ K1ABC 73"));
    EXPECT_EQ(end(32405), Text("W9XYZ K1ABC -30"));
    EXPECT_EQ(end(32435), Text("W9XYZ K1ABC +00"));
    EXPECT_EQ(end(32440), Text("W9XYZ K1ABC +05"));
    EXPECT_EQ(end(32485), Text("W9XYZ K1ABC +50"));
    EXPECT_EQ(end(32486), Text("W9XYZ K1ABC -50"));
    EXPECT_EQ(end(32505), Text("W9XYZ K1ABC -31"));
    EXPECT_EQ(end(32506), Text());
    EXPECT_EQ(end(32767), Text());
    EXPECT_EQ(end(32426, true), Text("W9XYZ K1ABC R-09"));
}

TEST(Ft8Message, ACqHasAGridOrNothing) {
    EXPECT_TRUE(unpack(standard(2, kK1ABC, false, 10342)));
    EXPECT_TRUE(unpack(standard(2, kK1ABC, false, 32401)));
    EXPECT_FALSE(unpack(standard(2, kK1ABC, true, 10342)));
    EXPECT_FALSE(unpack(standard(2, kK1ABC, false, 32402)));
    EXPECT_FALSE(unpack(standard(1004, kK1ABC, false, 32440)));
    EXPECT_FALSE(unpack(standard(2, kHash + 5, false, 10342))) << "CQ and a hashed call";
}

TEST(Ft8Message, SuffixesOfTypesOneAndTwo) {
    const auto with = [](std::uint32_t to, std::uint32_t from, unsigned i3) {
        return unpack(
            Packer().add(to, 28).add(1, 1).add(from, 28).add(1, 1).add(0, 1).add(32401, 15).type(i3));
    };
    EXPECT_EQ(with(kW9XYZ, kK1ABC, 1), Text("W9XYZ/R K1ABC/R"));
    EXPECT_EQ(with(kW9XYZ, kK1ABC, 2), Text("W9XYZ/P K1ABC/P"));
    EXPECT_EQ(with(2, kK1ABC, 1), Text("CQ K1ABC/R")) << "means nothing for CQ";
    EXPECT_EQ(with(kHash, kK1ABC, 2), Text("<...> K1ABC/P")) << "means nothing for a hash";
}

TEST(Ft8Message, FreeTextOf71Bits) {
    unsigned __int128 n = 1;
    for (int i = 0; i < 13; ++i)
        n *= 42;
    const auto text = [](unsigned __int128 value) {
        return unpack(Packer()
                          .add(static_cast<std::uint64_t>(value >> 36), 35)
                          .add(static_cast<std::uint64_t>(value) & 0xFFFFFFFFF, 36)
                          .type(0, 0));
    };
    EXPECT_EQ(text(n - 1), Text("?????????????"));
    EXPECT_EQ(text(n), Text());
    EXPECT_EQ(text((static_cast<unsigned __int128>(1) << 71) - 1), Text());
    EXPECT_EQ(text(0), Text()) << "empty";
    EXPECT_EQ(text(41), Text("?"));
    EXPECT_EQ(text(42), Text("0")) << "blanks behind are trimmed too";
    EXPECT_EQ(text(42 * 42 + 1), Text("0 0"));
}

TEST(Ft8Message, Telemetry) {
    const auto data = [](std::uint64_t high, std::uint64_t low) {
        return unpack(Packer().add(high, 35).add(low, 36).type(0, 5));
    };
    EXPECT_EQ(data(0x7FFFFFFFF, 0xFFFFFFFFF), Text("7FFFFFFFFFFFFFFFFF"));
    EXPECT_EQ(data(0, 0xABC), Text("ABC"));
    EXPECT_EQ(data(1, 0), Text("1000000000"));
    EXPECT_EQ(data(0, 0), Text("0"));
}

TEST(Ft8Message, DxpeditionReports) {
    const auto report = [](unsigned rpt) {
        return unpack(Packer().add(kK1ABC, 28).add(kW9XYZ, 28).add(7, 10).add(rpt, 5).type(0, 1));
    };
    EXPECT_EQ(report(0), Text("K1ABC RR73; W9XYZ <...> -30"));
    EXPECT_EQ(report(15), Text("K1ABC RR73; W9XYZ <...> +00"));
    EXPECT_EQ(report(31), Text("K1ABC RR73; W9XYZ <...> +32"));
}

TEST(Ft8Message, FieldDay) {
    const auto day = [](unsigned n3, unsigned tx, unsigned cls, unsigned section) {
        return unpack(Packer()
                          .add(kK1ABC, 28)
                          .add(kW9XYZ, 28)
                          .add(1, 1)
                          .add(tx, 4)
                          .add(cls, 3)
                          .add(section, 7)
                          .type(0, n3));
    };
    EXPECT_EQ(day(3, 0, 0, 1), Text("K1ABC W9XYZ R 1A AB"));
    EXPECT_EQ(day(3, 15, 7, 86), Text("K1ABC W9XYZ R 16H NB"));
    EXPECT_EQ(day(4, 0, 1, 11), Text("K1ABC W9XYZ R 17B EMA"));
    EXPECT_EQ(day(4, 15, 1, 84), Text("K1ABC W9XYZ R 32B DX"));
    EXPECT_EQ(day(3, 0, 0, 0), Text());
    EXPECT_EQ(day(3, 0, 0, 87), Text());
    EXPECT_EQ(day(4, 0, 0, 127), Text());
}

TEST(Ft8Message, RttyRoundup) {
    const auto ru = [](bool tu, unsigned rst, unsigned exchange) {
        return unpack(Packer()
                          .add(tu, 1)
                          .add(kK1ABC, 28)
                          .add(kW9XYZ, 28)
                          .add(0, 1)
                          .add(rst, 3)
                          .add(exchange, 13)
                          .type(3));
    };
    EXPECT_EQ(ru(true, 0, 1), Text("TU; K1ABC W9XYZ 529 0001"));
    EXPECT_EQ(ru(false, 7, 7999), Text("K1ABC W9XYZ 599 7999"));
    EXPECT_EQ(ru(false, 3, 8001), Text("K1ABC W9XYZ 559 AL"));
    EXPECT_EQ(ru(false, 3, 8072), Text("K1ABC W9XYZ 559 ZL"));
    EXPECT_EQ(ru(false, 3, 8073), Text("K1ABC W9XYZ 559 X01"));
    EXPECT_EQ(ru(false, 3, 8171), Text("K1ABC W9XYZ 559 X99"));
    for (const unsigned exchange : {0u, 8000u, 8172u, 8191u})
        EXPECT_EQ(ru(false, 3, exchange), Text()) << exchange;
}

TEST(Ft8Message, NonstandardCalls) {
    const auto message = [](const std::string& call, bool flip, unsigned word, bool cq) {
        return unpack(
            Packer().add(5, 12).add(packCall58(call), 58).add(flip, 1).add(word, 2).add(cq, 1).type(4));
    };
    EXPECT_EQ(message("PJ4/K1ABC", false, 0, true), Text("CQ PJ4/K1ABC"));
    EXPECT_EQ(message("PJ4/K1ABC", true, 3, true), Text("CQ PJ4/K1ABC")) << "the other fields are ignored";
    EXPECT_EQ(message("ABCDEFGHIJK", false, 0, false), Text("<...> ABCDEFGHIJK"));
    EXPECT_EQ(message("YW18FIFA", false, 1, false), Text("<...> YW18FIFA RRR"));
    EXPECT_EQ(message("YW18FIFA", true, 2, false), Text("YW18FIFA <...> RR73"));
    EXPECT_EQ(message("YW18FIFA", true, 3, false), Text("YW18FIFA <...> 73"));
    EXPECT_EQ(message("", false, 0, true), Text());
    EXPECT_EQ(message("A B", false, 0, true), Text());
    EXPECT_EQ(unpack(Packer().add(5, 12).add((1ULL << 58) - 1, 58).add(0, 4).type(4)), Text())
        << "38^11 and more";
}

TEST(Ft8Message, EuropeanVhf) {
    const auto vhf = [](unsigned rst, unsigned serial, unsigned grid) {
        return unpack(
            Packer().add(1, 12).add(2, 22).add(0, 1).add(rst, 3).add(serial, 11).add(grid, 25).type(5));
    };
    EXPECT_EQ(vhf(0, 1, 0), Text("<...> <...> 520001 AA00AA"));
    EXPECT_EQ(vhf(7, 2047, 18662399), Text("<...> <...> 592047 RR99XX"));
    EXPECT_EQ(vhf(7, 2047, 18662400), Text());
    EXPECT_EQ(vhf(7, 0, 5), Text());
}

TEST(Ft8Calls, PublishedHashes) {
    struct Known {
        const char* call;
        std::uint32_t h10, h12, h22;
    };
    for (const Known& known : {Known{"W9XYZ", 972, 3889, 3982604}, Known{"KA1ABC", 180, 723, 740896},
                               Known{"PJ4/K1ABC", 346, 1387, 1420834}, Known{"KH1/K1ABC", 999, 3996, 4091940},
                               Known{"ZZ2025TEST", 18, 74, 76128}, Known{"G4ABC/P", 802, 3211, 3288979},
                               Known{"PA9XYZ", 542, 2171, 2223199}}) {
        EXPECT_EQ(ferrow::callHash10(known.call), known.h10) << known.call;
        EXPECT_EQ(ferrow::callHash12(known.call), known.h12) << known.call;
        EXPECT_EQ(ferrow::callHash22(known.call), known.h22) << known.call;
    }
}

TEST(Ft8Calls, SendersHeardInFullAreShownWhereTheirHashesStand) {
    CallTable table;
    const auto show = [&](const char* call) { return table.show22(ferrow::callHash22(call)); };
    EXPECT_EQ(show("K1ABC"), "<...>");
    ferrow::unpackFt8Message(standard(kW9XYZ, kK1ABC, false, 10342), table);
    EXPECT_EQ(show("K1ABC"), "<K1ABC>");
    EXPECT_EQ(show("W9XYZ"), "<...>") << "called, not heard";
    ferrow::unpackFt8Message(
        Packer().add(2, 28).add(0, 1).add(kW9XYZ, 28).add(1, 1).add(0, 1).add(10342, 15).type(2), table);
    EXPECT_EQ(show("W9XYZ/P"), "<W9XYZ/P>");
    EXPECT_EQ(show("W9XYZ"), "<...>");
    ferrow::unpackFt8Message(Packer().add(0, 12).add(packCall58("PJ4/K1ABC"), 58).add(1, 4).type(4), table);
    EXPECT_EQ(table.show12(ferrow::callHash12("PJ4/K1ABC")), "<PJ4/K1ABC>");
    EXPECT_EQ(table.show10(ferrow::callHash10("PJ4/K1ABC")), "<PJ4/K1ABC>");
    EXPECT_EQ(ferrow::unpackFt8Message(standard(kHash + 1420834, kK1ABC, false, 32404), table),
              Text("<PJ4/K1ABC> K1ABC 73"));
}

TEST(Ft8Calls, TheNewestEntryOfAHashWins) {
    // Two calls with the same 10-bit hash, found by search.
    const std::string first = "K1ABC";
    std::string second;
    for (int i = 0; second.empty(); ++i) {
        const std::string call = "W" + std::to_string(i) + "X";
        if (ferrow::callHash10(call) == ferrow::callHash10(first) &&
            ferrow::callHash22(call) != ferrow::callHash22(first))
            second = call;
    }
    CallTable table;
    table.add(first);
    table.add(second);
    EXPECT_EQ(table.show10(ferrow::callHash10(first)), "<" + second + ">");
    EXPECT_EQ(table.show22(ferrow::callHash22(first)), "<" + first + ">");
}

TEST(Ft8Calls, WhatIsNoCallIsNotEntered) {
    CallTable table;
    for (const char* text : {"", "AB", "TWELVELETTER", "<K1ABC>", "K1 ABC", "k1abc"}) {
        table.add(text);
        EXPECT_EQ(table.show22(ferrow::callHash22(text)), "<...>") << text;
    }
}

TEST(Ft8Message, AnyBitsAreTextOrNothing) {
    std::mt19937_64 random(1);
    CallTable table;
    int texts = 0;
    for (int trial = 0; trial < 200000; ++trial) {
        Ft8MessageBits payload;
        for (std::uint8_t& byte : payload)
            byte = static_cast<std::uint8_t>(random());
        payload[9] &= 0xF8;
        if (const Text text = ferrow::unpackFt8Message(payload, table)) {
            ++texts;
            ASSERT_FALSE(text->empty());
            ASSERT_LE(text->size(), 43u); // two hashed calls of 11, an exchange and a long grid
            ASSERT_EQ(text->find_first_not_of(" 0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ+-./?<>;"),
                      std::string::npos)
                << *text;
        }
    }
    EXPECT_GT(texts, 20000);
}

TEST(Ft8Message, ListsEndWhereTheyEnd) {
    EXPECT_EQ(ferrow::fieldDaySection(0), "");
    EXPECT_EQ(ferrow::fieldDaySection(44), "TER");
    EXPECT_EQ(ferrow::fieldDaySection(87), "");
    EXPECT_EQ(ferrow::roundupMultiplier(0), "");
    EXPECT_EQ(ferrow::roundupMultiplier(59), "NWT");
    EXPECT_EQ(ferrow::roundupMultiplier(172), "");
}

} // namespace
