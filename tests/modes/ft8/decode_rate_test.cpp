// Fractions decoded in white noise, SNR in 2500 Hz. The limits lie below what 200 other periods gave, by a
// margin that 50 hardly break: FT8 100 % at -16 dB and 71 % at -18 dB, FT4 97.5 % at -12 dB.
#include "tests/modes/ft8/decode_trials.hpp"

#include <gtest/gtest.h>

namespace {

using namespace ferrow::test;

TEST(DecodeRate, Ft8AtMinus16DecibelsIsNearlyCertain) {
    const Trials outcome = measureDecodes(Mode::Ft8, -16.0, 50, 101);
    EXPECT_GE(outcome.decoded, 47);
    EXPECT_EQ(outcome.wrong, 0);
}

TEST(DecodeRate, Ft8AtMinus18DecibelsIsMoreThanEvenOdds) {
    const Trials outcome = measureDecodes(Mode::Ft8, -18.0, 50, 102);
    EXPECT_GE(outcome.decoded, 24);
    EXPECT_EQ(outcome.wrong, 0);
}

TEST(DecodeRate, Ft4AtMinus12DecibelsIsNearlyCertain) {
    const Trials outcome = measureDecodes(Mode::Ft4, -12.0, 50, 103);
    EXPECT_GE(outcome.decoded, 45);
    EXPECT_EQ(outcome.wrong, 0);
}

} // namespace
