// Transmission of AM.
#include "modes/am_mod_demod.hpp"
#include "tests/modes/voice/voice_signals.hpp"

#include <cstdio>

namespace ferrow {
namespace {

using namespace test;

constexpr double kCarrier = 0.35355339;
constexpr double kFull = 0.97 * 0.48;

class Am : public ::testing::Test {
protected:
    Runtime runtime;

    // Gain of the audio of a soft tone, 1 when it comes out as deep as it went in.
    static double gainAt(modDemod& mode, double frequency, double amplitude = 0.1) {
        std::vector<double> audio;
        for (const auto& z : sent(mode, tones({{frequency, amplitude}}), 40))
            audio.push_back(z.real() - kCarrier);
        return toneLevel(audio, frequency) / amplitude / kFull / (0.707 * std::sqrt(2.0));
    }
};

TEST_F(Am, AZeroInputGivesTheCarrierAlone) {
    const auto mode = std::make_shared<amModDemod>(rootSyncTask);
    for (const auto& z : sent(*mode, silence(), 5, 0)) {
        EXPECT_FLOAT_EQ(static_cast<float>(z.real()), 0.35355339f);
        EXPECT_FLOAT_EQ(static_cast<float>(z.imag()), 0.35355339f);
        EXPECT_NEAR(std::abs(z), 0.5, 1e-7);
    }
}

TEST_F(Am, AFullPeakOf097Gives08191InTheRealPartOnly) {
    const auto mode = std::make_shared<amModDemod>(rootSyncTask);
    mode->compression.set(4);
    const auto z = sent(*mode, tones({{997, 1}}), 40); // meets every phase
    double most = 0, least = 1;
    for (const auto& sample : z) {
        most = std::max(most, sample.real());
        least = std::min(least, sample.real());
        ASSERT_FLOAT_EQ(static_cast<float>(sample.imag()), 0.35355339f);
    }
    EXPECT_NEAR(most, 0.8191, 2e-4);
    EXPECT_NEAR(least, kCarrier - kFull, 2e-4);
    std::printf("full scale, compression 4: real part %.4f to %.4f\n", least, most);
}

TEST_F(Am, CompressionIsTheGainIntoTheClipper) {
    const auto mode = std::make_shared<amModDemod>(rootSyncTask);
    EXPECT_NEAR(gainAt(*mode, 1000), 1, 2e-3);
    mode->compression.set(4);
    EXPECT_NEAR(gainAt(*mode, 1000), 4, 8e-3);
    EXPECT_NEAR(gainAt(*mode, 1000, 1.0) * 0.9998, 1, 2e-3) << "clipped";
    mode->compression.set(0);
    EXPECT_NEAR(gainAt(*mode, 1000), 0, 1e-12);
}

TEST_F(Am, SetTxFilterHasNoEffect) {
    const auto mode = std::make_shared<amModDemod>(rootSyncTask);
    mode->setTxFilter(500, 700);
    for (const double f : {400.0, 1000.0, 2700.0})
        EXPECT_NEAR(gainAt(*mode, f), 1, 2e-3) << f;
    EXPECT_LT(gainAt(*mode, 3300), 1e-4);
}

TEST_F(Am, TheBandReachesDownTo150Hz) {
    const auto mode = std::make_shared<amModDemod>(rootSyncTask);
    // Each of the three filters has its edge at 150: half of the amplitude.
    EXPECT_NEAR(gainAt(*mode, 150), 0.125, 0.02);
    EXPECT_NEAR(gainAt(*mode, 3000), 0.125, 0.02);
}

TEST_F(Am, TheCurveActsFrom300To3000HzOnly) {
    const Curve doubled{{0, 2},    {64, 2},   {128, 2},  {300, 2},  {600, 2},
                        {1200, 2}, {2400, 2}, {4800, 2}, {24000, 2}};
    const Application application(doubled);
    const auto mode = std::make_shared<amModDemod>(rootSyncTask);
    EXPECT_NEAR(gainAt(*mode, 1000), 2, 4e-3);
    EXPECT_NEAR(gainAt(*mode, 2500), 2, 4e-3);
    // Filters of the band itself stand at 0.9 here; the curve's 2 does not.
    EXPECT_LT(gainAt(*mode, 220), 1.05);
}

TEST_F(Am, TheCurveIsTheGain) {
    const Application application(kBent);
    const auto mode = std::make_shared<amModDemod>(rootSyncTask);
    double worst = 0;
    for (double f = 500; f <= 2800; f += 139)
        worst = std::max(worst, std::abs(decibels(gainAt(*mode, f) / gainOf(kBent, f - kEarly))));
    std::printf("microphone curve: within %.3f dB\n", worst);
    EXPECT_LT(worst, 0.1);
}

TEST_F(Am, ANewCurveIsHeardDuringTheTransmission) {
    Application application(kFlat);
    const auto mode = std::make_shared<amModDemod>(rootSyncTask);
    EXPECT_NEAR(gainAt(*mode, 1200), 1, 2e-3);
    application.bend(kBent);
    sent(*mode, silence(), 1, 0); // notices
    settle(mode->context());
    EXPECT_NEAR(gainAt(*mode, 1200), 1.75, 0.06);
    application.bend(kFlat);
    sent(*mode, silence(), 1, 0);
    settle(mode->context());
    EXPECT_NEAR(gainAt(*mode, 1200), 1, 2e-3) << "and the next one";
}

TEST_F(Am, AnApplicationThatComesLaterIsFoundAtThePress) {
    const auto mode = std::make_shared<amModDemod>(rootSyncTask);
    const Application application(kBent);
    EXPECT_NEAR(gainAt(*mode, 1200), 1, 2e-3);
    mode->setPtt(true);
    EXPECT_NEAR(gainAt(*mode, 1200), 1.75, 0.06);
}

TEST_F(Am, TheCurveOfAnApplicationThatHasGoneStays) {
    auto application = std::make_unique<Application>(kBent);
    const auto mode = std::make_shared<amModDemod>(rootSyncTask);
    application.reset();
    EXPECT_NEAR(gainAt(*mode, 1200), 1.75, 0.06);
}

// Its own receiver hears what it sends.
TEST_F(Am, ReceptionHearsTheTransmission) {
    const auto mode = std::make_shared<amModDemod>(rootSyncTask);
    std::vector<double> audio;
    Samples block(512);
    for (std::size_t n = 0; n < 60; ++n) {
        mode->modulate(microphoneBlock(tones({{1000, 0.5}}), n), block);
        const auto heard = mode->demodulate(block);
        ASSERT_EQ(heard.size(), 512u);
        if (n >= 20)
            audio.insert(audio.end(), heard.begin(), heard.end());
    }
    // Only the real part moves: the magnitude follows with the cosine of 45 degrees.
    EXPECT_NEAR(toneLevel(audio, 1000), 0.5 * kFull / std::sqrt(2.0), 0.01);
}

} // namespace
} // namespace ferrow
