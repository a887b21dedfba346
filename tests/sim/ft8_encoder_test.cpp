#include "sim/ft8/callsign.hpp"
#include "sim/ft8/coding.hpp"
#include "sim/ft8/gfsk.hpp"
#include "sim/ft8/message.hpp"

#include <cmath>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <numbers>
#include <sstream>

using namespace ferrow::sim;

namespace {

using Record = std::map<std::string, std::string>;

std::vector<Record> readVectors(const std::string& name) {
    std::ifstream file(std::string(FERROW_SOURCE_DIR) + "/tests/data/ft8/" + name);
    std::vector<Record> records;
    Record record;
    std::string line;
    const auto finish = [&] {
        if (!record.empty())
            records.push_back(std::exchange(record, {}));
    };
    while (std::getline(file, line)) {
        if (line.empty())
            finish();
        else if (line[0] != '#')
            record[line.substr(0, line.find(':'))] = line.substr(line.find(": ") + 2);
    }
    finish();
    return records;
}

template <typename Bits>
std::string hexOf(const Bits& bits) {
    std::string hex;
    for (std::size_t i = 0; i < (bits.size() + 7) / 8 * 8; i += 4) {
        unsigned digit = 0;
        for (std::size_t k = i; k < i + 4; ++k)
            digit = digit * 2 + (k < bits.size() ? bits[k] : 0u);
        hex += "0123456789abcdef"[digit];
    }
    return hex;
}

template <typename Values>
std::string digitsOf(const Values& values) {
    std::string text;
    for (const auto value : values)
        text += static_cast<char>('0' + value);
    return text;
}

/// Type of the message as the vector files write it.
std::string typeOf(const Payload& bits) {
    const auto three = [&](std::size_t at) { return bits[at] * 4 + bits[at + 1] * 2 + bits[at + 2]; };
    const int i3 = three(74);
    return i3 == 0 ? "0." + std::to_string(three(71)) : std::to_string(i3);
}

std::string crcText(const Payload& bits) {
    char text[8];
    std::snprintf(text, sizeof text, "%04x", crc14(bits));
    return text;
}

/// Frequency of a unit phasor between samples, averaged over the middle half of one symbol, Hz.
double symbolFrequency(const std::vector<Cfloat>& wave, std::size_t symbol, std::size_t samples) {
    const std::size_t first = symbol * samples + samples / 4;
    std::complex<double> turn = 0.0;
    for (std::size_t i = first; i < first + samples / 2; ++i)
        turn += std::complex<double>(wave[i + 1]) * std::conj(std::complex<double>(wave[i]));
    return std::arg(turn) / (2.0 * std::numbers::pi) * 12000.0;
}

} // namespace

TEST(Ft8Encoder, AllFt8VectorsComeOutEqual) {
    const auto records = readVectors("ft8_vectors.txt");
    ASSERT_EQ(records.size(), 20u);
    for (auto record : records) {
        SCOPED_TRACE(record["message"]);
        const Payload payload = packMessage(record["message"]);
        EXPECT_EQ(typeOf(payload), record["type"]);
        EXPECT_EQ(hexOf(payload), record["payload"]);
        EXPECT_EQ(crcText(payload), record["crc"]);
        EXPECT_EQ(digitsOf(encodeCodeword(payload)), record["codeword"]);
        EXPECT_EQ(hexOf(encodeCodeword(payload)), record["hex"]);
        EXPECT_EQ(digitsOf(ft8Tones(payload)), record["tones"]);
    }
}

TEST(Ft8Encoder, AllFt4VectorsComeOutEqual) {
    const auto records = readVectors("ft4_vectors.txt");
    ASSERT_EQ(records.size(), 19u);
    for (auto record : records) {
        SCOPED_TRACE(record["message"]);
        const Payload payload = packMessage(record["message"]);
        const Payload scrambled = scrambleFt4(payload);
        EXPECT_EQ(typeOf(payload), record["type"]);
        EXPECT_EQ(hexOf(payload), record["payload"]);
        EXPECT_EQ(hexOf(scrambled), record["scrambled"]);
        EXPECT_EQ(crcText(scrambled), record["crc"]);
        EXPECT_EQ(digitsOf(encodeCodeword(scrambled)), record["codeword"]);
        EXPECT_EQ(digitsOf(ft4Tones(payload)), record["tones"]);
    }
}

