#include "sim/radio/np_receive_stream.hpp"
#include "sim/scene/build_sky.hpp"
#include "tests/sim/np_host.hpp"
#include "tests/sim/sky_probe.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

using namespace ferrow::sim;
using ferrow::sim::testing::amplitudeAt;
using ferrow::sim::testing::Bytes;
using ferrow::sim::testing::meanPower;
using ferrow::sim::testing::numberAt;
using ferrow::sim::testing::packetOf;
using ferrow::sim::testing::Samples;

namespace {

const char* const kCarriers = R"({"noise_floor": null, "stations": [
    {"kind": "carrier", "frequency": 14102000, "level": -6},
    {"kind": "carrier", "frequency": 70001000, "level": -20}]})";

NpReceiveStream makeStream(const std::string& scene, int adcBits = 16) {
    return {buildSky(parseScene(scene, ".")).sky, 0.0, WireScale{adcBits}, false};
}

NpControl controlAt(const std::vector<double>& hertz, int kilohertz) {
    NpControl control;
    control.general.flags = 8;
    for (std::size_t i = 0; i < hertz.size(); ++i) {
        control.ddc.receivers[i] = {true, 0, static_cast<std::uint16_t>(kilohertz), 24};
        control.high.receiverWord[i] =
            static_cast<std::uint32_t>(std::llround(hertz[i] / 122880000.0 * 4294967296.0));
    }
    return control;
}

std::array<int, 8> ratesOf(const std::vector<int>& rates) {
    std::array<int, 8> all{};
    std::copy(rates.begin(), rates.end(), all.begin());
    return all;
}

/// The test's own reading of the samples, full scale 1.
Samples samplesOf(const NpIqPacket& packet) {
    Samples out;
    const auto value = [&](std::size_t at) {
        const int v = packet[at] << 16 | packet[at + 1] << 8 | packet[at + 2];
        return (v >= 0x800000 ? v - 0x1000000 : v) / 8388608.0;
    };
    for (std::size_t i = 0; i < 238; ++i)
        out.emplace_back(value(16 + 6 * i), value(19 + 6 * i));
    return out;
}

Samples take(NpReceiveStream& stream, int receiver, const NpControl& control, int packets) {
    Samples out;
    NpIqPacket packet;
    for (int i = 0; i < packets; ++i) {
        stream.buildIq(receiver, packet, control);
        const auto more = samplesOf(packet);
        out.insert(out.end(), more.begin(), more.end());
    }
    return out;
}

} // namespace

TEST(Protocol2, ClassifiesWhatComesToTheGeneralPort) {
    EXPECT_EQ(p2::classify(packetOf(60, {{4, 0}})), p2::GeneralPacket::General);
    EXPECT_EQ(p2::classify(packetOf(60, {{4, 2}})), p2::GeneralPacket::Discovery);
    EXPECT_EQ(p2::classify(packetOf(60, {{3, 7}, {4, 2}})), p2::GeneralPacket::Discovery) << "any number";
    EXPECT_EQ(p2::classify(packetOf(60, {{4, 3}})), p2::GeneralPacket::Foreign) << "set address";
    EXPECT_EQ(p2::classify(packetOf(59, {})), p2::GeneralPacket::Foreign);
    EXPECT_EQ(p2::classify(packetOf(61, {{4, 2}})), p2::GeneralPacket::Foreign);
    EXPECT_EQ(p2::classify(packetOf(63, {{0, 0xEF}, {1, 0xFE}, {2, 2}})), p2::GeneralPacket::Foreign);
    EXPECT_EQ(p2::classify(packetOf(60, {{0, 0xEF}, {1, 0xFE}, {2, 2}})), p2::GeneralPacket::Foreign);
    EXPECT_EQ(p2::classify({}), p2::GeneralPacket::Foreign);
}

