#include "sim/radio/receive_stream.hpp"
#include "sim/scene/build_sky.hpp"
#include "sim/wire/control_state.hpp"
#include "sim/wire/protocol1.hpp"

#include <cmath>
#include <complex>
#include <gtest/gtest.h>
#include <numbers>

using namespace ferrow::sim;

namespace {

/// Applies bank `bank` with those bytes; true if it was taken as an I2C write.
bool apply(ControlState& state, int c0, int c1, int c2, int c3, int c4) {
    I2cWrite i2c{};
    return state.apply({static_cast<std::uint8_t>(c0), static_cast<std::uint8_t>(c1),
                        static_cast<std::uint8_t>(c2), static_cast<std::uint8_t>(c3),
                        static_cast<std::uint8_t>(c4)},
                       i2c);
}

ReceiveStream makeStream(const std::string& sceneText, TelemetrySettings telemetry = {}, int adcBits = 12) {
    return ReceiveStream(buildSky(parseScene(sceneText, ".")).sky, 0.0, WireScale{adcBits}, false,
                         std::move(telemetry), 73);
}

/// The test's own reading of a receive packet: samples of each receiver, and the control bytes of both
/// frames.
struct Parsed {
    std::uint32_t sequence = 0;
    std::vector<std::vector<std::complex<double>>> receivers;
    int control[2][5] = {};
};

Parsed parse(const Packet& p, int receivers) {
    Parsed out;
    const auto u8 = [&](int at) { return static_cast<unsigned>(p[static_cast<std::size_t>(at)]); };
    const auto s24 = [&](int at) {
        const int v = static_cast<int>(u8(at) << 16 | u8(at + 1) << 8 | u8(at + 2));
        return static_cast<double>(v >= 0x800000 ? v - 0x1000000 : v);
    };
    out.sequence = u8(4) << 24 | u8(5) << 16 | u8(6) << 8 | u8(7);
    out.receivers.resize(static_cast<std::size_t>(receivers));
    for (int frame = 0; frame < 2; ++frame) {
        const int base = 8 + 512 * frame;
        EXPECT_EQ(u8(base), 0x7Fu);
        EXPECT_EQ(u8(base + 1), 0x7Fu);
        EXPECT_EQ(u8(base + 2), 0x7Fu);
        for (int i = 0; i < 5; ++i)
            out.control[frame][i] = static_cast<int>(u8(base + 3 + i));
        const int size = 6 * receivers + 2;
        for (int at = base + 8; at + size <= base + 512; at += size)
            for (int r = 0; r < receivers; ++r)
                out.receivers[static_cast<std::size_t>(r)].emplace_back(s24(at + 6 * r), s24(at + 6 * r + 3));
    }
    return out;
}

const char* const kOneCarrier =
    R"({"noise_floor": null, "stations": [{"kind": "carrier", "frequency": 14100000, "level": -20}]})";

} // namespace

TEST(Wire, RecordsPerFrame) {
    const int expected[] = {63, 36, 25, 19, 15, 13, 11, 10, 9, 8, 7, 6};
    for (int n = 1; n <= 12; ++n)
        EXPECT_EQ(recordsPerFrame(n), expected[n - 1]) << n;
}

TEST(Wire, HostPacketsAreToldApart) {
    std::vector<std::uint8_t> p(63, 0);
    p[0] = 0xEF;
    p[1] = 0xFE;
    p[2] = 2;
    EXPECT_EQ(classify(p), HostPacket::Discovery);
    p[0] = 0xEE;
    EXPECT_EQ(classify(p), HostPacket::Foreign);
    p[0] = 0xEF;
    p[2] = 4;
    EXPECT_EQ(classify(p), HostPacket::Foreign) << "a start packet has 64 bytes";
    p.push_back(0);
    EXPECT_EQ(classify(p), HostPacket::Command);
    p.resize(1032);
    p[2] = 1;
    p[3] = 2;
    EXPECT_EQ(classify(p), HostPacket::Data);
    p[3] = 3;
    EXPECT_EQ(classify(p), HostPacket::Foreign);
    p[3] = 2;
    p.pop_back();
    EXPECT_EQ(classify(p), HostPacket::Foreign) << "too short";
    EXPECT_EQ(classify({}), HostPacket::Foreign);
}