TEST(Ft8Encoder, HashesOfKnownCalls) {
    EXPECT_EQ(hashCall("W9XYZ", 10), 972u);
    EXPECT_EQ(hashCall("W9XYZ", 12), 3889u);
    EXPECT_EQ(hashCall("W9XYZ", 22), 3982604u);
    EXPECT_EQ(hashCall("PJ4/K1ABC", 22), 1420834u);
    EXPECT_EQ(hashCall("ZZ2025TEST", 12), 74u);
    EXPECT_EQ(hashCall("G4ABC/P", 10), 802u);
}

TEST(Ft8Encoder, LowerCaseAndSpacesDoNotMatter) {
    EXPECT_EQ(packMessage("  cq  k1abc   fn42 "), packMessage("CQ K1ABC FN42"));
}

TEST(Ft8Encoder, CompoundCallWithoutBracketsHashesTheStandardOne) {
    EXPECT_EQ(packMessage("W9XYZ PJ4/K1ABC RRR"), packMessage("<W9XYZ> PJ4/K1ABC RRR"));
    EXPECT_EQ(packMessage("PJ4/K1ABC W9XYZ 73"), packMessage("PJ4/K1ABC <W9XYZ> 73"));
}

TEST(Ft8Encoder, TextThatNoFormHoldsIsRefused) {
    EXPECT_THROW(packMessage(""), std::invalid_argument);
    EXPECT_THROW(packMessage("THIS TEXT IS TOO LONG"), std::invalid_argument);
    EXPECT_THROW(packMessage("NO COMMA, PLS"), std::invalid_argument);
    EXPECT_THROW(packMessage("K1ABC W9XYZ +77 DX"), std::invalid_argument);
}

TEST(Gfsk, Ft8LengthEnvelopeAndToneFrequencies) {
    const auto tones = ft8Tones(packMessage("CQ K1ABC FN42"));
    const auto wave = modulateGfsk(kFt8Form, tones);
    ASSERT_EQ(wave.size(), 79u * 1920u);
    for (std::size_t i = 240; i < wave.size() - 240; ++i)
        ASSERT_NEAR(std::abs(wave[i]), 1.0f, 1e-5f) << i;
    EXPECT_EQ(std::abs(wave.front()), 0.0f);
    EXPECT_EQ(std::abs(wave.back()), 0.0f);
    EXPECT_NEAR(std::abs(wave[120]), 0.5f, 1e-3f);
    for (std::size_t s = 0; s < tones.size(); ++s)
        EXPECT_NEAR(symbolFrequency(wave, s, 1920), tones[s] * 6.25, 0.03) << "symbol " << s;
}

TEST(Gfsk, Ft4RampSymbolsAndToneFrequencies) {
    const auto tones = ft4Tones(packMessage("CQ K1ABC FN42"));
    const auto wave = modulateGfsk(kFt4Form, tones);
    ASSERT_EQ(wave.size(), 105u * 576u);
    EXPECT_EQ(std::abs(wave.front()), 0.0f);
    EXPECT_NEAR(std::abs(wave[288]), 0.5f, 1e-2f);
    EXPECT_NEAR(std::abs(wave[576]), 1.0f, 1e-5f);
    // BT 1.0 smears a step over more of the symbol; its middle still reaches the tone
    for (std::size_t s = 0; s < tones.size(); ++s) {
        const std::size_t middle = (s + 1) * 576 + 288;
        const auto turn =
            std::complex<double>(wave[middle + 8]) * std::conj(std::complex<double>(wave[middle - 8]));
        EXPECT_NEAR(std::arg(turn) / (2.0 * std::numbers::pi) * 750.0, tones[s] * 12000.0 / 576.0, 0.6)
            << "symbol " << s;
    }
}

TEST(Gfsk, Ft8EnergyOutsideItsBandIsLow) {
    // The pulse keeps the spectrum narrow: less than -50 dB of the power outside -25 to +75 Hz.
    const auto wave = modulateGfsk(kFt8Form, ft8Tones(packMessage("K1ABC W9XYZ R+05")));
    // bins
    const std::size_t span = 12000;
    double inside = 0.0;
    double outside = 0.0;
    for (int bin = -300; bin <= 300; bin += 2) {
        std::complex<double> sum = 0.0;
        for (std::size_t i = 0; i < span; ++i) {
            const double window =
                0.5 - 0.5 * std::cos(2.0 * std::numbers::pi * static_cast<double>(i) / span);
            sum += window * std::complex<double>(wave[40000 + i]) *
                   std::polar(1.0, -2.0 * std::numbers::pi * bin * static_cast<double>(i) / 12000.0);
        }
        (bin >= -25 && bin <= 75 ? inside : outside) += std::norm(sum);
    }
    EXPECT_LT(10.0 * std::log10(outside / inside), -50.0);
}