TEST(Protocol2, GeneralPacketFieldByField) {
    std::map<std::size_t, int> bytes;
    for (std::size_t i = 0; i < 9; ++i) { // ports 0x2101, 0x2202 ...
        bytes[5 + 2 * i] = static_cast<int>(0x21 + i);
        bytes[6 + 2 * i] = static_cast<int>(1 + i);
    }
    for (const auto& [at, value] : std::map<std::size_t, int>{
             {23, 3}, {24, 1}, {25, 4}, {26, 12}, {27, 70}, {28, 16}, {37, 9}, {38, 1}, {58, 1}, {59, 2}})
        bytes[at] = value;
    p2::General g;
    ASSERT_TRUE(p2::read(packetOf(60, bytes), g));
    EXPECT_EQ(g.ddcPort, 0x2101);
    EXPECT_EQ(g.ducPort, 0x2202);
    EXPECT_EQ(g.highPriorityPort, 0x2303);
    EXPECT_EQ(g.statusPort, 0x2404);
    EXPECT_EQ(g.audioPort, 0x2505);
    EXPECT_EQ(g.ducIqPort, 0x2606);
    EXPECT_EQ(g.firstIqPort, 0x2707);
    EXPECT_EQ(g.microphonePort, 0x2808);
    EXPECT_EQ(g.widebandPort, 0x2909);
    EXPECT_EQ(g.widebandEnable, 3);
    EXPECT_EQ(g.widebandSamples, 260);
    EXPECT_EQ(g.widebandBits, 12);
    EXPECT_EQ(g.widebandInterval, 70);
    EXPECT_EQ(g.widebandPackets, 16);
    EXPECT_TRUE(g.phaseWords());
    EXPECT_TRUE(g.watchdog());
    EXPECT_EQ(g.amplifier, 1);
    EXPECT_EQ(g.filterBoards, 2);

    ASSERT_TRUE(p2::read(packetOf(60, {}), g)) << "ports of 0 are the usual ones";
    EXPECT_EQ(g.ddcPort, 1025);
    EXPECT_EQ(g.ducPort, 1026);
    EXPECT_EQ(g.highPriorityPort, 1027);
    EXPECT_EQ(g.statusPort, 1025);
    EXPECT_EQ(g.audioPort, 1028);
    EXPECT_EQ(g.ducIqPort, 1029);
    EXPECT_EQ(g.firstIqPort, 1035);
    EXPECT_EQ(g.microphonePort, 1026);
    EXPECT_EQ(g.widebandPort, 1027);
    EXPECT_FALSE(g.phaseWords());
    EXPECT_FALSE(p2::read(packetOf(1444, {}), g));
}

TEST(Protocol2, DdcPacketFieldByField) {
    p2::Ddc ddc;
    ASSERT_TRUE(p2::read(packetOf(1444, {{4, 2},
                                         {5, 1},
                                         {6, 2},
                                         {7, 0x85},
                                         {8, 0x03},
                                         {17, 1},
                                         {18, 6},
                                         {22, 24},
                                         {31, 48},
                                         {34, 16},
                                         {17 + 42, 0},
                                         {18 + 42, 1},
                                         {19 + 42, 0x80},
                                         {22 + 42, 24}}),
                         ddc));
    EXPECT_EQ(ddc.adcs, 2);
    EXPECT_EQ(ddc.dither, 1);
    EXPECT_EQ(ddc.random, 2);
    EXPECT_EQ(ddc.enableBits, 0x385);
    EXPECT_TRUE(ddc.receivers[0].enabled);
    EXPECT_EQ(ddc.receivers[0].adc, 1);
    EXPECT_EQ(p2::usableRate(ddc.receivers[0]), 1536000);
    EXPECT_FALSE(ddc.receivers[1].enabled);
    EXPECT_EQ(ddc.receivers[2].kilohertz, 48);
    EXPECT_EQ(p2::usableRate(ddc.receivers[2]), 0) << "16 bits";
    EXPECT_EQ(p2::usableRate(ddc.receivers[7]), 384000);
    EXPECT_EQ(p2::usableRate({true, 0, 50, 24}), 0);
    EXPECT_EQ(p2::usableRate({true, 0, 3072, 24}), 0);
    EXPECT_EQ(p2::usableRate({false, 0, 48, 24}), 0);
    EXPECT_FALSE(p2::read(packetOf(1443, {}), ddc));
    EXPECT_EQ(ddc.adcs, 2) << "as it was";
}

