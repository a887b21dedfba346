#include "modes/psk/psk_det.hpp"
#include "tests/modes/psk/psk_trials.hpp"
#include "tests/support/edit_distance.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace ferrow {
namespace {

using test::PskForm;
using test::receive;

const std::vector<int> kIdle(64, 0);

// PSK31 bits as a signal, with idling before and behind.
std::vector<double> keyed(std::vector<int> bits, double hz = 1500) {
    bits.insert(bits.begin(), kIdle.begin(), kIdle.end());
    bits.insert(bits.end(), 16, 0);
    return test::pskSignal(test::pskPhases(bits, false), 31.25, hz, 8000);
}

TEST(PskDet, ReadsEveryModeOfAnIndependentSender) {
    for (const PskForm& form : test::kPskForms) {
        CPSKDet detector(form.modeWord);
        const std::string text = test::pskText(60, 11);
        EXPECT_EQ(receive(detector, test::pskSignal(text, form, 1500, 8000, 64)), text) << form.name;
    }
}

TEST(PskDet, ReadsEveryByteButNul) {
    std::string text;
    for (int byte = 1; byte < 256; ++byte)
        text += static_cast<char>(byte);
    CPSKDet detector(16);
    EXPECT_EQ(receive(detector, test::pskSignal(text, test::kPsk125, 1500)), text);
}

TEST(PskDet, ANulYieldsNothing) {
    CPSKDet detector;
    EXPECT_EQ(receive(detector, test::pskSignal(std::string("ab\0cd", 5), test::kPsk31, 1500, 8000, 64)),
              "abcd");
}

TEST(PskDet, QpskInTheOtherSidebandIsReadByItsOwnModeOnly) {
    const std::string text = test::pskText(60, 12);
    const auto signal =
        test::pskSignal(test::pskPhases(test::pskBits(text, 64, 40), true, true), 31.25, 1500, 8000);
    CPSKDet lower(2), upper(1);
    EXPECT_EQ(receive(lower, signal), text);
    EXPECT_GT(test::characterErrors(text, receive(upper, signal)), 0.5);
}

TEST(PskDet, ReadsSignalsOverThePassband) {
    for (const int hz : {200, 700, 1501, 2499, 3200, 3800}) {
        CPSKDet detector;
        detector.setRxFrequency(hz);
        EXPECT_EQ(receive(detector, test::pskSignal("QRL? de K1ABC", test::kPsk31, hz, 8000, 64)),
                  "QRL? de K1ABC")
            << hz;
    }
}

TEST(PskDet, TwoZeroBitsEndACharacter) {
    CPSKDet detector;
    EXPECT_EQ(receive(detector, keyed({1, 1, 0, 0, 1, 0, 1, 0, 0})), "et");
}

TEST(PskDet, ALoneZeroBitDoesNotEndACharacter) {
    CPSKDet detector;
    // With the single 0 as an end it would be a space and an e.
    EXPECT_EQ(receive(detector, keyed({1, 0, 1, 1, 0, 0})), "a");
}

TEST(PskDet, BehindAClosedSquelchBitsShiftButNoCharacterComes) {
    CPSKDet detector;
    const auto signal = keyed({1, 1, 0, 0, 1, 0, 1, 0, 1, 0, 1, 1, 1, 0, 0, 1, 1, 0, 0}); // e, U, e
    detector.setSquelchThreshold(101);
    // The squelch opens in the middle of the U: it comes whole.
    const auto split = static_cast<std::ptrdiff_t>(64 + 10) * 256;
    EXPECT_EQ(receive(detector, {signal.begin(), signal.begin() + split}), "");
    detector.setSquelchThreshold(0);
    EXPECT_EQ(receive(detector, {signal.begin() + split, signal.end()}), "Ue");
}

TEST(PskDet, AnUnknownCodeYieldsNothingAndClearsTheShift) {
    CPSKDet detector;
    EXPECT_EQ(receive(detector, keyed({1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 0, 1, 0, 1, 1, 0, 0})), "a");
}

TEST(PskDet, AtMostTenCharactersComeFromABlock) {
    CPSKDet detector(16);
    const auto signal = test::pskSignal(std::string(31, 'e'), test::kPsk125, 1500, 8000, 64);
    std::vector<float> block(signal.size());
    for (std::size_t n = 0; n < block.size(); ++n)
        block[n] = static_cast<float>(3000 * signal[n]);
    char out[CPSKDet::kMostCharacters + 1] = "----------";
    EXPECT_EQ(detector.processBlock(block.data(), static_cast<int>(block.size()), out), 10);
    EXPECT_EQ(std::string(out), "eeeeeeeeee");
}

TEST(PskDet, SettingTheFrequencyItHasIsNoChange) {
    CPSKDet detector;
    receive(detector, test::pskSignal("tuning", test::kPsk31, 1507, 8000, 128));
    const int tracked = detector.rxFrequency();
    EXPECT_NEAR(tracked, 1507, 1);
    const double before = detector.agcLevel();
    detector.setRxFrequency(tracked);
    EXPECT_EQ(detector.rxFrequency(), tracked);
    EXPECT_EQ(detector.agcLevel(), before);
}

TEST(PskDet, FrequenciesBeyondTheBandAreHeldWithinIt) {
    CPSKDet detector;
    detector.setRxFrequency(-5);
    EXPECT_EQ(detector.rxFrequency(), 0);
    detector.setRxFrequency(2000000000);
    EXPECT_EQ(detector.rxFrequency(), 4000);
    EXPECT_EQ(receive(detector, std::vector<double>(4096, 0.1)), "");
}

TEST(PskDet, AResetDoesNotChangeTheFrequency) {
    CPSKDet detector;
    receive(detector, test::pskSignal("tuning in", test::kPsk31, 1506, 8000, 64));
    const int tracked = detector.rxFrequency();
    EXPECT_NE(tracked, 1500);
    detector.resetDetector();
    EXPECT_EQ(detector.rxFrequency(), tracked);
    EXPECT_EQ(detector.signalQuality(), 10);
    EXPECT_FALSE(detector.squelchOpen());
    EXPECT_EQ(receive(detector, test::pskSignal("again", test::kPsk31, 1506, 8000, 64)), "again");
}

// Fifty either side of the set point, then fifty either side of where acquisition ended.
TEST(PskDet, AfcStaysWithinFiftyHertzOfItsSetPoint) {
    for (const double hz : {1590.0, 1410.0})
        for (const bool fast : {false, true}) {
            CPSKDet detector;
            detector.setFastAfc(fast);
            detector.setRxFrequency(1400);
            detector.setRxFrequency(1500);
            const auto signal = test::pskSignal(std::string(60, 'k'), test::kPsk31, hz, 8000, 64);
            double centre = 1500;
            const int acquisition = fast ? 2 : 10;
            for (int block = 0; (static_cast<std::size_t>(block) + 1) * 2048 <= signal.size(); ++block) {
                std::vector<float> samples(2048);
                for (std::size_t n = 0; n < samples.size(); ++n)
                    samples[n] =
                        static_cast<float>(3000 * signal[static_cast<std::size_t>(block) * 2048 + n]);
                char out[10];
                detector.processBlock(samples.data(), 2048, out);
                ASSERT_LE(std::abs(detector.rxFrequency() - centre), 51) << hz << " block " << block;
                if (block + 1 == acquisition)
                    centre = detector.rxFrequency();
            }
        }
}

TEST(PskDet, WithoutAfcTheFrequencyStays) {
    CPSKDet detector;
    detector.setAfc(false);
    EXPECT_EQ(receive(detector, test::pskSignal("steady", test::kPsk31, 1502, 8000, 64)), "steady");
    EXPECT_EQ(detector.rxFrequency(), 1500);
}

TEST(PskDet, AfcPullsInFromTenHertzInBlocksOf512) {
    for (const int off : {-10, -5, 5, 10}) {
        CPSKDet detector;
        const std::string text = test::pskText(40, 21);
        EXPECT_EQ(receive(detector, test::pskSignal(text, test::kPsk31, 1500 + off, 8000, 200)), text) << off;
        EXPECT_NEAR(detector.rxFrequency(), 1500 + off, 1.5);
    }
}

// The acquisition lasts ten blocks, so that long ones pull farther.
TEST(PskDet, AfcPullsInFromFortyHertzInBlocksOf2048) {
    for (const int off : {-40, -30, -20, 20, 30, 40}) {
        CPSKDet detector;
        const std::string text = test::pskText(40, 22);
        const auto signal = test::pskSignal(text, test::kPsk31, 1500 + off, 8000, 200);
        const std::string got = receive(detector, signal, 3000, 2048);
        EXPECT_EQ(got.substr(0, 30), text.substr(0, 30)) << off;
        EXPECT_NEAR(detector.rxFrequency(), 1500 + off, 1.5);
    }
}

TEST(PskDet, FastSignalsPullInFartherInBlocksOf512) {
    for (const auto& [form, reach] : {std::pair{test::kPsk63, 20}, std::pair{test::kPsk125, 40}})
        for (const int off : {-reach, reach}) {
            CPSKDet detector(form.modeWord);
            const std::string text = test::pskText(40, 23);
            EXPECT_EQ(receive(detector, test::pskSignal(text, form, 1500 + off, 8000, 200)), text)
                << form.name << " " << off;
        }
}

TEST(PskDet, ReversalsOpenTheSquelchAndACarrierShutsIt) {
    CPSKDet detector;
    receive(detector, test::pskSignal(test::pskPhases(std::vector<int>(80, 0), false), 31.25, 1500, 8000));
    EXPECT_TRUE(detector.squelchOpen());
    EXPECT_GE(detector.signalQuality(), 75);
    receive(detector, test::pskSignal(test::pskPhases(std::vector<int>(40, 1), false), 31.25, 1500, 8000));
    EXPECT_FALSE(detector.squelchOpen());
    EXPECT_EQ(detector.signalQuality(), 0);
}

TEST(PskDet, SilenceHasNoQuality) {
    CPSKDet detector;
    receive(detector, test::pskSignal("x", test::kPsk31, 1500), 10); // level 5 after the mixer
    EXPECT_EQ(detector.signalQuality(), 0);
    EXPECT_FALSE(detector.squelchOpen());
    EXPECT_EQ(detector.points()[0].i, 2);
    EXPECT_EQ(detector.points()[0].q, 2);
}

TEST(PskDet, PointsOfAnIdleSignalLieOnOneSide) {
    CPSKDet detector;
    receive(detector, test::pskSignal(test::pskPhases(std::vector<int>(96, 0), false), 31.25, 1500, 8000));
    int reversals = 0;
    for (const auto& point : detector.points()) {
        EXPECT_NEAR(std::hypot(point.i, point.q), 1000, 2);
        reversals += point.q < -900 ? 1 : 0;
    }
    EXPECT_GE(reversals, 14);
}

TEST(PskDet, ClockErrorIsThatOfTheSender) {
    for (const double ppm : {-400.0, 400.0}) {
        CPSKDet detector;
        // A sender whose symbols are short by so much: at 8000 samples a second its rate is high.
        const auto phases = test::pskPhases(test::pskBits(test::pskText(180, 31), 64, 40), false);
        receive(detector, test::pskSignal(phases, 31.25 * (1 + ppm * 1e-6), 1500, 8000));
        EXPECT_NEAR(detector.clockError(), -ppm, 200) << ppm;
    }
}

TEST(PskDet, ASlowClockIsFollowed) {
    for (const double ppm : {-500.0, 500.0}) {
        CPSKDet detector;
        const std::string text = test::pskText(150, 32);
        const auto phases = test::pskPhases(test::pskBits(text, 64, 40), false);
        EXPECT_EQ(receive(detector, test::pskSignal(phases, 31.25 * (1 + ppm * 1e-6), 1500, 8000)), text)
            << ppm;
    }
}

TEST(PskDet, IdleSignalGivesItsIntermodulation) {
    CPSKDet detector;
    receive(detector, test::pskSignal(test::pskPhases(std::vector<int>(96, 0), false), 31.25, 1500, 8000));
    const auto& energies = detector.imd().energies();
    EXPECT_GT(energies[0], 0);
    EXPECT_LT(energies[2], 1e-5 * energies[0]); // a clean sender
}

TEST(PskDet, ModeWordsWithAnUnknownSchemeCountAsZero) {
    EXPECT_EQ(CPSKDet(6).mode(), 0);
    EXPECT_EQ(CPSKDet(15).mode(), 0);
    EXPECT_EQ(CPSKDet(9).mode(), 9);
    EXPECT_EQ(CPSKDet(17).mode(), 17);
}

TEST(PskDet, ANewModeWordStartsAfresh) {
    CPSKDet detector;
    receive(detector, test::pskSignal("first", test::kPsk31, 1503, 8000, 64));
    const int tracked = detector.rxFrequency();
    detector.setMode(8);
    EXPECT_EQ(detector.mode(), 8);
    EXPECT_EQ(detector.rxFrequency(), tracked);
    EXPECT_EQ(detector.signalQuality(), 10);
    EXPECT_EQ(receive(detector, test::pskSignal("second", test::kPsk63, 1503, 8000, 64)), "second");
}

TEST(PskDet, WeakSignalsInNoiseAreRead) {
    const auto percent = [](const PskForm& form, double snr) {
        test::PskTrial trial;
        trial.snr = snr;
        trial.characters = 60;
        trial.hz = 1500.5;
        double sum = 0;
        for (std::uint64_t seed = 1; seed <= 5; ++seed)
            sum += test::tryPsk(form, trial, seed);
        return 20 * sum;
    };
    EXPECT_LE(percent(test::kPsk31, -9), 2);
    EXPECT_LE(percent(test::kPsk63, -6), 2);
    EXPECT_LE(percent(test::kPsk125, -3), 2);
    EXPECT_LE(percent(test::kQpsk31, -3), 2); // the squelch of QPSK asks for more than its code
}

TEST(PskDet, NoiseAloneKeepsTheSquelchShut) {
    CPSKDet detector;
    std::mt19937_64 random(9);
    std::vector<double> noise(8000 * 30, 0.0);
    test::addNoise(noise, 1, 0, 8000, random);
    EXPECT_LE(receive(detector, noise).size(), 3u); // in half a minute
}

} // namespace
} // namespace ferrow
