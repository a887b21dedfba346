#include "trx/dsp/gain_control.hpp"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <vector>

using namespace ferrow;

namespace {

using Samples = std::vector<float>;

Samples tone(size_t n, float amplitude) {
    Samples x(n);
    for (size_t i = 0; i < n; ++i)
        x[i] = amplitude * float(std::sin(0.37 * double(i)));
    return x;
}

} // namespace

TEST(GainControl, EmptyBlockReturnsEmpty) {
    GainControl control;
    Samples none;
    for (bool enabled : {true, false}) {
        GainControlSettings settings;
        settings.enabled = enabled;
        control.process(none, settings, false, true, 0);
    }
    EXPECT_EQ(control.gain, 200.0);
    EXPECT_EQ(control.hangCount, 0);
}

TEST(GainControl, PeakOf1Over1Point2GivesTarget1) {
    GainControl control;
    GainControlSettings settings;
    settings.attack = 0; // instant
    Samples x{0.1f, -1 / 1.2f, 0.2f};
    control.process(x, settings, false, true, 0);
    EXPECT_NEAR(control.gain, 1.0, 1e-6);
    EXPECT_NEAR(x[1], -1 / 1.2f, 1e-6);
    EXPECT_EQ(control.hangCount, 96000 - 2) << "set by the first sample, counted by the others";
}

TEST(GainControl, DisabledWithManualGain1GivesGain10) {
    GainControl control;
    GainControlSettings settings;
    settings.enabled = false;
    settings.volume = 0.5f;
    Samples x{0.01f, -0.02f, 0.5f, -0.5f};
    Samples y = x;
    control.process(x, settings, false, false, 0);
    EXPECT_FLOAT_EQ(x[0], 0.1f);
    EXPECT_FLOAT_EQ(x[1], -0.2f);
    EXPECT_EQ(x[2], 1.0f);
    EXPECT_EQ(x[3], -1.0f);
    control.process(y, settings, true, true, 0);
    EXPECT_FLOAT_EQ(y[1], -0.1f);
    EXPECT_EQ(control.gain, 200.0);
}

TEST(GainControl, SquelchOfMinus180IsOffAndMinus179Point9IsNot) {
    GainControlSettings settings;
    for (const float squelch : {-180.0f, -181.0f}) {
        settings.squelch = squelch;
        GainControl control;
        Samples x = tone(64, 0.5f);
        control.process(x, settings, false, true, -1800);
        EXPECT_NE(x[7], 0.0f);
        EXPECT_NE(control.gain, 200.0);
    }
    settings.squelch = -179.9f;
    GainControl control;
    Samples x = tone(64, 0.5f);
    control.process(x, settings, false, true, -1800);
    for (float v : x)
        EXPECT_EQ(v, 0.0f);
    EXPECT_EQ(control.gain, 200.0) << "no gain is computed";
}

TEST(GainControl, OpenSquelchAppliesTheVolumeUnclamped) {
    GainControl control;
    GainControlSettings settings;
    settings.squelch = -60;
    settings.volume = 3;
    Samples x{0.9f, -0.9f};
    control.process(x, settings, false, true, -60); // equal is open
    EXPECT_FLOAT_EQ(x[0], 2.7f);
    EXPECT_FLOAT_EQ(x[1], -2.7f);
    control.process(x, settings, true, false, -59);
    EXPECT_FLOAT_EQ(x[0], 2.7f);
    control.process(x, settings, true, false, -61);
    EXPECT_EQ(x[0], 0.0f);
}

TEST(GainControl, MaxGain80LimitsTheGainTo10000) {
    GainControl control;
    GainControlSettings settings;
    EXPECT_EQ(control.gain, 200.0);
    settings.decay = 0;
    Samples x(512, 1e-9f);
    control.process(x, settings, false, true, 0);
    EXPECT_DOUBLE_EQ(control.gain, 10000.0);
    settings.maxGain = 20;
    control.process(x, settings, false, true, 0);
    EXPECT_DOUBLE_EQ(control.gain, 10.0);
}

TEST(GainControl, Volume0IsSilentYetTheGainFollows) {
    GainControl control;
    GainControlSettings settings;
    settings.volume = 0;
    Samples x = tone(512, 0.9f);
    control.process(x, settings, false, true, 0);
    for (float v : x)
        EXPECT_EQ(v, 0.0f);
    EXPECT_LT(control.gain, 200.0);
    EXPECT_GT(control.hangCount, 0);
}

