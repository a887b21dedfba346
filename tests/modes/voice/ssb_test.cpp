// The transmit chain of single sideband.
#include "modes/ssb_mod_demod.hpp"
#include "tests/modes/voice/voice_signals.hpp"

#include <cstdio>
#include <random>

namespace ferrow {
namespace {

using namespace test;

constexpr double kScale = 0.94;

class Ssb : public ::testing::Test {
protected:
    Runtime runtime;
    std::shared_ptr<ssbModDemod> mode = std::make_shared<ssbModDemod>(rootSyncTask);

    // Gain of a soft tone, far below the clipper, without the limiter's factor.
    double gainAt(double frequency, double amplitude = 0.1) {
        return level(sent(*mode, tones({{frequency, amplitude}}), 40), frequency) / amplitude / kScale;
    }
};

TEST_F(Ssb, BothFiltersStartWithTheBandFrom50To3100Hz) {
    for (const double frequency : {300.0, 1000.0, 2800.0})
        EXPECT_NEAR(gainAt(frequency), 0.707 * std::sqrt(2.0), 1e-3) << frequency;
    EXPECT_LT(gainAt(3400), 1e-5);
    const auto z = sent(*mode, tones({{1000, 0.1}}), 40);
    EXPECT_LT(level(z, -1000) / level(z, 1000), 1e-4);
}

// Both reversed filters turn the sign, so the phase is that of the plain band.
TEST_F(Ssb, TheReversedBandsCancelTheirSign) {
    const auto reversed = lineAt(sent(*mode, tones({{1000, 0.1}}), 40), 1000);
    mode->setTxFilter(-50, 3200);
    const auto plain = lineAt(sent(*mode, tones({{1000, 0.1}}), 40), 1000);
    EXPECT_NEAR(std::abs(reversed - plain), 0, 1e-4);
}

TEST_F(Ssb, ANegativeFilterSendsTheLowerSideband) {
    mode->setTxFilter(-2700, -300);
    const auto z = sent(*mode, tones({{1000, 0.5}}), 40);
    EXPECT_NEAR(level(z, -1000), 0.5 * kScale, 1e-3);
    EXPECT_LT(decibels(level(z, 1000) / level(z, -1000)), -100);
}

TEST_F(Ssb, TheChainStays100HzInsideOfTheFilter) {
    mode->setTxFilter(300, 2700);
    // The edges of both filters lie at 400 and 2600: a half each.
    EXPECT_NEAR(gainAt(400), 0.25, 0.01);
    EXPECT_NEAR(gainAt(2600), 0.25, 0.01);
    EXPECT_LT(gainAt(300), 0.003);
    EXPECT_LT(gainAt(2700), 0.003);
    EXPECT_NEAR(gainAt(600), 1, 1e-3);
    EXPECT_NEAR(gainAt(2400), 1, 1e-3);
}

TEST_F(Ssb, Compression1DoublesTheLevelIntoTheClipper) {
    mode->setTxFilter(200, 3000);
    // Half of a real tone passes the one-sided filter, so the doubled level is the tone's own.
    for (const double amplitude : {0.01, 0.1, 0.5, 0.99})
        EXPECT_NEAR(gainAt(1000, amplitude), 0.707 * std::sqrt(2.0), 1e-3) << amplitude;
}

TEST_F(Ssb, Compression0IsSilent) {
    mode->compression.set(0);
    EXPECT_EQ(largest(sent(*mode, tones({{1000, 1}}), 10)), 0);
}

TEST_F(Ssb, AClippedFullScaleToneLeavesAt094) {
    mode->setTxFilter(200, 3000);
    std::printf("compression   tone 0.1   tone 0.5   tone 1.0   (amplitude out)\n");
    for (const double compression : {0.0, 1.0, 4.0}) {
        mode->compression.set(compression);
        std::printf("%11.0f", compression);
        for (const double amplitude : {0.1, 0.5, 1.0}) {
            const auto z = sent(*mode, tones({{1000, amplitude}}), 40);
            const double expected = kScale * std::min(1.0, amplitude * compression * 0.707 * std::sqrt(2.0));
            EXPECT_NEAR(level(z, 1000), expected, 1e-3) << compression << " " << amplitude;
            EXPECT_LE(largest(z), kScale + 1e-6);
            std::printf("   %8.5f", level(z, 1000));
        }
        std::printf("\n");
    }
}

// What the clean-up filter grows back above 1 is brought down by twice its excess: no sample passes 0.94.
TEST_F(Ssb, TheLimiterHoldsEverythingBelow094) {
    mode->setTxFilter(200, 3000);
    mode->compression.set(20);
    std::vector<float> random(512 * 210);
    std::mt19937 generator(7);
    std::normal_distribution<float> normal(0, 0.3f);
    for (float& x : random)
        x = normal(generator);
    const auto z = sent(
        *mode, [&](std::size_t n) { return random[n]; }, 200);
    std::printf("noise at compression 20: largest magnitude %.6f\n", largest(z));
    EXPECT_LE(largest(z), kScale + 1e-6);
    EXPECT_GT(largest(z), 0.9);
}

TEST_F(Ssb, TheMicrophoneCurveIsTheGain) {
    const Application application(kBent);
    for (const auto& [low, high, sign] : {std::tuple{100, 3300, 1}, {-3300, -100, -1}}) {
        mode->setTxFilter(low, high);
        double worst = 0;
        for (double f = 400; f <= 3000; f += 137) {
            const double amplitude = 0.1;
            const double gain =
                level(sent(*mode, tones({{f, amplitude}}), 40), sign * f) / amplitude / kScale;
            const double point = sign > 0 ? f - kEarly : f;
            worst =
                std::max(worst, std::abs(decibels(gain / (0.707 * std::sqrt(2.0) * gainOf(kBent, point)))));
        }
        std::printf("microphone curve, %5d to %5d Hz: within %.3f dB\n", low, high, worst);
        EXPECT_LT(worst, 0.2); // the window rounds the corners
    }
}

TEST_F(Ssb, BothSignsAndZeroTakeTheirPointOfTheCurve) {
    const Application application(
        {{0, 1}, {64, 1}, {128, 1}, {300, 1}, {600, 1}, {601, 3}, {2400, 3}, {2401, 1}, {24000, 1}});
    mode->setTxFilter(-100, 4100); // 0 to 4000 Hz in the chain: the step at 600 and 2400 lies inside
    const double inside = gainAt(1500, 0.05), below = gainAt(400, 0.05), above = gainAt(3000, 0.05);
    EXPECT_NEAR(inside / below, 3, 0.01);
    EXPECT_NEAR(above / below, 1, 0.01);
    EXPECT_NEAR(below, 1, 0.01);
    mode->setTxFilter(-4100, 4100); // both signs and 0 itself
    const auto z = sent(*mode, tones({{1500, 0.05}}), 40);
    EXPECT_NEAR(level(z, 1500), level(z, -1500), 1e-3);
    EXPECT_NEAR(level(z, 1500), 3 * 0.05 * kScale * 0.9998, 2e-3);
}

TEST_F(Ssb, TheSwitchAndTheCurveWaitForTheNextSetTxFilter) {
    Application application(kFlat);
    mode->setTxFilter(200, 3100);
    const double before = gainAt(1200);
    application.bend(kBent);
    EXPECT_NEAR(gainAt(1200), before, 1e-4) << "a new curve alone";
    mode->setTxFilter(200, 3100);
    const double bent = gainAt(1200);
    EXPECT_NEAR(bent, 1.75, 0.06);
    mode->UseMicEQ.set(false);
    EXPECT_NEAR(gainAt(1200), bent, 1e-4) << "the switch alone";
    mode->setTxFilter(200, 3100);
    EXPECT_NEAR(gainAt(1200), before, 1e-3);
}

TEST_F(Ssb, OtherBlockSizesGiveSilence) {
    const Samples out(126, 1.0f);
    mode->modulate(Samples(126, 0.5f), out);
    for (const auto& sample : out)
        EXPECT_EQ(sample, std::complex<float>());
}

TEST_F(Ssb, ASampleThatIsNoNumberIsForgottenWithinTenBlocks) {
    const Samples bad(512, std::complex<float>(NAN, INFINITY)), out(512);
    mode->modulate(bad, out);
    const auto z = sent(*mode, tones({{1000, 0.1}}), 20, 10);
    EXPECT_NEAR(level(z, 1000), 0.1 * kScale, 1e-3);
}

} // namespace
} // namespace ferrow