TEST(Protocol2, DucPacketFieldByField) {
    p2::Duc duc;
    ASSERT_TRUE(p2::read(packetOf(60, {{4, 1},
                                       {5, 0xB8},
                                       {6, 77},
                                       {7, 2},
                                       {8, 0x58},
                                       {9, 25},
                                       {10, 50},
                                       {11, 1},
                                       {12, 0x36},
                                       {13, 20},
                                       {15, 192},
                                       {50, 4},
                                       {51, 23},
                                       {57, 29},
                                       {58, 30},
                                       {59, 31}}),
                         duc));
    EXPECT_EQ(duc.dacs, 1);
    EXPECT_EQ(duc.cwMode, 0xB8);
    EXPECT_EQ(duc.sidetoneLevel, 77);
    EXPECT_EQ(duc.sidetoneHz, 600);
    EXPECT_EQ(duc.keyerSpeed, 25);
    EXPECT_EQ(duc.keyerWeight, 50);
    EXPECT_EQ(duc.hangDelay, 310);
    EXPECT_EQ(duc.rfDelay, 20);
    EXPECT_EQ(duc.sampleRate, 192);
    EXPECT_EQ(duc.microphoneBits, 4);
    EXPECT_EQ(duc.lineGain, 23);
    EXPECT_EQ(duc.attenuators, (std::array<std::uint8_t, 3>{29, 30, 31}));
    EXPECT_FALSE(p2::read(packetOf(61, {}), duc));
}

TEST(Protocol2, HighPriorityPacketFieldByField) {
    p2::HighPriority high;
    ASSERT_TRUE(p2::read(packetOf(1444, {{4, 0x03},
                                         {9, 0x12},
                                         {10, 0x34},
                                         {11, 0x56},
                                         {12, 0x78},
                                         {9 + 28, 0x40},
                                         {329, 0x01},
                                         {332, 0x02},
                                         {345, 200},
                                         {1432, 0x21},
                                         {1434, 0x10},
                                         {1442, 7},
                                         {1443, 31}}),
                         high));
    EXPECT_TRUE(high.run);
    EXPECT_EQ(high.ptt, 1);
    EXPECT_EQ(high.receiverWord[0], 0x12345678u);
    EXPECT_EQ(high.receiverWord[7], 0x40000000u);
    EXPECT_EQ(high.transmitWord, 0x01000002u);
    EXPECT_EQ(high.drive, 200);
    EXPECT_EQ(high.filterBits, 0x21001000u);
    EXPECT_EQ(high.attenuator[0], 31);
    EXPECT_EQ(high.attenuator[1], 7);
    p2::General phase, plain;
    phase.flags = 8;
    EXPECT_DOUBLE_EQ(p2::frequencyOf(0x40000000u, phase), 30720000.0);
    EXPECT_DOUBLE_EQ(p2::frequencyOf(14200000, plain), 14200000.0);
}

TEST(Protocol2, DiscoveryReplyAndStatusByteByByte) {
    Identity who = p2::usualIdentity();
    who.mac = {2, 3, 4, 5, 6, 7};
    const auto reply = p2::discoveryReply(who, false);
    EXPECT_EQ(Bytes(reply.begin(), reply.end()), packetOf(60, {{4, 2},
                                                               {5, 2},
                                                               {6, 3},
                                                               {7, 4},
                                                               {8, 5},
                                                               {9, 6},
                                                               {10, 7},
                                                               {11, 5},
                                                               {12, 39},
                                                               {13, 21},
                                                               {20, 8},
                                                               {21, 1}}));
    EXPECT_EQ(p2::discoveryReply(who, true)[4], 3);

    p2::Status status;
    auto packet = p2::statusPacket(0x01020304, status);
    EXPECT_EQ(Bytes(packet.begin(), packet.end()), packetOf(60, {{0, 1}, {1, 2}, {2, 3}, {3, 4}, {4, 0x10}}));
    status = {true, true, 1, 0x111, 0x222, 0x333, 0x444, 0x555, 0x666};
    packet = p2::statusPacket(0, status);
    EXPECT_EQ(Bytes(packet.begin(), packet.end()), packetOf(60, {{4, 0x13},
                                                                 {5, 1},
                                                                 {14, 1},
                                                                 {15, 0x11},
                                                                 {22, 2},
                                                                 {23, 0x22},
                                                                 {49, 3},
                                                                 {50, 0x33},
                                                                 {53, 6},
                                                                 {54, 0x66},
                                                                 {55, 5},
                                                                 {56, 0x55},
                                                                 {57, 4},
                                                                 {58, 0x44}}));
}

