#include "modes/multi_psk/multi_psk_packets.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace ferrow {
namespace {

using Complex = std::complex<float>;

buff<char> bytesOf(const std::string& text) {
    const buff<char> bytes(text.size());
    std::copy(text.begin(), text.end(), bytes.begin());
    return bytes;
}

std::string textOf(const buff<char>& bytes) {
    return {bytes.begin(), bytes.end()};
}

std::int16_t wordAt(const buff<char>& packet, std::size_t place) {
    std::int16_t value;
    std::memcpy(&value, packet.data() + place, 2);
    return value;
}

TEST(MultiPskPackets, Version) {
    EXPECT_EQ(textOf(versionPacket()), std::string("\x09\0\0\0Pversion\0", 13));
}

TEST(MultiPskPackets, Capability) {
    const buff<char> packet = capabilityPacket();
    ASSERT_EQ(packet.size(), 56u);
    using namespace std::string_literals;
    EXPECT_EQ(textOf(packet), "\x34\0\0\0HWMPcapa"
                              "\x08"
                              "FerrowRx"
                              "\x03"
                              "1.0"
                              "\x05"
                              "Hello"
                              "\x01"
                              "3"
                              "\x05"
                              "48000"
                              "\x0f"
                              "24000..40000000"
                              "\0"s);
}

TEST(MultiPskPackets, FrequencyHasFourBytes) {
    EXPECT_EQ(textOf(frequencyPacket(14070000)), std::string("\x0c\0\0\0Set_HWLO\xf0\xb0\xd6\0", 16));
    EXPECT_EQ(textOf(frequencyPacket(-2)), std::string("\x0c\0\0\0Set_HWLO\xfe\xff\xff\xff", 16));
    EXPECT_EQ(textOf(frequencyPacket(0x1'2345'6789)), std::string("\x0c\0\0\0Set_HWLO\x89\x67\x45\x23", 16));
}

TEST(MultiPskPackets, RequestsAndTheirLeastBodies) {
    const auto read = [](const std::string& body) { return readMultiPskRequest(bytesOf(body)); };
    struct Row {
        const char* tag;
        std::size_t least;
        MultiPskCommand command;
    };
    const Row rows[] = {{"Pversion", 8, MultiPskCommand::Version},
                        {"HWMPcapa", 8, MultiPskCommand::Capability},
                        {"InitHWMP", 18, MultiPskCommand::Start},
                        {"Set_HWLO", 12, MultiPskCommand::Tune},
                        {"Bug_on_P", 8, MultiPskCommand::Stop}};
    for (const Row& row : rows)
        for (std::size_t size = 0; size <= 128; ++size) {
            std::string body = row.tag;
            body.resize(size, '\1');
            EXPECT_EQ(read(body).command, size < row.least ? MultiPskCommand::None : row.command)
                << row.tag << ' ' << size;
        }
    EXPECT_EQ(read("Received").command, MultiPskCommand::None);
    EXPECT_EQ(read("pversion").command, MultiPskCommand::None);
    EXPECT_EQ(read("").command, MultiPskCommand::None);
}

TEST(MultiPskPackets, FrequenciesStandWhereTheyShould) {
    const auto start = readMultiPskRequest(bytesOf(std::string("InitHWMPabcde\xf0\xb0\xd6\0z", 18)));
    EXPECT_EQ(start.command, MultiPskCommand::Start);
    EXPECT_EQ(start.frequency, 14070000);
    const auto tune = readMultiPskRequest(bytesOf(std::string("Set_HWLO\xff\xff\xff\xffmore", 16)));
    EXPECT_EQ(tune.command, MultiPskCommand::Tune);
    EXPECT_EQ(tune.frequency, -1);
}

TEST(MultiPskPackets, AnUnknownBodyGetsAZeroAtItsEnd) {
    const buff<char> unknown = bytesOf("Whatever!?"), known = bytesOf("Received!?"), brief = bytesOf("brief");
    readMultiPskRequest(unknown);
    readMultiPskRequest(known);
    readMultiPskRequest(brief);
    EXPECT_EQ(textOf(unknown), std::string("Whatever!\0", 10));
    EXPECT_EQ(textOf(known), "Received!?");
    EXPECT_EQ(textOf(brief), "brief");
}

TEST(MultiPskPackets, AnyBytesAreReadWithoutAFault) {
    const std::string tags[] = {"Pversion", "HWMPcapa", "InitHWMP", "Set_HWLO", "Received", "Bug_on_P"};
    std::mt19937 random(7);
    for (int i = 0; i < 10000; ++i) {
        const buff<char> body(random() % 129);
        for (char& byte : body)
            byte = static_cast<char>(random() & 255);
        if (random() % 2 == 0 && body.size() >= 8)
            std::copy_n(tags[random() % 6].begin(), 8, body.begin());
        readMultiPskRequest(body);
    }
}

TEST(MultiPskStream, Layout) {
    MultiPskStream stream;
    const std::vector<Complex> block{{1e-6f, -2e-6f}, {0.5e-3f, 1e-3f}, {-1e-7f, 0}};
    const buff<char> packet = stream.packet(block);
    ASSERT_EQ(packet.size(), 16u + 12);
    EXPECT_EQ(textOf(packet).substr(0, 16), std::string("\x18\0\0\0TXHWdata\x0c\0\0\0", 16));
    const std::int16_t expected[] = {-40, 20, 20000, 10000, 0, -2};
    for (std::size_t i = 0; i < 6; ++i)
        EXPECT_NEAR(wordAt(packet, 16 + 2 * i), expected[i], 1) << i;
}

// 512 noisy samples against the arithmetic in long double.
TEST(MultiPskStream, PartsAreScaledAndTruncated) {
    std::mt19937 random(11);
    std::normal_distribution<float> gauss(0, 3e-4f);
    std::vector<Complex> block(512);
    for (Complex& sample : block)
        sample = {gauss(random), gauss(random)};
    MultiPskStream stream;
    const buff<char> packet = stream.packet(block);
    ASSERT_EQ(packet.size(), 16u + 2048);
    EXPECT_EQ(textOf(packet).substr(0, 4), std::string("\x0c\x08\0\0", 4));
    EXPECT_EQ(textOf(packet).substr(12, 4), std::string("\0\x08\0\0", 4));
    for (std::size_t i = 0; i < block.size(); ++i) {
        const long double im = 20000000.0L * block[i].imag(), re = 20000000.0L * block[i].real();
        EXPECT_EQ(wordAt(packet, 16 + 4 * i), static_cast<std::int16_t>(std::trunc(im))) << i;
        EXPECT_EQ(wordAt(packet, 18 + 4 * i), static_cast<std::int16_t>(std::trunc(re))) << i;
    }
    EXPECT_EQ(stream.gain(), 20000000.0);
}

TEST(MultiPskStream, AStrongImaginaryPartLowersTheGainForGood) {
    MultiPskStream stream;
    const std::vector<Complex> block{{1e-4f, 1e-4f}, {0.25f, -0.5f}, {1e-4f, 1e-4f}, {0, 0.25f}};
    const buff<char> packet = stream.packet(block);
    EXPECT_EQ(wordAt(packet, 16), 1999); // 1e-4 in single precision lies below
    EXPECT_EQ(wordAt(packet, 20), -32000);
    EXPECT_EQ(wordAt(packet, 22), 16000);
    EXPECT_EQ(wordAt(packet, 24), 6);
    EXPECT_EQ(wordAt(packet, 28), 16000);
    EXPECT_EQ(stream.gain(), 64000.0);
    for (int i = 0; i < 100; ++i)
        stream.packet(std::vector<Complex>(512));
    EXPECT_EQ(wordAt(stream.packet(std::vector<Complex>{{0, 0.25f}}), 16), 16000);
}

TEST(MultiPskStream, TheRealPartMayOverflow) {
    MultiPskStream stream;
    const buff<char> packet = stream.packet(std::vector<Complex>{{0.00390625f, 0}, {1e30f, 0}});
    EXPECT_EQ(wordAt(packet, 18), static_cast<std::int16_t>(78125 - 65536));
    EXPECT_EQ(wordAt(packet, 22), 0);
    EXPECT_EQ(stream.gain(), 20000000.0);
}

TEST(MultiPskStream, WhatIsNoFiniteNumberIsZeroAndLeavesTheGain) {
    constexpr float kNan = std::numeric_limits<float>::quiet_NaN(),
                    kInfinite = std::numeric_limits<float>::infinity();
    MultiPskStream stream;
    const buff<char> packet = stream.packet(std::vector<Complex>{{kNan, kInfinite}, {-kInfinite, kNan}});
    for (std::size_t i = 0; i < 4; ++i)
        EXPECT_EQ(wordAt(packet, 16 + 2 * i), 0);
    EXPECT_EQ(stream.gain(), 20000000.0);
    EXPECT_EQ(stream.packet(std::vector<Complex>()).size(), 16u);
}

} // namespace
} // namespace ferrow
