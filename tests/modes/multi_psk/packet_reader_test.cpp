#include "modes/multi_psk/packet_reader.hpp"
#include "tests/radios/log_capture.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace ferrow {
namespace {

using test::LogCapture;

// Brings bytes as a stream does; returns the bodies that were complete.
std::vector<std::string> feed(PacketReader& reader, std::string bytes) {
    std::vector<std::string> bodies;
    while (reader.wanted().size() <= bytes.size()) {
        const auto wanted = reader.wanted();
        std::copy_n(bytes.begin(), wanted.size(), wanted.begin());
        bytes.erase(0, wanted.size());
        if (const auto body = reader.filled())
            bodies.emplace_back(body->begin(), body->end());
    }
    EXPECT_EQ(bytes, "");
    return bodies;
}

std::uint32_t lengthOf(const std::string& header) {
    return PacketReader::lengthOf(std::span<const char, 4>(header.data(), 4));
}

TEST(PacketReader, HandsOutBodyAfterBody) {
    PacketReader reader(128);
    EXPECT_EQ(reader.wanted().size(), 4u);
    EXPECT_EQ(feed(reader, std::string("\3\0\0\0abc\1\0\0\0z", 12)), (std::vector<std::string>{"abc", "z"}));
    EXPECT_FALSE(reader.inBody());
}

TEST(PacketReader, ABodyOfNothingIsABody) {
    PacketReader reader(128);
    EXPECT_EQ(feed(reader, std::string("\0\0\0\0\2\0\0\0ab", 10)), (std::vector<std::string>{"", "ab"}));
}

TEST(PacketReader, TakesExactlyTheLimit) {
    LogCapture log;
    PacketReader reader(128);
    // 128 cannot be written plainly: its byte counts as -128.
    const auto bodies = feed(reader, std::string("\x80\1\0\0", 4) + std::string(128, 'x'));
    ASSERT_EQ(bodies.size(), 1u);
    EXPECT_EQ(bodies[0], std::string(128, 'x'));
    EXPECT_EQ(log.count("tcp bad len"), 0);
}

TEST(PacketReader, ABytePast127BorrowsFromTheNext) {
    EXPECT_EQ(lengthOf(std::string("\x7f\0\0\0", 4)), 127u);
    EXPECT_EQ(lengthOf(std::string("\x80\1\0\0", 4)), 128u);
    EXPECT_EQ(lengthOf(std::string("\xff\1\0\0", 4)), 255u);
    EXPECT_EQ(lengthOf(std::string("\xff\xff\1\0", 4)), 65536u - 256 - 1);
    EXPECT_EQ(lengthOf(std::string("\1\2\3\4", 4)), 1u + 2 * 256 + 3 * 65536 + 4 * 16777216);
    EXPECT_EQ(static_cast<std::int32_t>(lengthOf(std::string("\x80\0\0\0", 4))), -128);
}

TEST(PacketReader, ALongLengthIsClampedAndTheRestReadAsTheNextHeader) {
    LogCapture log;
    PacketReader reader(128);
    // 300 bytes: 128 of them, then "\5\0\0\0" as a header, then five as a body.
    const std::string body = std::string(128, 'a') + std::string("\5\0\0\0", 4) + "hello";
    const auto bodies = feed(reader, std::string("\x2c\1\0\0", 4) + body);
    EXPECT_EQ(bodies, (std::vector<std::string>{std::string(128, 'a'), "hello"}));
    EXPECT_EQ(log.exactly("error", "tcp bad len"), 1);
}

TEST(PacketReader, ANegativeLengthIsClamped) {
    LogCapture log;
    PacketReader reader(128);
    const auto bodies = feed(reader, std::string("\x80\0\0\0", 4) + std::string(128, 'n'));
    EXPECT_EQ(bodies, (std::vector<std::string>{std::string(128, 'n')}));
    EXPECT_EQ(log.exactly("error", "tcp bad len"), 1);
    // The most negative one leaves 32 bits.
    EXPECT_EQ(feed(reader, std::string("\x80\x80\x80\x80", 4) + std::string(128, 'm')).size(), 1u);
    EXPECT_EQ(log.exactly("error", "tcp bad len"), 2);
}

TEST(PacketReader, AResetForgetsTheBodyThatWasAwaited) {
    PacketReader reader(128);
    std::copy_n("\5\0\0\0", 4, reader.wanted().begin());
    EXPECT_FALSE(reader.filled());
    EXPECT_TRUE(reader.inBody());
    reader.reset();
    EXPECT_FALSE(reader.inBody());
    EXPECT_EQ(reader.wanted().size(), 4u);
}

TEST(PacketReader, ABodyStaysWhenTheNextOneCame) {
    PacketReader reader(8);
    const auto put = [&](const char* bytes) {
        std::copy_n(bytes, reader.wanted().size(), reader.wanted().begin());
        return reader.filled();
    };
    put("\3\0\0\0");
    const auto first = put("abc");
    put("\3\0\0\0");
    put("xyz");
    EXPECT_EQ(std::string(first->begin(), first->end()), "abc");
}

TEST(PacketReader, NeverWantsMoreThanTheLimitWhateverComes) {
    setLogLevel(LogLevel::Off);
    std::mt19937 random(4);
    PacketReader reader(128);
    for (int i = 0; i < 200000; ++i) {
        ASSERT_LE(reader.wanted().size(), 128u);
        for (char& byte : reader.wanted())
            byte = static_cast<char>(random() >> (random() & 7) & 255);
        const bool inBody = reader.inBody();
        const std::size_t wanted = reader.wanted().size();
        const auto body = reader.filled();
        ASSERT_EQ(body.has_value(), inBody);
        if (body) {
            ASSERT_EQ(body->size(), wanted);
        }
    }
    setLogLevel(LogLevel::Err);
}

} // namespace
} // namespace ferrow