TEST(NpReceiveStream, PacketsHaveTheirHeaderAndFullScale) {
    for (const int kilohertz : {48, 96, 192, 384, 768, 1536}) {
        auto stream = makeStream(kCarriers);
        const NpControl control = controlAt({14100000.0}, kilohertz);
        stream.begin(ratesOf({1000 * kilohertz}), {}, 100);
        NpIqPacket packet;
        for (std::uint32_t i = 0; i < 3; ++i) {
            stream.buildIq(0, packet, control);
            const Bytes head(packet.begin(), packet.begin() + 16);
            EXPECT_EQ(numberAt(head, 0, 4), i);
            EXPECT_EQ(numberAt(head, 4, 8), 0u);
            EXPECT_EQ(numberAt(head, 12, 2), 24u);
            EXPECT_EQ(numberAt(head, 14, 2), 238u);
        }
        // 2 kHz above the oscillator: turns backwards on the wire, half of full scale
        const auto samples = take(stream, 0, control, kilohertz / 4);
        EXPECT_NEAR(amplitudeAt(samples, -2000.0, 1000.0 * kilohertz), 0.5012, 0.001) << kilohertz;
        EXPECT_LT(amplitudeAt(samples, 2000.0, 1000.0 * kilohertz), 1e-4);
    }
}

TEST(NpReceiveStream, ReceiversRunAtRatesOfTheirOwn) {
    auto stream = makeStream(kCarriers);
    NpControl control = controlAt({14100000.0, 14101000.0, 14103000.0}, 48);
    stream.begin(ratesOf({48000, 0, 384000}), {}, 7);
    EXPECT_NEAR(amplitudeAt(take(stream, 2, control, 64), 1000.0, 384000.0), 0.5012, 0.001);
    EXPECT_NEAR(amplitudeAt(take(stream, 0, control, 16), -2000.0, 48000.0), 0.5012, 0.001);
    EXPECT_EQ(stream.sequence(0), 16u);
    EXPECT_EQ(stream.sequence(2), 64u);
    // a receiver that goes on keeps its numbers, a new one begins at 0
    stream.begin(ratesOf({48000, 96000, 0}), {}, 9);
    EXPECT_EQ(stream.sequence(0), 16u);
    EXPECT_EQ(stream.sequence(1), 0u);
    stream.begin(ratesOf({48000, 96000, 48000}), {}, 9);
    EXPECT_EQ(stream.sequence(2), 0u);
}

TEST(NpReceiveStream, SamplesGoOnAcrossPacketsAndBlocks) {
    auto stream = makeStream(kCarriers);
    const NpControl control = controlAt({14100000.0}, 192);
    stream.begin(ratesOf({192000}), {}, 0);
    const auto samples = take(stream, 0, control, 60);
    for (std::size_t i = 1; i < samples.size(); ++i) {
        const auto turn = samples[i] / samples[i - 1];
        ASSERT_NEAR(std::arg(turn), -2.0 * std::numbers::pi * 2000.0 / 192000.0, 1e-4) << i;
    }
}

