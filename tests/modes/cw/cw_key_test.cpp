#include "tests/modes/cw/cw_fixture.hpp"

#include <atomic>

namespace ferrow {
namespace {

using test::Signal;

using CwKey = test::CwTest;

TEST_F(CwKey, ARadioThatIsKeyedStaysOn) {
    press(true);
    on(*radio, [&] { radio->RadioPtt.set(true); });
    pull(*mode, 96000);
    test::settle(t->context());
    EXPECT_TRUE(onAir());
    on(*radio, [&] { radio->RadioPtt.set(false); });
    pull(*mode, 512);
    test::settle(t->context());
    EXPECT_FALSE(onAir());
}

TEST_F(CwKey, TheKeyHasItsRampAndLevel) {
    pull(*mode, 20000);
    mode->KeyDown();
    const Signal down = pull(*mode, 1024);
    for (int i = 0; i < 1024; ++i) {
        const double k = std::max(0, 255 - i);
        ASSERT_NEAR(down[static_cast<std::size_t>(i)].real(),
                    0.99 * (0.5 * std::cos(std::numbers::pi * k / 256) + 0.5), 2e-7)
            << i;
        ASSERT_EQ(down[static_cast<std::size_t>(i)].imag(), 0);
    }
    mode->KeyUp();
    const Signal up = pull(*mode, 512);
    for (int i = 0; i < 512; ++i) {
        const double k = std::min(256, i + 1);
        ASSERT_NEAR(up[static_cast<std::size_t>(i)].real(),
                    0.99 * (0.5 * std::cos(std::numbers::pi * k / 256) + 0.5), 2e-7)
            << i;
    }
}

TEST_F(CwKey, KeyDownKeysTheTransmitterAndTheIdleRuleUnkeysIt) {
    EXPECT_FALSE(onAir());
    mode->KeyDown();
    test::settle(t->context());
    EXPECT_TRUE(onAir());
    pull(*mode, 480000); // ten seconds
    test::settle(t->context());
    EXPECT_TRUE(onAir());
    mode->KeyUp();
    pull(*mode, 256, 256); // the fall
    const std::size_t idle = pullUntilOff(6, 48000);
    EXPECT_GE(idle, 9600u);
    EXPECT_LE(idle, 9612u);
}

TEST_F(CwKey, APressThatIsOverAtOnceStillSounds) {
    mode->KeyDown();
    mode->KeyUp();
    const Signal out = pull(*mode, 1024);
    float peak = 0;
    for (const auto& sample : out)
        peak = std::max(peak, sample.real());
    EXPECT_NEAR(peak, 0.99, 1e-6);
    EXPECT_EQ(out.back(), std::complex<float>());
}

TEST_F(CwKey, BreakingIntoTextMakesNoClick) {
    press(true);
    mode->QueueText("t", 0);
    skipGap();
    Signal out = pull(*mode, 1024);
    mode->KeyDown();
    const Signal keyed = pull(*mode, 1024);
    out.insert(out.end(), keyed.begin(), keyed.end());
    for (std::size_t i = 1; i < out.size(); ++i)
        ASSERT_LT(std::abs(out[i] - out[i - 1]), 0.05) << i;
    EXPECT_NEAR(out.back().real(), 0.99, 1e-6);
}

TEST_F(CwKey, TheSidetoneFollowsKeyAndText) {
    mode->freq.set(700);
    mode->sidetoneVolume.set(0.25);
    EXPECT_EQ(tone().frequency, 700);
    EXPECT_EQ(tone().level, 0.25f);
    mode->KeyDown();
    EXPECT_TRUE(tone().fromKey);
    EXPECT_FALSE(tone().fromMode);
    mode->KeyUp();
    EXPECT_FALSE(tone().fromKey);
    press(true);
    mode->QueueText("e", 0);
    pull(*mode, 20000 - 20000 % 512);
    EXPECT_FALSE(tone().fromKey);
    pullUntilOff(512, 96000);
    press(true);
    mode->QueueText("t", 0);
    skipGap();
    EXPECT_FALSE(tone().fromMode);
    pull(*mode, 2880);
    EXPECT_TRUE(tone().fromMode);
    pull(*mode, 3 * 2880);
    EXPECT_FALSE(tone().fromMode);
    mode->QueueText("t", 0);
    pull(*mode, 4 * 2880);
    press(false); // in the middle
    EXPECT_FALSE(tone().fromMode);
}

TEST_F(CwKey, TheRadiosOwnKeySendsUnlessTheRadioKeysItself) {
    const Signal quiet(512);
    t->hardwareKey = true;
    on(*t, [&] { hear(*mode, quiet); });
    EXPECT_TRUE(onAir());
    EXPECT_TRUE(tone().fromKey);
    EXPECT_NEAR(pull(*mode, 512).back().real(), 0.99, 1e-6);
    t->hardwareKey = false;
    on(*t, [&] { hear(*mode, quiet); });
    EXPECT_FALSE(tone().fromKey);
    pullUntilOff(512, 48000);
    EXPECT_FALSE(onAir());
    on(*radio, [&] { radio->cwInternal.set(true); });
    t->hardwareKey = true;
    on(*t, [&] { hear(*mode, quiet); });
    EXPECT_FALSE(onAir());
    EXPECT_TRUE(tone().fromKey);
    for (const auto& sample : pull(*mode, 512))
        ASSERT_EQ(sample, std::complex<float>());
}

TEST_F(CwKey, SendsReceivesAndChangesAtOnce) {
    press(true);
    whileBusy(*mode, Signal(5120, {0.5f, -0.5f}), [&] {
        for (int i = 0; i < 300; ++i) {
            on(*mode, [&] {
                mode->QueueText("cq de x ", 0);
                mode->wpm.setFromHost(20 + i % 10);
                mode->freq.setFromHost(600 + i % 100);
                mode->sidetoneVolume.setFromHost(0.01 * (i % 100));
                mode->swHangTime.setFromHost(i % 5);
                if (i % 3 == 0)
                    mode->KeyDown();
                else
                    mode->KeyUp();
            });
            t->hardwareKey = i % 7 == 0;
            pumpUpdates();
        }
    });
}

} // namespace
} // namespace ferrow