TEST(Wire, DiscoveryReply) {
    Identity who;
    who.mac = {1, 2, 3, 4, 5, 6};
    who.firmware = 74;
    who.boardId = 6;
    who.hardwareReceivers = 10;
    const auto reply = discoveryReply(who, false);
    ASSERT_EQ(reply.size(), 60u);
    EXPECT_EQ(std::vector<int>(reply.begin(), reply.begin() + 11),
              (std::vector<int>{0xEF, 0xFE, 2, 1, 2, 3, 4, 5, 6, 74, 6}));
    EXPECT_EQ(reply[0x13], 10);
    EXPECT_EQ(discoveryReply(who, true)[2], 3);
}

TEST(Control, Bank0) {
    ControlState s;
    apply(s, 0x00, 2, 0x2A, 0x28, (3 << 3) | 4);
    EXPECT_EQ(s.rate, 192000);
    EXPECT_EQ(s.filterWord, 0x15);
    EXPECT_TRUE(s.extraGain);
    EXPECT_TRUE(s.rxAntenna);
    EXPECT_TRUE(s.duplex);
    EXPECT_EQ(s.receivers, 4);
    EXPECT_FALSE(s.ptt);
    const int rates[] = {48000, 96000, 192000, 384000};
    for (int code = 0; code < 4; ++code) {
        apply(s, 0x01, code, 0, 0, 4);
        EXPECT_EQ(s.rate, rates[code]);
        EXPECT_EQ(s.receivers, 1);
        EXPECT_TRUE(s.ptt);
    }
    apply(s, 0x00, 0, 0, 0, (30 << 3) | 4);
    EXPECT_EQ(s.receivers, 12) << "no more than the radio has";
}

TEST(Control, FrequenciesKeepTheGapInTheBankNumbers) {
    ControlState s;
    for (int bank = 0; bank <= 45; ++bank)
        if (bank == 1 || (bank >= 2 && bank <= 8) || (bank >= 18 && bank <= 22))
            apply(s, bank * 2, 0, 0xD6, 0x93, bank); // 14062336 + bank and so on
    EXPECT_EQ(s.txFrequency, 0x00D69301u);
    for (unsigned r = 0; r < 7; ++r)
        EXPECT_EQ(s.rxFrequency[r], 0x00D69300u + 2 + r) << r;
    for (unsigned r = 7; r < 12; ++r)
        EXPECT_EQ(s.rxFrequency[r], 0x00D69300u + 11 + r) << r;
}

TEST(Control, DriveGainAdcAndLatency) {
    ControlState s;
    apply(s, 9 * 2, 240, 0x1C, 0, 0);
    EXPECT_EQ(s.drive, 240);
    EXPECT_TRUE(s.disableTr && s.enablePa && s.atuTune);
    apply(s, 9 * 2, 0, 0, 0, 0);
    EXPECT_FALSE(s.disableTr || s.enablePa || s.atuTune);
    apply(s, 14 * 2, 0b11100100, 0b00000001, 77, 0);
    EXPECT_EQ((std::vector<int>(s.adc.begin(), s.adc.end())), (std::vector<int>{0, 1, 2, 3, 1, 0, 0, 0}));
    EXPECT_EQ(s.txGainByte, 77);
    apply(s, 15 * 2, 1, 0, 0, 0);
    EXPECT_TRUE(s.cwInternal);
    apply(s, 16 * 2, 300 >> 2, 300 & 3, 0, 0);
    EXPECT_EQ(s.cwHangTime, 300);
    apply(s, 23 * 2, 0, 0, 22, 13);
    EXPECT_EQ(s.pttHangTime, 22);
    EXPECT_EQ(s.txLatencyMs, 13);
}

TEST(Control, GainByteInBothForms) {
    ControlState s;
    EXPECT_EQ(s.lnaGainDb(), 0.0) << "nothing said yet";
    for (int code = 0; code <= 60; code += 12) {
        apply(s, 0x14, 0, 0, 0, 64 + code);
        EXPECT_EQ(s.lnaGainDb(), code - 12.0);
    }
    // the older form: attenuation below 51 dB, 32 of it in bank 0
    for (int gain = -12; gain <= 48; ++gain) {
        const int attenuation = 51 - gain;
        apply(s, 0x00, 0, 0, attenuation >= 32 ? 0x08 : 0, 4);
        apply(s, 0x14, 0, 0, 0, 32 + attenuation % 32);
        EXPECT_EQ(s.lnaGainDb(), gain);
    }
}

