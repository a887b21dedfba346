// Transmission of FM.
#include "modes/fm_mod_demod.hpp"
#include "tests/modes/voice/voice_signals.hpp"

#include <cstdio>

namespace ferrow {
namespace {

using namespace test;

constexpr double kMicrophone = 0.707 * std::numbers::sqrt2;

// Frequency above the centre in Hz, from sample to sample: what lies above turns backward.
std::vector<double> frequencyOf(const Complexes& z) {
    std::vector<double> hertz;
    for (std::size_t n = 1; n < z.size(); ++n)
        hertz.push_back(-std::arg(z[n] * std::conj(z[n - 1])) * 48000 / kTau);
    return hertz;
}

class FmTransmit : public ::testing::Test {
protected:
    Runtime runtime;
    std::shared_ptr<fmModDemod> mode;

    void SetUp() override { make(5000); }
    void make(double deviation) {
        mode = std::make_shared<fmModDemod>(rootSyncTask);
        mode->deviation.set(deviation);
    }
    std::vector<double> frequencies(const Signal& signal, std::size_t blocks = 60) {
        return frequencyOf(sent(*mode, signal, blocks));
    }
};

TEST_F(FmTransmit, TheEnvelopeIsAConstant099) {
    mode->CTCSS.set(88.5);
    for (const auto& z : sent(*mode, tones({{400, 0.5}, {1700, 0.5}}), 40, 0))
        ASSERT_NEAR(std::abs(z), 0.99, 1e-6);
}

TEST_F(FmTransmit, TheDeviationAt1kHzIsRightWithin1Percent) {
    for (const double deviation : {2500.0, 5000.0, 11999.0}) {
        make(deviation);
        const double full = toneLevel(frequencies(tones({{1000, 1}})), 1000);
        // Pre-emphasis has tripled it beyond the clipper; the limiter leaves 0.97.
        EXPECT_NEAR(full, 0.97 * deviation, 0.01 * deviation);
        const double soft = toneLevel(frequencies(tones({{1000, 0.1}})), 1000);
        EXPECT_NEAR(soft / (0.1 * kMicrophone * 1000 / 300 * 0.97 * deviation), 1, 0.01);
        std::printf("deviation %5.0f: 1 kHz at full scale %.1f Hz, at 0.1 %.1f Hz\n", deviation, full, soft);
    }
}

TEST_F(FmTransmit, SilenceIsABareCarrier) {
    for (const double f : frequencies(silence(), 5))
        ASSERT_NEAR(f, 0, 1e-6);
}

TEST_F(FmTransmit, CtcssIsATenthWithTheFactor085) {
    mode->CTCSS.set(100);
    const auto alone = frequencies(silence());
    EXPECT_NEAR(toneLevel(alone, 100), 0.1 * 0.85 * 5000, 0.01 * 425);
    const auto both = frequencies(tones({{1000, 1}}));
    EXPECT_NEAR(toneLevel(both, 100), 0.1 * 0.85 * 5000, 0.01 * 425);
    EXPECT_NEAR(toneLevel(both, 1000), 0.97 * 0.85 * 5000, 0.01 * 5000);
    std::printf("CTCSS 100 Hz: %.2f Hz of deviation, voice %.1f Hz\n", toneLevel(both, 100),
                toneLevel(both, 1000));
}

TEST_F(FmTransmit, CtcssOfZeroIsOffAndTheDeviationStaysWhole) {
    for (const double off : {0.0, -100.0, static_cast<double>(NAN)}) {
        mode->CTCSS.set(off);
        const auto f = frequencies(tones({{1000, 1}}));
        EXPECT_NEAR(toneLevel(f, 1000), 0.97 * 5000, 0.01 * 5000) << off;
        EXPECT_LT(toneLevel(f, 100), 1) << off;
    }
}

TEST_F(FmTransmit, TheCtcssToneHasItsFrequency) {
    for (const double tone : {67.0, 88.5, 254.1}) {
        mode->CTCSS.set(tone);
        const auto f = frequencies(silence(), 200);
        // What the phase gains from one half of the time to the other is the error of the frequency.
        const auto half = static_cast<std::ptrdiff_t>(f.size() / 2);
        const auto first = lineAt({f.begin(), f.begin() + half}, tone);
        const auto second = lineAt({f.begin() + half, f.begin() + 2 * half}, tone);
        const double turned =
            std::arg(second / first * std::polar(1.0, kTau * std::fmod(tone / 48000 * double(half), 1.0)));
        const double off = turned / kTau * 48000 / double(half);
        std::printf("CTCSS %.1f Hz: off by %.1e Hz\n", tone, off);
        EXPECT_NEAR(off, 0, 0.002);
        EXPECT_NEAR(toneLevel(f, tone), 425, 2);
    }
}

TEST_F(FmTransmit, PreEmphasisRisesWithTheFrequency) {
    double worst = 0;
    const double amplitude = 0.02;
    for (double f = 450; f <= 2800; f += 235) {
        const double gain =
            toneLevel(frequencies(tones({{f, amplitude}}), 40), f) / (amplitude * kMicrophone * 0.97 * 5000);
        worst = std::max(worst, std::abs(decibels(gain / (f / 300))));
    }
    std::printf("pre-emphasis f / 300 from 450 to 2800 Hz: within %.3f dB\n", worst);
    EXPECT_LT(worst, 0.1);
}

TEST_F(FmTransmit, TheMicrophoneCurveComesOnTop) {
    const Application application(kBent);
    make(5000);
    const double amplitude = 0.02;
    for (const double f : {500.0, 900.0, 1500.0, 2100.0}) {
        const double gain =
            toneLevel(frequencies(tones({{f, amplitude}}), 40), f) / (amplitude * kMicrophone * 0.97 * 5000);
        EXPECT_NEAR(decibels(gain / (f / 300 * gainOf(kBent, f - kEarly))), 0, 0.1) << f;
    }
}

TEST_F(FmTransmit, CompressionIsTheGainIntoTheClipper) {
    const auto at = [&](double compression) {
        mode->compression.set(compression);
        return toneLevel(frequencies(tones({{1000, 0.05}}), 40), 1000);
    };
    const double one = at(1);
    EXPECT_NEAR(at(4) / one, 4, 0.01);
    EXPECT_NEAR(at(0), 0, 1e-3);
}

TEST_F(FmTransmit, TheVoiceBandEndsAt3000Hz) {
    const auto f = frequencies(tones({{3600, 0.5}}));
    EXPECT_LT(toneLevel(f, 3600), 1);
}

// The phase, which a block now and then takes a turn off, shows no seam: a strongly deviated signal has the
// same steps at block edges as elsewhere.
TEST_F(FmTransmit, BlocksJoinWithoutASeam) {
    make(11000);
    const auto f = frequencies(tones({{300, 1}}), 100);
    for (std::size_t n = 2; n < f.size(); ++n)
        ASSERT_LT(std::abs(f[n] - 2 * f[n - 1] + f[n - 2]), 250) << n;
}

TEST_F(FmTransmit, NothingIsWrittenBesideTheBlock) {
    const std::complex<float> untouched(7, 8);
    const Samples microphone(512, 0.1f), whole(600, untouched);
    mode->modulate(microphone, whole.slice(0, 126));
    for (std::size_t i = 0; i < whole.size(); ++i)
        ASSERT_EQ(whole[i] == untouched, i >= 126) << i;
    mode->modulate(microphone, whole);
    for (std::size_t i = 0; i < whole.size(); ++i)
        ASSERT_EQ(whole[i] == untouched, i >= 512) << i;
}

} // namespace
} // namespace ferrow
