#include "modes/psk/qpsk_code.hpp"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <numbers>
#include <random>
#include <vector>

namespace ferrow {
namespace {

constexpr double kPi = std::numbers::pi;

// Phase change in quarter turns by the published generators 10111 and 11001.
int quarterTurns(unsigned lastFive) {
    constexpr int kTurns[2][2] = {{2, 3}, {0, 1}};
    return kTurns[std::popcount(lastFive & 0b11001) % 2][std::popcount(lastFive & 0b10111) % 2];
}

// The receiver's angle of a phase change: 3 pi / 2 without one, rising with it, within 0 to 2 pi.
double angleOf(double turns) {
    return std::fmod(3 * kPi / 2 + turns * kPi / 2, 2 * kPi);
}

TEST(QpskCode, SymbolsAreThoseOfTheGenerators) {
    for (unsigned last = 0; last < 32; ++last)
        EXPECT_EQ(kQpskSymbols[last], quarterTurns(last)) << last;
}

struct Coded {
    std::vector<int> bits;
    std::vector<double> angles;
};

Coded randomBits(std::size_t count, unsigned seed) {
    std::mt19937 random(seed);
    Coded coded;
    unsigned last = 0;
    for (std::size_t n = 0; n < count; ++n) {
        coded.bits.push_back(static_cast<int>(random() & 1));
        last = last << 1 | static_cast<unsigned>(coded.bits.back());
        coded.angles.push_back(angleOf(quarterTurns(last & 31)));
    }
    return coded;
}

TEST(QpskCode, DecodesTwentySymbolsLater) {
    const Coded coded = randomBits(500, 3);
    QpskDecoder decoder;
    for (std::size_t n = 0; n < coded.angles.size(); ++n) {
        const bool bit = decoder.decode(coded.angles[n]);
        if (n >= 20) {
            ASSERT_EQ(bit, coded.bits[n - 20] != 0) << n;
        }
    }
}

TEST(QpskCode, SingleWrongSymbolsAreCorrected) {
    Coded coded = randomBits(600, 4);
    for (std::size_t n = 40; n < 580; n += 30)
        coded.angles[n] = std::fmod(coded.angles[n] + kPi / 2, 2 * kPi);
    QpskDecoder decoder;
    int wrong = 0;
    for (std::size_t n = 0; n < coded.angles.size(); ++n) {
        const bool bit = decoder.decode(coded.angles[n]);
        wrong += n >= 20 && bit != (coded.bits[n - 20] != 0) ? 1 : 0;
    }
    EXPECT_EQ(wrong, 0);
}

TEST(QpskCode, NoisyAnglesAreRead) {
    Coded coded = randomBits(2000, 5);
    std::mt19937 random(6);
    std::normal_distribution<double> noise(0, 0.35);
    int slices = 0; // that a decision symbol by symbol would get wrong
    for (double& angle : coded.angles) {
        const double error = noise(random);
        slices += std::abs(error) > kPi / 4 ? 1 : 0;
        angle = std::fmod(angle + error + 2 * kPi, 2 * kPi);
    }
    QpskDecoder decoder;
    int wrong = 0;
    for (std::size_t n = 0; n < coded.angles.size(); ++n) {
        const bool bit = decoder.decode(coded.angles[n]);
        wrong += n >= 20 && bit != (coded.bits[n - 20] != 0) ? 1 : 0;
    }
    EXPECT_GT(slices, 20);
    EXPECT_LT(wrong, slices / 2);
}

TEST(QpskCode, AResetDecoderAnswersAsAfterASteadyCarrier) {
    QpskDecoder decoder;
    const Coded coded = randomBits(200, 7);
    for (const double angle : coded.angles)
        decoder.decode(angle);
    decoder.reset();
    QpskDecoder fresh;
    for (const double angle : coded.angles)
        ASSERT_EQ(decoder.decode(angle), fresh.decode(angle));
    fresh.reset();
    for (int n = 0; n < 20; ++n)
        EXPECT_TRUE(fresh.decode(3 * kPi / 2)); // no change is a row of ones
}

TEST(QpskCode, AnglesAtBothEndsOfTheCircleAreOneSymbol) {
    // Plus 90 degrees lies where the angle wraps.
    const Coded coded = randomBits(300, 8);
    for (const double shift : {-0.2, 0.2}) {
        QpskDecoder decoder;
        int wrong = 0;
        for (std::size_t n = 0; n < coded.angles.size(); ++n) {
            const double angle = std::fmod(coded.angles[n] + shift + 2 * kPi, 2 * kPi);
            wrong += decoder.decode(angle) != (coded.bits[n < 20 ? 0 : n - 20] != 0) && n >= 20 ? 1 : 0;
        }
        EXPECT_EQ(wrong, 0) << shift;
    }
}

} // namespace
} // namespace ferrow