TEST(Control, I2cFramesAreNoBank) {
    ControlState s;
    apply(s, 0x14, 0, 0, 0, 64 + 12);
    I2cWrite i2c{};
    EXPECT_TRUE(s.apply({0xFB, 0x06, 0xAC, 0x10, 0x55}, i2c));
    EXPECT_TRUE(s.ptt);
    EXPECT_EQ(i2c.device, 0xAC);
    EXPECT_EQ(i2c.reg, 0x10);
    EXPECT_EQ(i2c.data, 0x55);
    EXPECT_FALSE(apply(s, 0x14, 0, 0, 0, 64 + 20));
    EXPECT_EQ(s.bankCount[10], 2u);
}

TEST(Wire, ReceiveRecordsForOneToTwelveReceivers) {
    for (int n = 1; n <= 12; ++n) {
        auto stream = makeStream(kOneCarrier);
        ControlState control;
        control.receivers = n;
        for (int r = 0; r < n; ++r) // each hears the carrier at its own pitch
            control.rxFrequency[static_cast<std::size_t>(r)] =
                static_cast<std::uint32_t>(14100000 - 500 * (r + 1));
        stream.begin(control, {}, 0);
        std::vector<std::vector<std::complex<double>>> got(static_cast<std::size_t>(n));
        for (std::uint32_t k = 0; got[0].size() < 9600; ++k) {
            Packet packet{};
            stream.buildEndpoint6(packet, control, 0.0);
            EXPECT_EQ(packet[2], 1);
            EXPECT_EQ(packet[3], 6);
            const Parsed parsed = parse(packet, n);
            EXPECT_EQ(parsed.sequence, k);
            ASSERT_EQ(parsed.receivers[0].size(), static_cast<std::size_t>(2 * (504 / (6 * n + 2))));
            for (std::size_t r = 0; r < got.size(); ++r)
                got[r].insert(got[r].end(), parsed.receivers[r].begin(), parsed.receivers[r].end());
        }
        for (std::size_t r = 0; r < got.size(); ++r) {
            // amplitude 0.1 of 2^19, turning backwards, without a break between packets
            const double step = -2.0 * std::numbers::pi * 500.0 * static_cast<double>(r + 1) / 48000.0;
            const std::complex<double> start = got[r][0];
            EXPECT_NEAR(std::abs(start), 52428.8, 2.0);
            for (std::size_t i = 0; i < got[r].size(); ++i)
                ASSERT_LT(std::abs(got[r][i] - start * std::polar(1.0, step * static_cast<double>(i))), 6.0)
                    << n << " receivers, receiver " << r << ", sample " << i;
        }
    }
}

TEST(Wire, AdcBitsSetTheScale) {
    auto stream = makeStream(kOneCarrier, {}, 16);
    ControlState control;
    control.rxFrequency[0] = 14099000;
    stream.begin(control, {}, 0);
    Packet packet{};
    stream.buildEndpoint6(packet, control, 0.0);
    EXPECT_NEAR(std::abs(parse(packet, 1).receivers[0][5]), 838860.8, 20.0);
}

TEST(Wire, TelemetryGoesRoundFourAddresses) {
    TelemetrySettings t;
    t.ain1Forward = 0x123;
    t.ain2Reverse = 0x45;
    t.ain3Current = 0x678;
    t.ain4 = 0x111;
    t.ain5Temperature = 0x432;
    t.ain6 = 0x222;
    t.overload = {{1.0, 2.0}};
    t.pttIn = {{3.0, 4.0}};
    t.cwKey = {{5.0, 6.0}};
    auto stream = makeStream(R"({"noise_floor": null})", t);
    ControlState control;
    stream.begin(control, {}, 0);
    const auto four = [&](double seconds) {
        std::vector<std::vector<int>> frames;
        for (int k = 0; k < 2; ++k) {
            Packet packet{};
            stream.buildEndpoint6(packet, control, seconds);
            const Parsed parsed = parse(packet, 1);
            for (const auto& c : parsed.control)
                frames.emplace_back(c, c + 5);
        }
        return frames;
    };
    using Frames = std::vector<std::vector<int>>;
    EXPECT_EQ(four(0.0),
              (Frames{{0, 0, 0, 0, 73}, {8, 4, 0x32, 0, 0}, {16, 0, 0, 0, 0}, {24, 1, 0x11, 2, 0x22}}));
    EXPECT_EQ(four(1.5)[0], (std::vector<int>{0, 1, 0, 0, 73}));
    EXPECT_EQ(four(3.5)[0][0], 1);
    EXPECT_EQ(four(5.5)[1][0], 8 + 5) << "the key closes ptt too";
    control.ptt = true;
    stream.setTxReport(17, 0);
    EXPECT_EQ(
        four(7.0),
        (Frames{{0, 0, 0, 17, 73}, {8, 4, 0x32, 1, 0x23}, {16, 0, 0x45, 6, 0x78}, {24, 1, 0x11, 2, 0x22}}))
        << "what the host keys is no input of the radio";
    stream.setTxReport(20, 0xC0);
    EXPECT_EQ(four(7.0)[0][3], 0xC0);
    EXPECT_EQ(four(7.0)[0][3], 20) << "an event is told once";
}

