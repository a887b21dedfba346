#include "radios/hpsdr/control_banks.hpp"

#include "radios/hpsdr/frequency_word.hpp"

#include <gtest/gtest.h>
#include <vector>

namespace ferrow {
namespace {

std::uint32_t wordOf(const ControlWords& words) {
    return static_cast<std::uint32_t>(words[1]) << 24 | static_cast<std::uint32_t>(words[2]) << 16 |
           static_cast<std::uint32_t>(words[3]) << 8 | words[4];
}

// Fourteen receivers whose frequencies and ADCs all differ in a known way.
std::vector<ReceiverTuning> receivers(int count) {
    std::vector<ReceiverTuning> all;
    for (int i = 0; i < count; ++i)
        all.push_back({1000000LL * (i + 1) + i, i % 4});
    return all;
}

ControlState sampleState(const std::vector<ReceiverTuning>& tuned) {
    ControlState state;
    state.sampleRate = 192000;
    state.filterWord = 0x45;
    state.txFrequency = 14200000;
    state.receivers = tuned;
    state.maxHwReceivers = 12;
    state.driveByte = 0xE0;
    state.cwHangTime = 0x1FF;
    return state;
}

TEST(ControlBanks, TheWholeTableByteByByte) {
    const auto tuned = receivers(9);
    const ControlState state = sampleState(tuned);
    // Written out by hand: C1 to C4 of every bank. 10000000 Hz is 0x00989680.
    const std::vector<std::array<int, 4>> expected{
        {2, 0x8A, 0, (8 << 3) | 4},                                         // 0
        {0x00, 0xD8, 0xAC, 0xC0},                                           // 1: 14200000
        {0x00, 0x0F, 0x42, 0x40},                                           // 2: 1000000
        {0x00, 0x1E, 0x84, 0x81},                                           // 3: 2000001
        {0x00, 0x2D, 0xC6, 0xC2},                                           // 4: 3000002
        {0x00, 0x3D, 0x09, 0x03},                                           // 5: 4000003
        {0x00, 0x4C, 0x4B, 0x44},                                           // 6: 5000004
        {0x00, 0x5B, 0x8D, 0x85},                                           // 7: 6000005
        {0x00, 0x6A, 0xCF, 0xC6},                                           // 8: 7000006
        {0xE0, 0, 0, 0},                                                    // 9
        {0, 0, 0, 26 + 32},                                                 // 10
        {0, 0, 0, 0},                                                       // 11
        {0, 0, 0, 0},                                                       // 12
        {0, 0, 0, 0},                                                       // 13
        {0 | 1 << 2 | 2 << 4 | 3 << 6, 0 | 1 << 2 | 2 << 4 | 3 << 6, 0, 0}, // 14
        {0, 0, 0, 0},                                                       // 15
        {0x7F, 3, 0, 0},                                                    // 16
        {0, 0, 0, 0},                                                       // 17
        {0x00, 0x7A, 0x12, 0x07},                                           // 18: receiver 7, 8000007
        {0x00, 0x89, 0x54, 0x48},                                           // 19: receiver 8, 9000008
        {0x00, 0x98, 0x96, 0x80},                                           // 20: receiver 9 does not exist
        {0x00, 0x98, 0x96, 0x80},                                           // 21
        {0x00, 0x98, 0x96, 0x80},                                           // 22
        {0, 0, 22, 10},                                                     // 23
    };
    for (int bank = 0; bank < 46; ++bank) {
        std::array<int, 4> want{0x00, 0x98, 0x96, 0x80};
        if (bank < 24)
            want = expected[static_cast<std::size_t>(bank)];
        else if (bank >= 43)
            want = {0, 0, 0, 0};
        const ControlWords got = controlBank(bank, state);
        EXPECT_EQ(got[0], 2 * bank) << "bank " << bank;
        for (std::size_t i = 0; i < 4; ++i)
            EXPECT_EQ(got[i + 1], want[i]) << "bank " << bank << " C" << i + 1;
    }
}

TEST(ControlBanks, TheTransmitFlagIsBit0OfEveryC0) {
    const auto tuned = receivers(3);
    ControlState state = sampleState(tuned);
    state.ptt = true;
    for (int bank = 0; bank < 46; ++bank)
        EXPECT_EQ(controlBank(bank, state)[0], 2 * bank + 1);
}

TEST(ControlBanks, ReceiversLieInBanks2To8And18To42) {
    const auto tuned = receivers(32);
    ControlState state = sampleState(tuned);
    for (const int most : {12, 13, 32}) {
        state.maxHwReceivers = most;
        for (int receiver = 0; receiver < 32; ++receiver) {
            const int bank = receiver < 7 ? receiver + 2 : receiver + 11;
            const ControlWords words = controlBank(bank, state);
            if (bank == 23 && most <= 12) {
                EXPECT_EQ(wordOf(words), (22u << 8 | 10u));
                continue;
            }
            EXPECT_EQ(wordOf(words),
                      1000000u * static_cast<unsigned>(receiver + 1) + static_cast<unsigned>(receiver))
                << "receiver " << receiver;
        }
    }
}

TEST(ControlBanks, AReceiverIndexWithoutAnEntryReads10MHzAlsoInBank18AndUp) {
    const auto tuned = receivers(1);
    ControlState state = sampleState(tuned);
    state.maxHwReceivers = 32;
    for (int bank = 3; bank <= 8; ++bank)
        EXPECT_EQ(wordOf(controlBank(bank, state)), 10000000u);
    for (int bank = 18; bank <= 42; ++bank)
        EXPECT_EQ(wordOf(controlBank(bank, state)), 10000000u);
}

TEST(ControlBanks, ABankCounterOf44Or45SendsAnEmptyBank) {
    const auto tuned = receivers(2);
    ControlState state = sampleState(tuned);
    for (const int bank : {44, 45}) {
        state.ptt = false;
        EXPECT_EQ(controlBank(bank, state), (ControlWords{static_cast<std::uint8_t>(2 * bank), 0, 0, 0, 0}));
        state.ptt = true;
        EXPECT_EQ(controlBank(bank, state),
                  (ControlWords{static_cast<std::uint8_t>(2 * bank + 1), 0, 0, 0, 0}));
    }
}

TEST(ControlBanks, Bank0RateCodes) {
    const auto tuned = receivers(1);
    ControlState state = sampleState(tuned);
    for (const auto& [rate, code] : {std::pair{48000, 0},
                                     {96000, 1},
                                     {192000, 2},
                                     {384000, 3},
                                     {44100, 0},
                                     {768000, 0},
                                     {0, 0},
                                     {-1, 0}}) {
        state.sampleRate = rate;
        EXPECT_EQ(controlBank(0, state)[1], code) << rate;
    }
}

TEST(ControlBanks, Bank0FilterAntennaGainAndReceiverCount) {
    auto tuned = receivers(1);
    ControlState state = sampleState(tuned);
    for (const auto& [word, byte] :
         {std::pair{0, 0}, {1, 2}, {0x7F, 0xFE}, {0x80, 0}, {0x1FF, 0xFE}, {-1, 0xFE}}) {
        state.filterWord = word;
        EXPECT_EQ(controlBank(0, state)[2], byte) << word;
    }
    EXPECT_EQ(controlBank(0, state)[3], 0);
    state.extraGain = true;
    EXPECT_EQ(controlBank(0, state)[3], 0x08);
    state.rxAntenna = true;
    EXPECT_EQ(controlBank(0, state)[3], 0x28);
    state.extraGain = false;
    EXPECT_EQ(controlBank(0, state)[3], 0x20);
    for (int count = 1; count <= 32; ++count) {
        const auto some = receivers(count);
        state.receivers = some;
        EXPECT_EQ(controlBank(0, state)[4], (8 * (count - 1) + 4) % 256);
    }
}

TEST(ControlBanks, Bank9PaBitsAreForTypes6And7Only) {
    const auto tuned = receivers(1);
    ControlState state = sampleState(tuned);
    state.disableTR = state.enablePA = state.atuTune = state.tune = true;
    for (int type = 0; type < 12; ++type) {
        state.typeId = type;
        EXPECT_EQ(controlBank(9, state)[2], type == 6 || type == 7 ? 0x1C : 0) << "type " << type;
    }
    state.typeId = 6;
    state.tune = false;
    EXPECT_EQ(controlBank(9, state)[2], 0x0C) << "the tuner runs only while the transceiver tunes";
    state.tune = true;
    state.atuTune = false;
    state.disableTR = false;
    EXPECT_EQ(controlBank(9, state)[2], 0x08);
    state.enablePA = false;
    state.disableTR = true;
    EXPECT_EQ(controlBank(9, state)[2], 0x04);
}

TEST(ControlBanks, Bank10GainByte) {
    const auto tuned = receivers(1);
    ControlState state = sampleState(tuned);
    state.gainCode = 250;
    EXPECT_EQ(controlBank(10, state)[4], (250 + 32) % 256);
    state.hlite2Gain = true;
    EXPECT_EQ(controlBank(10, state)[4], (250 + 64) % 256);
    state.hliteRxTxGain = true;
    state.rxGain = 20;
    state.minRxRFGain = -12;
    EXPECT_EQ(controlBank(10, state)[4], 20 + 12 + 64) << "first match";
    state.rxGain = -100;
    EXPECT_EQ(controlBank(10, state)[4], 256 - 24);
}

TEST(ControlBanks, Bank14AdcsAndTransmitGain) {
    const std::vector<ReceiverTuning> tuned{{1, 3}, {1, 0}, {1, 2}, {1, 1}, {1, 1}, {1, 3}};
    ControlState state = sampleState(tuned);
    ControlWords words = controlBank(14, state);
    EXPECT_EQ(words[1], 0b01100011);
    EXPECT_EQ(words[2], 0b00001101);
    EXPECT_EQ(words[3], 0);
    state.hliteRxTxGain = true;
    state.txGain = 19;
    EXPECT_EQ(controlBank(14, state)[3], (19 + 12 - 64 + 256) % 256);
    state.txGain = 60;
    EXPECT_EQ(controlBank(14, state)[3], 60 + 12 - 64);
}

TEST(ControlBanks, Banks15And16CarryTheKeyer) {
    const auto tuned = receivers(1);
    ControlState state = sampleState(tuned);
    state.cwInternal = true;
    EXPECT_EQ(controlBank(15, state)[1], 1);
    for (const int hang : {0, 3, 120, 1023, 1024}) {
        state.cwHangTime = hang;
        EXPECT_EQ(controlBank(16, state)[1], hang / 4 % 256);
        EXPECT_EQ(controlBank(16, state)[2], hang % 4);
    }
}

TEST(ControlBanks, Bank23HangTimeAndLatency) {
    const auto tuned = receivers(1);
    ControlState state = sampleState(tuned);
    state.pttHangTime = 300;
    state.txBufferLatency = 70;
    EXPECT_EQ(controlBank(23, state), (ControlWords{0x2E, 0, 0, 300 - 256, 70}));
    state.maxHwReceivers = 13;
    EXPECT_EQ(wordOf(controlBank(23, state)), 10000000u);
}

TEST(FrequencyWord, ZonesOf73728000Hz) {
    constexpr int kClock = 73728000;
    EXPECT_EQ(frequencyWord(14095600, 1.0, kClock), 14095600u);
    EXPECT_EQ(frequencyWord(36863999, 1.0, kClock), 36863999u);
    EXPECT_EQ(frequencyWord(36864000, 1.0, kClock), 36864000u) << "zone 1 begins mirrored";
    EXPECT_EQ(frequencyWord(40000000, 1.0, kClock), 33728000u);
    EXPECT_EQ(frequencyWord(73727999, 1.0, kClock), 1u);
    EXPECT_EQ(frequencyWord(73728000, 1.0, kClock), 0u);
    EXPECT_EQ(frequencyWord(100000000, 1.0, kClock), 100000000u - 73728000u);
    EXPECT_EQ(frequencyWord(144000000, 1.0, kClock), 4u * 36864000u - 144000000u);
    EXPECT_TRUE(inOddZone(40000000, kClock));
    EXPECT_FALSE(inOddZone(36863999, kClock));
    EXPECT_FALSE(inOddZone(73728000, kClock));
    EXPECT_TRUE(inOddZone(144000000, kClock));
}

TEST(FrequencyWord, CalibrationRoundsHalvesAwayFromZero) {
    EXPECT_EQ(frequencyWord(10000000, 1.00001, 73728000), 10000100u);
    EXPECT_EQ(frequencyWord(5, 0.5, 73728000), 3u);
    EXPECT_EQ(frequencyWord(3, 0.5, 73728000), 2u);
    EXPECT_EQ(frequencyWord(1, 0.5, 73728000), 1u);
    EXPECT_EQ(frequencyWord(1, 0.4999, 73728000), 0u);
    // The fold is decided behind the calibration.
    EXPECT_EQ(frequencyWord(36863999, 1.0000001, 73728000), 36864000u - 3u);
}

TEST(FrequencyWord, AClockThatCannotBeHalvedDoesNoHarm) {
    for (const int clock : {0, 1, -5}) {
        EXPECT_EQ(frequencyWord(7100000, 1.0, clock), 7100000u);
        EXPECT_FALSE(inOddZone(7100000, clock));
    }
    EXPECT_EQ(frequencyWord(7, 1.0, 2), 1u) << "zone 7 is odd, and nothing is left of it";
}

} // namespace
} // namespace ferrow