TEST(NpReceiveStream, TwinsShareTheirSamplesAndOthersDoNot) {
    auto stream = makeStream(R"({"noise_floor": -60})");
    NpControl control = controlAt({14100000.0, 14100000.0, 14100000.0, 14200000.0}, 96);
    control.ddc.receivers[2].adc = 1;
    stream.begin(ratesOf({96000, 96000, 96000, 96000}), {}, 0);
    const auto first = take(stream, 0, control, 9);
    EXPECT_GT(meanPower(first), 0.0);
    EXPECT_EQ(take(stream, 1, control, 9), first);
    EXPECT_NE(take(stream, 2, control, 9), first) << "the other ADC has noise of its own";
    EXPECT_NE(take(stream, 3, control, 9), first);
}

TEST(NpReceiveStream, AttenuatorsOfBothAdcs) {
    auto stream = makeStream(kCarriers);
    NpControl control = controlAt({14100000.0, 14100000.0}, 48);
    control.ddc.receivers[1].adc = 1;
    control.high.attenuator = {20, 6};
    stream.begin(ratesOf({48000, 48000}), {}, 0);
    const double direct = std::pow(10.0, -6.0 / 20.0);
    EXPECT_NEAR(amplitudeAt(take(stream, 0, control, 16), -2000.0, 48000.0), direct * 0.1, 1e-4);
    EXPECT_NEAR(amplitudeAt(take(stream, 1, control, 16), -2000.0, 48000.0), direct * 0.501, 1e-3);
}

TEST(NpReceiveStream, BeyondHalfTheClockNothingIsMirrored) {
    // A carrier at 70.001 MHz folds to 52.879 MHz. An oscillator at 70 MHz turns backwards through the same
    // place and has it 1 kHz above itself, one at 52.88 MHz hears it 1 kHz below.
    auto stream = makeStream(kCarriers);
    const NpControl control = controlAt({70000000.0, 52880000.0}, 48);
    stream.begin(ratesOf({48000, 48000}), {}, 0);
    EXPECT_NEAR(amplitudeAt(take(stream, 0, control, 16), -1000.0, 48000.0), 0.1, 1e-3);
    EXPECT_NEAR(amplitudeAt(take(stream, 1, control, 16), 1000.0, 48000.0), 0.1, 1e-3);
}

TEST(NpReceiveStream, AdcBitsSetTheScale) {
    auto stream = makeStream(kCarriers, 14);
    const NpControl control = controlAt({14100000.0}, 48);
    stream.begin(ratesOf({48000}), {}, 0);
    EXPECT_NEAR(amplitudeAt(take(stream, 0, control, 16), -2000.0, 48000.0), 0.5012 / 4, 1e-3);
}

TEST(NpReceiveStream, WidebandIsBigEndianAndWhole) {
    auto stream = makeStream(kCarriers);
    const NpControl control = controlAt({14100000.0}, 48);
    stream.begin(ratesOf({48000}), {}, 0);
    const auto frame = stream.wideband(16384, control);
    ASSERT_EQ(frame.size(), 32768u);
    Samples x;
    for (std::size_t i = 0; i < 16384; ++i)
        x.emplace_back(static_cast<std::int16_t>(frame[2 * i] << 8 | frame[2 * i + 1]) / 32768.0);
    EXPECT_NEAR(2.0 * amplitudeAt(x, 14102000.0, 122880000.0), 0.5012, 0.002);
    EXPECT_NEAR(2.0 * amplitudeAt(x, 52879000.0, 122880000.0), 0.1, 0.001);
    EXPECT_LT(amplitudeAt(x, 30000000.0, 122880000.0), 1e-4);
}

TEST(NpReceiveStream, SamplesSaturate) {
    auto stream = makeStream(R"({"noise_floor": null, "stations": [
        {"kind": "carrier", "frequency": 14100000, "level": 0}, {"kind": "carrier", "frequency": 14100000, "level": 0}]})");
    const NpControl control = controlAt({14100000.0}, 48);
    stream.begin(ratesOf({48000}), {}, 0);
    const auto samples = take(stream, 0, control, 4);
    double most = 0.0;
    for (const auto& x : samples)
        most = std::max({most, std::abs(x.real()), std::abs(x.imag())});
    EXPECT_NEAR(most, 1.0, 1e-6);
    EXPECT_TRUE(stream.overload());
}