TEST(GainControl, HeldGainStays) {
    GainControl control;
    const GainControlSettings settings;
    Samples x{0.001f, 0.1f, -0.1f};
    control.process(x, settings, true, true, 0);
    EXPECT_FLOAT_EQ(x[0], 0.2f);
    EXPECT_EQ(x[1], 1.0f);
    EXPECT_EQ(x[2], -1.0f);
    EXPECT_EQ(control.gain, 200.0);
}

TEST(GainControl, FixedAtMaxGain) {
    GainControl control;
    control.fixedAtMaxGain = true;
    GainControlSettings settings;
    settings.maxGain = 40;
    Samples x{0.001f, 0.5f};
    control.process(x, settings, false, true, 0);
    EXPECT_FLOAT_EQ(x[0], 0.1f);
    EXPECT_EQ(x[1], 1.0f);
    EXPECT_EQ(control.gain, 200.0);
}

TEST(GainControl, FollowsTheAttackHangAndDecaySampleBySample) {
    GainControlSettings settings;
    settings.hang = 0.005f; // 240 samples
    GainControl control;
    double gain = 200;
    int hang = 0;
    for (int block = 0; block < 40; ++block) {
        Samples x = tone(512, block < 8 ? 0.5f : 0.003f);
        const Samples in = x;
        control.process(x, settings, false, true, 0);
        double peak = 0;
        for (float v : in)
            peak = std::max(peak, std::abs(double(v)));
        const double target = 1 / (peak * 1.2);
        for (size_t i = 0; i < in.size(); ++i) {
            if (gain > target * (1 + 1e-12)) {
                hang = 240;
                gain = target + (gain - target) * std::exp(-1 / 480.0);
            } else if (hang > 0) {
                --hang;
            } else {
                gain = target + (gain - target) * std::exp(-1 / 9600.0);
            }
            gain = std::min(gain, 10000.0);
            const double y = std::clamp(gain * double(in[i]), -1.0, 1.0);
            ASSERT_NEAR(x[i], y, 2e-4) << block << ' ' << i;
        }
    }
    EXPECT_NEAR(control.gain, gain, 1e-3 * gain);
}

TEST(GainControl, AttackTime) {
    GainControl control;
    const GainControlSettings settings;
    size_t samples = 0;
    const double target = 1 / (0.9 * 1.2), start = control.gain;
    while (control.gain - target > (start - target) * std::exp(-1.0)) {
        Samples x(1, 0.9f);
        control.process(x, settings, false, true, 0);
        ++samples;
    }
    EXPECT_NEAR(double(samples), 480, 1) << "0.01 s to 1/e";
}

TEST(GainControl, SplitOfASteadySignalDoesNotMatter) {
    const GainControlSettings settings;
    GainControl whole, parts;
    Samples a(4096, 0.25f), b(4096, 0.25f);
    whole.process(a, settings, false, true, 0);
    std::mt19937 random(2);
    for (size_t at = 0; at < b.size();) {
        const size_t n = std::min<size_t>(1 + random() % 700, b.size() - at);
        parts.process(std::span(b).subspan(at, n), settings, false, true, 0);
        at += n;
    }
    EXPECT_EQ(a, b);
    EXPECT_EQ(whole.gain, parts.gain);
}

TEST(GainControl, ZeroesNanAndOddTimesDoNoHarm) {
    GainControl control;
    GainControlSettings settings;
    Samples zero(512, 0.0f);
    control.process(zero, settings, false, true, 0);
    EXPECT_NEAR(control.gain, 200.0, 1e-3) << "silence has the initial gain as its target";
    Samples x{NAN, 0.5f, std::numeric_limits<float>::denorm_min()};
    control.process(x, settings, false, true, 0);
    EXPECT_TRUE(std::isfinite(control.gain));
    settings.hang = 1e30f;
    settings.attack = settings.decay = 0;
    Samples y(4, 0.5f);
    control.process(y, settings, false, true, 0);
    EXPECT_EQ(control.hangCount, std::numeric_limits<int>::max() - 3);
    settings.hang = NAN;
    control.gain = 1000;
    control.process(y, settings, false, true, 0);
    EXPECT_EQ(control.hangCount, 0);
}