TEST(Wire, StrongSignalsOverloadTheAdc) {
    auto stream = makeStream(
        R"({"noise_floor": null, "stations": [{"kind": "carrier", "frequency": 7e6, "level": -30}]})");
    ControlState control;
    I2cWrite none{};
    for (const auto& [gain, overload] : {std::pair{24, 0}, std::pair{36, 1}, std::pair{12, 0}}) {
        control.apply({0x14, 0, 0, 0, static_cast<std::uint8_t>(64 + gain + 12)}, none);
        stream.begin(control, {}, 0);
        for (int frames = 0; frames < 4; frames += 2) {
            Packet packet{};
            stream.buildEndpoint6(packet, control, 0.0);
            const Parsed parsed = parse(packet, 1);
            for (const auto& c : parsed.control)
                if (c[0] >> 3 == 0) {
                    EXPECT_EQ(c[1], overload) << gain;
                }
        }
    }
}

TEST(Wire, I2cWritesAreAcknowledged) {
    auto stream = makeStream(R"({"noise_floor": null})");
    ControlState control;
    stream.begin(control, {}, 0);
    stream.telemetry().acknowledge({0x06, 0xAC, 0x20, 0x99});
    Packet packet{};
    stream.buildEndpoint6(packet, control, 0.0);
    const Parsed parsed = parse(packet, 1);
    EXPECT_EQ((std::vector<int>(parsed.control[0], parsed.control[0] + 5)),
              (std::vector<int>{0xFA, 0x06, 0xAC, 0x20, 0x99}));
    EXPECT_EQ(parsed.control[1][0], 0);
}

TEST(Wire, WidebandQuartersAreLittleEndian) {
    auto stream = makeStream(
        R"({"noise_floor": null, "stations": [{"kind": "carrier", "frequency": 9216000, "level": -6.0206}]})");
    ControlState control;
    stream.begin(control, {}, 0);
    std::vector<double> block;
    for (std::uint32_t q = 0; q < 4; ++q) {
        Packet packet{};
        stream.buildEndpoint4(packet, control);
        EXPECT_EQ(packet[3], 4);
        EXPECT_EQ(packet[7], q);
        for (std::size_t i = 0; i < 512; ++i)
            block.push_back(static_cast<std::int16_t>(packet[8 + 2 * i] | packet[9 + 2 * i] << 8));
    }
    // an eighth of the clock: every sample returns after 8, and amplitude is half of 2048
    double largest = 0.0;
    double power = 0.0;
    for (std::size_t i = 0; i < block.size(); ++i) {
        largest = std::max(largest, std::abs(block[i]));
        power += block[i] * block[i] / 2048.0;
        if (i >= 8) {
            EXPECT_NEAR(block[i], block[i - 8], 1.0) << i;
        }
    }
    EXPECT_LE(largest, 1024.0);
    EXPECT_NEAR(std::sqrt(2.0 * power), 1024.0, 2.0);
}

TEST(TxBufferModel, FillsDrainsAndReports) {
    TxBuffer buffer;
    buffer.fill(126);
    EXPECT_EQ(buffer.levelUnits(), 0) << "not keyed";
    buffer.key(true, 10, 22);
    buffer.fill(126);
    buffer.drain(0.001, 1.0);
    EXPECT_EQ(buffer.levelUnits(), 126 / 32) << "waits for the latency before it drains";
    for (int i = 0; i < 4; ++i)
        buffer.fill(126);
    EXPECT_EQ(buffer.levelUnits(), 630 / 32);
    buffer.drain(0.005, 1.0);
    EXPECT_EQ(buffer.levelUnits(), (630 - 240) / 32);
    EXPECT_EQ(buffer.takeEvent(), 0);
    buffer.drain(0.010, 1.0);
    EXPECT_EQ(buffer.takeEvent(), 0xC0);
    EXPECT_EQ(buffer.takeEvent(), 0);
    for (int i = 0; i < 40; ++i)
        buffer.fill(126);
    EXPECT_EQ(buffer.takeEvent(), 0x80);
    EXPECT_EQ(buffer.levelUnits(), 127);
    EXPECT_EQ(buffer.underflows(), 1);
    EXPECT_GT(buffer.overflows(), 0);
}
