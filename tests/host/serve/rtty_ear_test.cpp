// Radioteletype out of sound.
#include "host/serve/rtty_ear.hpp"

#include <cmath>
#include <gtest/gtest.h>
#include <numbers>
#include <random>
#include <vector>

using namespace ferrow::serve;

namespace {

constexpr double kLower = 1500, kShift = 170, kElement = 48000 / 45.45;

// Units of a character, the first one the lowest bit: a few of the published table.
struct Code {
    char character;
    int bits;
    bool figure;
};
constexpr Code kCodes[] = {{'R', 10, false}, {'Y', 21, false}, {'C', 14, false}, {'Q', 23, false}, {' ', 4, false},
                           {'D', 9, false},  {'E', 1, false},  {'K', 15, false}, {'1', 23, true},  {'A', 3, false},
                           {'B', 25, false}, {'5', 16, true},  {'9', 24, true},  {'/', 29, true}};

// Marks and spaces of a text, each a number of samples, with half a second of mark before and behind.
std::vector<bool> keying(const std::string& text) {
    std::vector<bool> marks(24000, true);
    double edge = 24000;
    const auto hold = [&](bool mark, double elements) {
        edge += elements * kElement;
        marks.resize(static_cast<std::size_t>(edge), mark);
    };
    const auto send = [&](int bits) {
        hold(false, 1);
        for (int i = 0; i < 5; ++i)
            hold((bits >> i & 1) != 0, 1);
        hold(true, 1.5);
    };
    bool figures = false;
    for (const char c : text) {
        for (const Code& code : kCodes) {
            if (code.character != c)
                continue;
            if (c != ' ' && code.figure != figures) {
                figures = code.figure;
                send(figures ? 27 : 31);
            }
            send(code.bits);
            if (c == ' ' && figures) // receivers go back by themselves
                figures = false;
        }
    }
    hold(true, 22);
    return marks;
}

std::string read(const std::vector<bool>& marks, double noise, bool reversed, double offset = 0) {
    std::mt19937 random(7);
    std::normal_distribution<float> gauss(0, static_cast<float>(noise) + 1e-9F);
    std::vector<float> sound;
    double phase = 0;
    for (const bool mark : marks) {
        phase += 2 * std::numbers::pi * (kLower + offset + (mark != reversed ? kShift : 0)) / 48000;
        sound.push_back(0.3F * static_cast<float>(std::sin(phase)) + gauss(random));
    }
    RttyEar ear;
    ear.setLowerTone(kLower);
    std::string text;
    for (std::size_t i = 0; i < sound.size(); i += 512)
        text += ear.process(std::span(sound).subspan(i, std::min<std::size_t>(512, sound.size() - i)));
    return text;
}

const std::string kText = "RYRYRY CQ DE K1ABC K1ABC 599 A/B K";

} // namespace

TEST(RttyEar, ReadsLettersAndFigures) {
    EXPECT_EQ(read(keying(kText), 0, false), kText);
}

// Ten decibels in 500 Hz: a sine of 0.3 against noise spread over 24 kHz.
TEST(RttyEar, ReadsThroughNoise) {
    const double noise = std::sqrt(0.045 / 10 * 24000 / 500);
    EXPECT_EQ(read(keying(kText), noise, false), kText);
}

TEST(RttyEar, ATuningSlightlyOffIsNoMatter) {
    EXPECT_EQ(read(keying(kText), 0, false, 15), kText);
    EXPECT_EQ(read(keying(kText), 0, false, -15), kText);
}

// The sense is known once some characters have failed in the other one.
TEST(RttyEar, FindsTheSense) {
    const std::string text = read(keying("RYRYRYRYRYRYRYRYRYRYRY " + kText), 0, true);
    EXPECT_TRUE(text.ends_with(kText)) << text;
}

TEST(RttyEar, NoiseAndSteadyTonesSayLittle) {
    EXPECT_EQ(read(std::vector<bool>(480000, true), 0, false), "");
    EXPECT_EQ(read(std::vector<bool>(480000, false), 0, false), "");
    std::mt19937 random(3);
    std::normal_distribution<float> gauss(0, 0.2F);
    std::vector<float> sound(480000);
    for (float& sample : sound)
        sample = gauss(random);
    RttyEar ear;
    ear.setLowerTone(kLower);
    EXPECT_LT(ear.process(sound).size(), 10U) << "of about 60 characters' time";
}
