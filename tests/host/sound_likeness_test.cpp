#include "host/failure.hpp"
#include "host/sound_likeness.hpp"

#include <cmath>
#include <complex>
#include <gtest/gtest.h>
#include <numbers>
#include <random>

using namespace ferrow;

namespace {

constexpr double kTwoPi = 2 * std::numbers::pi;

// A loop of 2.5 s made of tones of a whole number of cycles, which can be had from any place and at any rate.
struct Loop {
    static constexpr double kSeconds = 2.5;
    struct Tone {
        int cycles;
        double amplitude, phase;
    };
    std::vector<Tone> tones;

    explicit Loop(unsigned seed = 7) {
        std::mt19937 random(seed);
        std::uniform_real_distribution<double> part(0, 1);
        for (int cycles = 800; cycles < 7000; cycles += 20 + static_cast<int>(60 * part(random)))
            tones.push_back({cycles, 0.03 * part(random), kTwoPi * part(random)});
    }
    // From `offset` seconds on, every component's phase turned by `turn` as by a receiver of single sideband.
    std::vector<float> samples(double offset, double turn, int rate, double seconds) const {
        std::vector<float> result(static_cast<std::size_t>(std::lround(seconds * rate)));
        for (const Tone& tone : tones) {
            const double hertz = tone.cycles / kSeconds;
            const std::complex<double> step = std::polar(1.0, kTwoPi * hertz / rate);
            std::complex<double> x = std::polar(tone.amplitude, kTwoPi * hertz * offset + tone.phase + turn);
            for (float& sample : result) {
                sample += static_cast<float>(x.real());
                x *= step;
            }
        }
        return result;
    }
    Sound sound() const { return {12000, samples(0, 0, 12000, kSeconds)}; }
    std::vector<float> recording(double offset, double turn, double noise, double seconds = 4) const {
        std::mt19937 random(9);
        std::normal_distribution<double> gauss(0, 1);
        auto result = samples(offset, turn, 48000, seconds);
        if (noise > 0)
            for (float& sample : result)
                sample += static_cast<float>(noise * gauss(random));
        return result;
    }
};

} // namespace

TEST(Likeness, IsOneForTheSameSoundAndFindsItsPlace) {
    const Loop loop;
    const Likeness likeness = compareWithLoop(loop.recording(1.23456, 0, 0), loop.sound(), 400, 2600, false);
    EXPECT_GT(likeness.correlation, 0.999);
    // The filters start to answer in their middle, so both are late by the same time.
    EXPECT_NEAR(likeness.offset, 1.23456, 2e-5);
    EXPECT_NEAR(likeness.seconds, 3.96, 0.01);
}

TEST(Likeness, ATurnedPhaseCountsOnlyWhereItMayBeHeard) {
    const Loop loop;
    const auto turned = loop.recording(0.7, kTwoPi / 4, 0);
    EXPECT_GT(compareWithLoop(turned, loop.sound(), 400, 2600, true).correlation, 0.999);
    EXPECT_LT(compareWithLoop(turned, loop.sound(), 400, 2600, false).correlation, 0.9)
        << "a shift in time makes up for a part of it";
}

TEST(Likeness, FallsWithNoiseAsItMust) {
    const Loop loop;
    double power = 0; // of the tones in the band
    for (const auto& tone : loop.tones)
        if (tone.cycles / Loop::kSeconds > 400 && tone.cycles / Loop::kSeconds < 2600)
            power += tone.amplitude * tone.amplitude / 2;
    for (const double snr : {1.0, 4.0}) { // ratio of powers in the band
        const double noise = std::sqrt(power / snr * 24000 / 2200);
        const double expected = std::sqrt(snr / (1 + snr));
        const auto recording = loop.recording(0.5, 0, noise);
        EXPECT_NEAR(compareWithLoop(recording, loop.sound(), 400, 2600, false).correlation, expected, 0.03);
    }
}

TEST(Likeness, IsSmallForSomethingElse) {
    const Loop loop;
    const Loop other(8);
    EXPECT_LT(compareWithLoop(other.recording(0, 0, 0), loop.sound(), 400, 2600, true).correlation, 0.4);
    EXPECT_EQ(compareWithLoop(std::vector<float>(100000), loop.sound(), 400, 2600, true).correlation, 0);
}

TEST(Likeness, TooLittleIsNothing) {
    const Loop loop;
    EXPECT_EQ(compareWithLoop({}, loop.sound(), 400, 2600, true).correlation, 0);
    EXPECT_EQ(compareWithLoop(loop.recording(0, 0, 0, 0.5), loop.sound(), 400, 2600, true).correlation, 0);
    EXPECT_EQ(compareWithLoop(loop.recording(0, 0, 0), {12000, {}}, 400, 2600, true).correlation, 0);
    EXPECT_THROW(compareWithLoop({}, {8000, {}}, 400, 2600, true), Failure);
}
