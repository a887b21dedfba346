#include "core/audio/sidetone.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

namespace ferrow {
namespace {

constexpr double kPi = std::numbers::pi;
constexpr float kReceived = 0.25f;

class SidetoneTest : public testing::Test {
protected:
    // One callback; the left channel. Both must be equal.
    std::vector<float> callback(std::size_t frames) {
        std::vector<float> out(2 * frames, kReceived);
        voice.apply(tone, out.data(), frames);
        std::vector<float> left(frames);
        for (std::size_t i = 0; i < frames; ++i) {
            EXPECT_EQ(out[2 * i], out[2 * i + 1]);
            left[i] = out[2 * i];
        }
        return left;
    }

    static double rise(int frame) {
        return frame < 255 ? 0.5 * std::cos((255 - frame) * kPi / 255) + 0.5 : 1;
    }
    static double sine(int frame, double hertz = 650) { return std::sin(2 * kPi * hertz * frame / 48000); }

    Sidetone tone;
    SidetoneVoice voice;
};

TEST_F(SidetoneTest, SilentFlagsLeaveWhatIsPlayed) {
    for (const float value : callback(600))
        EXPECT_EQ(value, kReceived);
}

TEST_F(SidetoneTest, EitherFlagRaisesA650HzToneIn255Frames) {
    for (std::atomic<bool>* flag : {&tone.fromKey, &tone.fromMode}) {
        voice = SidetoneVoice();
        flag->store(true);
        const auto left = callback(1000);
        for (int i = 0; i < 1000; ++i)
            ASSERT_NEAR(left[static_cast<std::size_t>(i)], 0.99 * rise(i) * sine(i), 2e-4) << i;
        flag->store(false);
    }
}

TEST_F(SidetoneTest, TheFallIsTheRiseTurnedOverAndThenTheReceivedReturns) {
    tone.fromKey = true;
    callback(480);
    tone.fromKey = false;
    const auto left = callback(300);
    for (int i = 0; i < 300; ++i)
        ASSERT_NEAR(left[static_cast<std::size_t>(i)], 0.99 * (1 - rise(i)) * sine(480 + i), 2e-4) << i;
    EXPECT_EQ(callback(8)[0], kReceived);
}

TEST_F(SidetoneTest, ARampGoesOnOverCallbacks) {
    tone.fromMode = true;
    const auto first = callback(100), second = callback(200);
    EXPECT_NEAR(first[99], 0.99 * rise(99) * sine(99), 1e-4);
    EXPECT_NEAR(second[100], 0.99 * rise(200) * sine(200), 1e-4);
}

TEST_F(SidetoneTest, HandingOverFromOneFlagToTheOtherStartsTheRampAgain) {
    tone.fromKey = true;
    callback(480);
    tone.fromKey = false;
    tone.fromMode = true;
    const auto left = callback(300);
    EXPECT_NEAR(left[50], 0.99 * rise(50) * sine(530), 2e-4);
}

TEST_F(SidetoneTest, LevelZeroLeavesTheReceivedAudible) {
    tone.fromKey = true;
    tone.level = 0;
    for (const float value : callback(400))
        EXPECT_EQ(value, kReceived);
}

TEST_F(SidetoneTest, LevelAndFrequencyAreFollowedAtTheNextCallback) {
    tone.fromKey = true;
    tone.level = 0.5f;
    tone.frequency = 1200;
    const auto left = callback(1000);
    EXPECT_NEAR(left[600], 0.99 * 0.5 * sine(600, 1200), 2e-4);
}

TEST_F(SidetoneTest, AbsurdFrequenciesStayBounded) {
    tone.fromKey = true;
    for (const int hertz : {std::numeric_limits<int>::min(), -5, 0, 24000, std::numeric_limits<int>::max()}) {
        tone.frequency = hertz;
        for (const float value : callback(4800))
            ASSERT_LE(std::abs(value), 0.99f);
    }
}

} // namespace
} // namespace ferrow
