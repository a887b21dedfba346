// Settings that no host should make: whatever they are, what leaves is a number within bounds, and sound
// settings work again afterwards.
#include "modes/am_mod_demod.hpp"
#include "modes/fm_mod_demod.hpp"
#include "modes/sig_gen_mod_demod.hpp"
#include "modes/ssb_mod_demod.hpp"
#include "tests/modes/voice/voice_signals.hpp"

#include <limits>
#include <random>

namespace ferrow {
namespace {

using namespace test;

constexpr double kInf = std::numeric_limits<double>::infinity();
const std::vector<double> kOdd{0,   -1,  1e-310, -1e-310, 1,     1e300, -1e300, kInf, -kInf,
                               NAN, 0.5, -75000, 11999,   12000, 1e9,   -1e9,   88.5, 1e-3};

class Settings : public ::testing::Test {
protected:
    Runtime runtime;
    std::mt19937 random{11};
    double odd() { return kOdd[random() % kOdd.size()]; }

    static void expectBounded(modDemod& mode, double bound) {
        for (const auto& z : sent(mode, tones({{700, 0.6}, {1900, 0.4}}), 3, 0)) {
            ASSERT_TRUE(std::isfinite(z.real()) && std::isfinite(z.imag()));
            ASSERT_LE(std::abs(z), bound);
        }
    }
    static void expectNumbers(const buff<float>& audio) {
        for (const float x : audio)
            ASSERT_TRUE(std::isfinite(x));
    }
};

TEST_F(Settings, FmStaysWithinItsEnvelope) {
    const auto mode = std::make_shared<fmModDemod>(rootSyncTask);
    const Samples block = toBuff(noise(512));
    for (int round = 0; round < 150; ++round) {
        mode->compression.set(odd());
        mode->deviation.set(odd());
        mode->CTCSS.set(odd());
        mode->MaxDeviation.set(odd());
        mode->Stereo.set(round % 2 == 0);
        expectBounded(*mode, 0.99001);
        const auto audio = mode->demodulate(block);
        EXPECT_EQ(audio.size(), mode->sampleRate() == 48000 ? 512u : 128u);
        expectNumbers(audio);
    }
    mode->compression.set(1);
    mode->deviation.set(5000);
    mode->CTCSS.set(0);
    const auto z = sent(*mode, tones({{1000, 1}}), 40);
    std::vector<double> hertz;
    for (std::size_t n = 1; n < z.size(); ++n)
        hertz.push_back(-std::arg(z[n] * std::conj(z[n - 1])) * 48000 / kTau);
    EXPECT_NEAR(toneLevel(hertz, 1000), 4850, 50);
}

TEST_F(Settings, FmWithoutADeviationIsSilent) {
    const auto mode = std::make_shared<fmModDemod>(rootSyncTask);
    const Samples block = toBuff(noise(512));
    for (const double none : {0.0, 0.5, -0.5, static_cast<double>(NAN)}) {
        mode->deviation.set(none);
        for (int i = 0; i < 4; ++i)
            mode->demodulate(block);
        for (const float x : mode->demodulate(block))
            ASSERT_EQ(x, 0) << none;
    }
}

TEST_F(Settings, FmForgetsSamplesThatAreNoNumbers) {
    const auto mode = std::make_shared<fmModDemod>(rootSyncTask);
    mode->Stereo.set(true);
    mode->demodulate(Samples(512, std::complex<float>(NAN, 1)));
    mode->demodulate(Samples(512, std::complex<float>(INFINITY, -INFINITY)));
    for (int i = 0; i < 4; ++i)
        expectNumbers(mode->demodulate(toBuff(noise(512))));
}

TEST_F(Settings, SsbNeverLeavesItsScale) {
    const auto mode = std::make_shared<ssbModDemod>(rootSyncTask);
    const int edges[] = {
        0, -3000, 3000, 300, std::numeric_limits<int>::max(), std::numeric_limits<int>::min(), 24000};
    for (int round = 0; round < 60; ++round) {
        mode->compression.set(odd());
        mode->UseMicEQ.set(round % 3 != 0);
        mode->setTxFilter(edges[random() % 7], edges[random() % 7]);
        expectBounded(*mode, 0.94001);
    }
    mode->compression.set(1);
    mode->setTxFilter(200, 3000);
    EXPECT_NEAR(level(sent(*mode, tones({{1000, 0.1}}), 40), 1000), 0.094, 1e-3);
}

TEST_F(Settings, ACurveOfOddGainsDoesNoHarm) {
    Application application(kFlat);
    const auto ssb = std::make_shared<ssbModDemod>(rootSyncTask);
    const auto am = std::make_shared<amModDemod>(rootSyncTask);
    const auto fm = std::make_shared<fmModDemod>(rootSyncTask);
    for (int round = 0; round < 12; ++round) {
        Curve curve = kFlat;
        for (auto& [frequency, gain] : curve) {
            if (random() % 3 == 0)
                frequency = odd();
            gain = odd();
        }
        application.bend(curve);
        ssb->setTxFilter(100, 3000);
        am->setPtt(true);
        fm->setPtt(true);
        expectBounded(*ssb, 0.94001);
        expectBounded(*am, 1.2);
        expectBounded(*fm, 0.99001);
    }
}

TEST_F(Settings, AmStaysNearItsScale) {
    const auto mode = std::make_shared<amModDemod>(rootSyncTask);
    for (int round = 0; round < 60; ++round) {
        mode->compression.set(odd());
        expectBounded(*mode, 1.2); // the last filter may add to the limiter's 0.97
    }
    mode->compression.set(0);
    for (const auto& z : sent(*mode, tones({{700, 1}}), 2, 15))
        ASSERT_NEAR(z.real(), 0.35355339, 1e-6);
}

TEST_F(Settings, TheGeneratorsLevelsAreBounded) {
    sigGenModDemod mode(rootSyncTask);
    for (int round = 0; round < 200; ++round) {
        mode.ampl1.set(odd());
        mode.ampl2.set(odd());
        mode.freq2.set(odd());
        expectBounded(mode, 2001);
    }
    mode.ampl1.set(0.5);
    mode.ampl2.set(0.25);
    mode.freq2.set(500);
    EXPECT_NEAR(level(sent(mode, silence(), 20, 0), 500), 0.25, 1e-5);
}

} // namespace
} // namespace ferrow
