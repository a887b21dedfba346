#include "modes/ft8/frame.hpp"
#include "modes/ft8/ldpc.hpp"
#include "tests/modes/ft8/ft8_signal.hpp"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <random>

namespace {

using namespace ferrow::test;
using ferrow::BitMetrics;
using ferrow::CodewordBits;

CodewordBits bitsOf(const std::string& digits) {
    CodewordBits bits;
    for (std::size_t i = 0; i < bits.size(); ++i)
        bits[i] = static_cast<std::uint8_t>(digits[i] - '0');
    return bits;
}

// What the decoder should do, message by message, in double precision with exact hyperbolic functions
// replaced by the same rational ones.
int plainDecode(const std::vector<std::vector<int>>& checks, const BitMetrics& metrics, CodewordBits& bits) {
    const auto tanhOf = [](double x) {
        if (x < -4.97 || x > 4.97)
            return x < 0 ? -1.0 : 1.0;
        return x * (945 + x * x * (105 + x * x)) / (945 + x * x * (420 + 15 * x * x));
    };
    const auto atanhOf = [](double x) {
        return x * (945 + x * x * (-735 + 64 * x * x)) / (945 + x * x * (-1050 + 225 * x * x));
    };
    std::vector<std::vector<double>> toBit(checks.size(), std::vector<double>(7, 0.0));
    int least = 83;
    for (int iteration = 0; iteration < 25; ++iteration) {
        std::vector<double> total(metrics.begin(), metrics.end());
        for (std::size_t c = 0; c < checks.size(); ++c)
            for (std::size_t j = 0; j < checks[c].size(); ++j)
                total[static_cast<std::size_t>(checks[c][j])] += toBit[c][j];
        for (std::size_t i = 0; i < bits.size(); ++i)
            bits[i] = total[i] > 0;
        int errors = 0;
        for (const std::vector<int>& check : checks) {
            int parity = 0;
            for (const int bit : check)
                parity ^= bits[static_cast<std::size_t>(bit)];
            errors += parity;
        }
        least = std::min(least, errors);
        if (errors == 0)
            return 0;
        for (std::size_t c = 0; c < checks.size(); ++c) {
            std::vector<double> t;
            for (std::size_t j = 0; j < checks[c].size(); ++j)
                t.push_back(tanhOf(-0.5 * (total[static_cast<std::size_t>(checks[c][j])] - toBit[c][j])));
            for (std::size_t j = 0; j < t.size(); ++j) {
                double product = 1.0;
                for (std::size_t other = 0; other < t.size(); ++other)
                    if (other != j)
                        product *= t[other];
                toBit[c][j] = 2.0 * atanhOf(-product);
            }
        }
    }
    return least;
}

BitMetrics noisyMetrics(const CodewordBits& bits, double sigma, std::mt19937_64& random) {
    std::normal_distribution<double> noise(0.0, sigma);
    BitMetrics metrics;
    for (std::size_t i = 0; i < metrics.size(); ++i)
        metrics[i] = static_cast<float>((bits[i] ? 1.0 : -1.0) + noise(random)) * 4.0f;
    return metrics;
}

TEST(Ldpc, TablesAreThePublishedOnesInBothDirections) {
    const auto byBit = readTable("ldpc_174_91_bits.txt");
    const auto byCheck = readTable("ldpc_174_91_checks.txt");
    ASSERT_EQ(byBit.size(), 174u);
    ASSERT_EQ(byCheck.size(), 83u);
    for (std::size_t bit = 0; bit < 174; ++bit)
        for (std::size_t k = 0; k < 3; ++k)
            EXPECT_EQ(ferrow::kLdpcBitChecks[bit][k], byBit[bit][k]);
    int edges = 0;
    for (std::size_t check = 0; check < 83; ++check) {
        ASSERT_EQ(ferrow::kLdpcCheckSizes[check], byCheck[check].size());
        for (std::size_t j = 0; j < byCheck[check].size(); ++j, ++edges) {
            EXPECT_EQ(ferrow::kLdpcCheckBits[check][j], byCheck[check][j]);
            const auto& checks = byBit[static_cast<std::size_t>(byCheck[check][j])];
            EXPECT_EQ(std::count(checks.begin(), checks.end(), static_cast<int>(check)), 1);
        }
    }
    EXPECT_EQ(edges, 522);
    // The anchors, which count from 1.
    EXPECT_EQ(byBit[0], (std::vector<int>{16 - 1, 45 - 1, 73 - 1}));
    EXPECT_EQ(byCheck[0], (std::vector<int>{4 - 1, 31 - 1, 59 - 1, 91 - 1, 92 - 1, 96 - 1, 153 - 1}));
}

TEST(Ldpc, PublishedCodewordsHaveNoParityErrorsAndEveryFlippedBitThree) {
    for (const Mode mode : {Mode::Ft8, Mode::Ft4})
        for (const Vector& vector : readVectors(mode)) {
            CodewordBits bits = bitsOf(vector.codeword);
            EXPECT_EQ(ferrow::countParityErrors(bits), 0) << vector.message;
            for (std::uint8_t& bit : bits) {
                bit ^= 1;
                EXPECT_EQ(ferrow::countParityErrors(bits), 3);
                bit ^= 1;
            }
        }
}

TEST(Ldpc, DecodesWhatAPlainDecoderDecodes) {
    const auto checks = readTable("ldpc_174_91_checks.txt");
    const std::vector<Vector> vectors = readVectors(Mode::Ft8);
    std::mt19937_64 random(1);
    int decoded = 0;
    int differing = 0;
    const int trials = 600;
    for (int trial = 0; trial < trials; ++trial) {
        const CodewordBits sent = bitsOf(vectors[static_cast<std::size_t>(trial) % vectors.size()].codeword);
        const BitMetrics metrics = noisyMetrics(sent, 0.55 + 0.1 * (trial % 4), random);
        CodewordBits bits;
        CodewordBits plain;
        const int errors = ferrow::beliefPropagate(metrics, bits);
        const int plainErrors = plainDecode(checks, metrics, plain);
        decoded += errors == 0;
        // Single and double precision part ways only where the last iterations decide.
        if ((errors == 0) != (plainErrors == 0) || (errors == 0 && bits != plain))
            ++differing;
        if (errors == 0) {
            EXPECT_EQ(ferrow::countParityErrors(bits), 0);
        }
    }
    EXPECT_GT(decoded, trials / 4);
    EXPECT_LT(decoded, trials);
    EXPECT_LE(differing, trials / 100);
}

TEST(Ldpc, HopelessMetricsKeepTheirErrorsAndOddOnesDoNoHarm) {
    std::mt19937_64 random(2);
    CodewordBits bits;
    BitMetrics metrics;
    int failed = 0;
    for (int trial = 0; trial < 50; ++trial) {
        for (float& metric : metrics)
            metric = static_cast<float>(static_cast<int>(random() % 2001) - 1000) / 100.0f;
        const int errors = ferrow::beliefPropagate(metrics, bits);
        EXPECT_GE(errors, 0);
        EXPECT_LE(errors, 83);
        failed += errors > 0;
    }
    EXPECT_EQ(failed, 50);
    metrics.fill(std::nanf(""));
    EXPECT_EQ(ferrow::beliefPropagate(metrics, bits), 0);
    EXPECT_EQ(std::count(bits.begin(), bits.end(), 0), 174);
    metrics.fill(INFINITY);
    EXPECT_GE(ferrow::beliefPropagate(metrics, bits), 0);
}

TEST(Ldpc, TanhAndAtanhAreTheRationalOnes) {
    for (float x = -4.9f; x < 4.95f; x += 0.1f)
        EXPECT_NEAR(ferrow::fastTanh(x), std::tanh(x), 0.008) << x;
    EXPECT_EQ(ferrow::fastTanh(4.98f), 1.0f);
    EXPECT_EQ(ferrow::fastTanh(-4.98f), -1.0f);
    EXPECT_FLOAT_EQ(ferrow::fastTanh(1.0f), 1051.0f / 1380.0f);
    for (float x = -0.9f; x < 0.95f; x += 0.1f)
        EXPECT_NEAR(ferrow::fastAtanh(x), std::atanh(x), 0.03) << x;
    EXPECT_FLOAT_EQ(ferrow::fastAtanh(1.0f), 274.0f / 120.0f) << "finite at one";
    EXPECT_FLOAT_EQ(ferrow::fastAtanh(-1.0f), -274.0f / 120.0f);
}

TEST(Frame, PackedBitsCrcAndPayloadOfThePublishedCodewords) {
    for (const Mode mode : {Mode::Ft8, Mode::Ft4})
        for (const Vector& vector : readVectors(mode)) {
            const CodewordBits bits = bitsOf(vector.codeword);
            auto bytes = ferrow::packBits(bits);
            EXPECT_EQ(bytes[11] & 31, 0) << "91 bits and no more";
            for (std::size_t i = 0; i < 91; ++i)
                EXPECT_EQ((bytes[i / 8] >> (7 - i % 8)) & 1, bits[i]);
            bytes[9] &= 0xF8;
            bytes[10] = bytes[11] = 0;
            EXPECT_EQ(ferrow::crc14(bytes.data(), 82), std::stoi(vector.crc, nullptr, 16));
            const auto payload = ferrow::unpackFrame(bits, ferrow::ft8Variant(static_cast<int>(mode)));
            ASSERT_TRUE(payload);
            EXPECT_EQ(hex(payload->data(), payload->size()), vector.payload);
        }
}

TEST(Frame, AWrongCrcDropsTheFrame) {
    const Vector vector = readVectors(Mode::Ft8)[0];
    const CodewordBits good = bitsOf(vector.codeword);
    for (std::size_t i = 0; i < 91; ++i) {
        CodewordBits bad = good;
        bad[i] ^= 1;
        EXPECT_FALSE(ferrow::unpackFrame(bad, ferrow::ft8Variant(8))) << i;
    }
    CodewordBits parity = good;
    parity[120] ^= 1;
    EXPECT_TRUE(ferrow::unpackFrame(parity, ferrow::ft8Variant(8))) << "parity bits are not kept";
    EXPECT_FALSE(ferrow::unpackFrame(CodewordBits{}, ferrow::ft8Variant(8))) << "all zero";
}

TEST(BitMetrics, GrayMapVarianceAndLevel) {
    for (const Mode mode : {Mode::Ft8, Mode::Ft4}) {
        const Vector vector = readVectors(mode)[4];
        const bool ft8 = mode == Mode::Ft8;
        ferrow::Waterfall grid{ft8 ? 92 : 154, 20, 2, 2, 0, nullptr};
        std::vector<std::uint8_t> memory(grid.magnitudeCount(), 40);
        grid.mag = memory.data();
        ferrow::SyncCandidate candidate{0, -3, 6, 1, 1, -1};
        int lowest = 0;
        int symbols = 0;
        std::mt19937_64 random(3);
        for (std::size_t s = 0; s < vector.tones.size(); ++s) {
            const int block = -3 + static_cast<int>(s);
            if (block < 0)
                continue;
            std::uint8_t* tones = grid.mag + ((block * 2 + 1) * 2 + 1) * 20 + 6;
            for (int t = 0; t < (ft8 ? 8 : 4); ++t)
                tones[t] = static_cast<std::uint8_t>(40 + random() % 20);
            tones[vector.tones[s] - '0'] = static_cast<std::uint8_t>(90 + random() % 40);
            const bool sync = ft8 ? (s % 36 < 7) : (s % 33 < 4);
            if (!sync) {
                lowest += tones[0];
                ++symbols;
            }
        }
        ferrow::BitMetrics metrics;
        ferrow::extractBitMetrics(grid, ferrow::ft8Variant(static_cast<int>(mode)), candidate, metrics);
        double sum = 0.0;
        double sum2 = 0.0;
        for (std::size_t i = 0; i < metrics.size(); ++i) {
            EXPECT_EQ(metrics[i] > 0, vector.codeword[i] == '1') << i;
            sum += metrics[i];
            sum2 += metrics[i] * metrics[i];
        }
        EXPECT_NEAR(sum2 / 174.0 - sum / 174.0 * sum / 174.0, 16.0, 1e-3);
        EXPECT_EQ(symbols, ft8 ? 58 : 87);
        EXPECT_EQ(candidate.level, lowest / symbols);
    }
}

} // namespace
