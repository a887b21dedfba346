#include "trx/denoise/denoise.hpp"

#include "trx/denoise/inner_product.hpp"
#include "trx/denoise/pitch.hpp"
#include "trx/dsp/bandpass_design.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <numbers>
#include <random>
#include <vector>

namespace ferrow {
namespace {

using namespace denoise;

constexpr auto kNan = std::numeric_limits<float>::quiet_NaN();

std::vector<float> noise(std::size_t frames, float level, unsigned seed = 1) {
    std::mt19937 random(seed);
    std::normal_distribution<float> normal(0, level);
    std::vector<float> out(frames * FRAME_SIZE);
    for (float& x : out)
        x = normal(random);
    return out;
}

// As a receive filter of 300 to 2700 Hz passes it.
std::vector<float> filteredNoise(std::size_t frames, float level) {
    constexpr std::size_t taps = 1535;
    const auto filter = designBandpass(300, 2700, 48000, taps, taps);
    const std::vector<float> in = noise(frames + 3, level);
    std::vector<float> out(frames * FRAME_SIZE), shape(taps);
    for (std::size_t k = 0; k < taps; ++k)
        shape[k] = 2 * filter[k].real();
    for (std::size_t i = 0; i < out.size(); ++i)
        out[i] = innerProduct(shape.data(), in.data() + i, taps);
    return out;
}

std::vector<float> run(DenoiseState& state, const std::vector<float>& in, float mix) {
    std::vector<float> out(in.size());
    for (std::size_t at = 0; at + FRAME_SIZE <= in.size(); at += FRAME_SIZE)
        rnnoise_process_frame(&state, out.data() + at, in.data() + at, mix);
    return out;
}

// The description's high-pass in double precision throughout.
std::vector<double> highPassed(const std::vector<float>& in) {
    std::vector<double> out;
    double m0 = 0, m1 = 0;
    for (const double x : in) {
        const double y = x + m0;
        m0 = m1 + (-2.0 * x + 1.9959900379180908 * y);
        m1 = x - 0.9959999918937683 * y;
        out.push_back(y);
    }
    return out;
}

double power(const std::vector<float>& x, std::size_t from) {
    double sum = 0;
    for (std::size_t i = from; i < x.size(); ++i)
        sum += static_cast<double>(x[i]) * x[i];
    return sum / static_cast<double>(x.size() - from);
}

TEST(Denoise, TheStateHoldsItsFieldsInOrder) {
    const std::size_t places[] = {offsetof(DenoiseState, analysis_mem), offsetof(DenoiseState, cepstral_mem),
                                  offsetof(DenoiseState, memid),        offsetof(DenoiseState, synthesis_mem),
                                  offsetof(DenoiseState, pitch_buf),    offsetof(DenoiseState, pitch_enh_buf),
                                  offsetof(DenoiseState, last_gain),    offsetof(DenoiseState, last_period),
                                  offsetof(DenoiseState, mem_hp_x),     offsetof(DenoiseState, lastg),
                                  offsetof(DenoiseState, rnn)};
    EXPECT_TRUE(std::is_sorted(std::begin(places), std::end(places)));
    const DenoiseState state;
    EXPECT_EQ(state.analysis_mem.size(), 512u);
    EXPECT_EQ(sizeof(state.cepstral_mem), 8 * 22 * sizeof(float));
    EXPECT_EQ(state.synthesis_mem.size(), 512u);
    EXPECT_EQ(state.pitch_buf.size(), 1792u);
    EXPECT_EQ(state.pitch_enh_buf.size(), 1792u);
}

TEST(Denoise, ZeroIsAnsweredByZeroWithoutTheNetwork) {
    DenoiseState state;
    const std::vector<float> out = run(state, std::vector<float>(20 * FRAME_SIZE, 0.0f), 100);
    for (const float x : out)
        ASSERT_EQ(x, 0);
    EXPECT_EQ(state.framesThroughNetwork, 0);
    float block[FRAME_SIZE] = {};
    EXPECT_EQ(rnnoise_process_frame(&state, block, block, 80), 0) << "voice in silence";
    run(state, noise(3, 1000), 100);
    EXPECT_EQ(state.framesThroughNetwork, 3);
}

TEST(Denoise, SilenceBeginsBelowAFrameEnergyOf004) {
    // White noise of deviation s has s^2 / 2048 in each bin.
    for (const auto& [level, passes] : {std::pair{0.15f, false}, {1.5f, true}}) {
        DenoiseState state;
        run(state, noise(4, level), 80);
        EXPECT_EQ(state.framesThroughNetwork > 0, passes) << level;
    }
}

TEST(Denoise, AtAMixOf0TheOutputIsTheHighPassedInputAFrameLater) {
    const std::vector<float> in = noise(60, 3000);
    const std::vector<double> expected = highPassed(in);
    DenoiseState state;
    const std::vector<float> out = run(state, in, 0);
    double error = 0, signal = 0;
    for (std::size_t i = 2 * FRAME_SIZE; i < in.size(); ++i) {
        const double e = out[i] - expected[i - FRAME_SIZE];
        error += e * e;
        signal += expected[i] * expected[i];
    }
    RecordProperty("dB", std::to_string(10 * std::log10(error / signal)));
    EXPECT_LT(10 * std::log10(error / signal), -80);
}

// The pitch filter adds what came one period ago, and keeps the bands' energies.
TEST(Denoise, ThePitchFilterKeepsAPureTone) {
    std::vector<float> in(60 * FRAME_SIZE);
    for (std::size_t i = 0; i < in.size(); ++i)
        in[i] = static_cast<float>(8000 * std::sin(2 * std::numbers::pi * static_cast<double>(i) / 64));
    DenoiseState state;
    const std::vector<float> out = run(state, in, 0);
    EXPECT_NEAR(10 * std::log10(power(out, 20 * FRAME_SIZE) / 3.2e7), 0, 0.05);
}

TEST(Denoise, MoreMixLeavesLessNoise) {
    const std::vector<float> in = filteredNoise(300, 9000);
    std::vector<double> left;
    for (const float mix : {0.0f, 20.0f, 40.0f, 60.0f, 80.0f, 100.0f}) {
        DenoiseState state;
        left.push_back(power(run(state, in, mix), 100 * FRAME_SIZE));
    }
    for (std::size_t i = 1; i < left.size(); ++i)
        EXPECT_LT(left[i], left[i - 1]) << i;
    const auto fall = [&](std::size_t i) { return 10 * std::log10(left[0] / left[i]); };
    RecordProperty("dB_at_40", std::to_string(fall(2)));
    RecordProperty("dB_at_100", std::to_string(fall(5)));
    EXPECT_GT(fall(5), 15) << "noise alone, all gains of the network's";
    EXPECT_NEAR(fall(2), -20 * std::log10(0.6), 1) << "about three fifths of the amplitude stay at 40";
    EXPECT_NEAR(fall(4), -20 * std::log10(0.2), 2) << "and a fifth at 80";
}

TEST(Denoise, AGainFallsByNoMoreThanToThreeFifthsInAFrame) {
    DenoiseState state;
    const std::vector<float> in = filteredNoise(200, 9000);
    run(state, in, 0); // all gains stand at 1
    for (const float g : state.lastg)
        ASSERT_FLOAT_EQ(g, 1);
    const Bands before = state.lastg;
    std::vector<float> block(FRAME_SIZE);
    rnnoise_process_frame(&state, block.data(), in.data(), 100);
    bool held = false;
    for (std::size_t b = 0; b < NB_BANDS; ++b) {
        EXPECT_GE(state.lastg[b], 0.6f * before[b]);
        held |= state.lastg[b] == 0.6f * before[b];
    }
    EXPECT_TRUE(held) << "noise, and no gain is at the floor";
}

TEST(Denoise, MixIsLimitedAndNoNumberCountsAs100) {
    const std::vector<float> in = noise(30, 3000);
    const auto at = [&](float mix) {
        DenoiseState state;
        return run(state, in, mix);
    };
    EXPECT_EQ(at(250), at(100));
    EXPECT_EQ(at(-3), at(0));
    EXPECT_EQ(at(std::numeric_limits<float>::infinity()), at(100));
    EXPECT_EQ(at(kNan), at(100));
}

TEST(Denoise, InputAndOutputMayBeTheSameMemory) {
    const std::vector<float> in = noise(20, 3000);
    DenoiseState one, other;
    const std::vector<float> apart = run(one, in, 80);
    std::vector<float> same = in;
    for (std::size_t at = 0; at < same.size(); at += FRAME_SIZE)
        rnnoise_process_frame(&other, same.data() + at, same.data() + at, 80);
    EXPECT_EQ(same, apart);
}

TEST(Denoise, StatesDoNotShareAnything) {
    const std::vector<float> a = noise(20, 3000, 1), b = noise(20, 300, 2);
    DenoiseState alone;
    const std::vector<float> expected = run(alone, a, 80);
    DenoiseState first, second;
    std::vector<float> out(a.size()), scrap(FRAME_SIZE);
    for (std::size_t at = 0; at < a.size(); at += FRAME_SIZE) {
        rnnoise_process_frame(&first, out.data() + at, a.data() + at, 80);
        rnnoise_process_frame(&second, scrap.data(), b.data() + at, 80);
    }
    EXPECT_EQ(out, expected);
}

TEST(Denoise, ComesBackAfterSamplesThatAreNoNumbersOrBeyondAllBounds) {
    for (const float bad : {kNan, std::numeric_limits<float>::infinity(), -3e38f, 1e30f}) {
        DenoiseState state;
        std::vector<float> in = noise(20, 3000);
        for (std::size_t i = 0; i < in.size() / 2; i += 3)
            in[i] = bad;
        for (const float x : run(state, in, 80))
            ASSERT_TRUE(std::isfinite(x)) << bad;
        run(state, std::vector<float>(200 * FRAME_SIZE, 0.0f), 80);
        for (const float x : run(state, noise(20, 3000), 80))
            ASSERT_LT(std::abs(x), 1e5) << bad;
    }
}

TEST(DenoisePitch, FindsPeriodsFrom60To768InNoise) {
    std::mt19937 random(5);
    std::normal_distribution<float> normal(0, 400);
    for (const int period : {64, 80, 107, 144, 192, 267, 369, 480, 640, 760}) {
        std::array<float, PITCH_BUF_SIZE> signal, scratch;
        for (std::size_t i = 0; i < signal.size(); ++i) {
            double x = 0;
            for (int k = 1; 48000.0 * k / period < 3000; ++k)
                x += std::cos(2 * std::numbers::pi * k * static_cast<double>(i) / period + k * k);
            signal[i] = static_cast<float>(3000 * x) + normal(random);
        }
        const Pitch found = findPitch(signal, scratch, {});
        EXPECT_NEAR(found.period, period, 2);
        EXPECT_GT(found.gain, 0.75f) << period;
    }
}

TEST(DenoisePitch, StaysWithinItsBoundsForAnything) {
    std::mt19937 random(6);
    std::array<float, PITCH_BUF_SIZE> signal{}, scratch;
    const auto check = [&](const char* what) {
        const Pitch found = findPitch(signal, scratch, {static_cast<int>(random() % 800), 1});
        EXPECT_GE(found.period, 60) << what;
        EXPECT_LE(found.period, 768) << what;
        EXPECT_GE(found.gain, 0) << what;
        EXPECT_LE(found.gain, 1) << what;
    };
    check("zero");
    signal.fill(1);
    check("level");
    signal.back() = 1e7f;
    check("an impulse");
    for (int i = 0; i < 200; ++i) {
        for (float& x : signal)
            x = static_cast<float>(random() % 2001) - 1000;
        check("noise");
    }
}

} // namespace
} // namespace ferrow
