#include <ferrowcore/ft8.h>

#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <thread>
#include <vector>

extern "C" int32_t ferrow_test_decode_from_c(const char* path);

namespace {

// Remainder of the message polynomial itself, bit by bit: x^12 + x^11 + x^10 + x^2 + x.
int longDivision(const std::vector<unsigned char>& data) {
    unsigned remainder = 0;
    for (const unsigned char byte : data)
        for (int bit = 7; bit >= 0; --bit) {
            remainder = (remainder << 1) | ((byte >> bit) & 1u);
            if (remainder & 0x1000)
                remainder ^= 0x1C06;
        }
    return static_cast<int>(remainder);
}

TEST(Crc12, EqualsLongDivisionOfTheBytesAsTheyStand) {
    std::mt19937_64 random(1);
    for (int length = 0; length < 200; ++length) {
        std::vector<unsigned char> data(static_cast<std::size_t>(length));
        for (unsigned char& byte : data)
            byte = static_cast<unsigned char>(random());
        EXPECT_EQ(crc12(data.data(), length), longDivision(data)) << length;
    }
}

TEST(Crc12, SmallCasesByHand) {
    const unsigned char one[] = {0x01};
    EXPECT_EQ(crc12(one, 1), 1) << "nothing is appended";
    const unsigned char top[] = {0x10, 0x00};
    EXPECT_EQ(crc12(top, 2), 0xC06) << "x^12 leaves the polynomial's lower part";
}

TEST(Crc12, NoBytesGiveZero) {
    EXPECT_EQ(crc12(nullptr, 0), 0);
    EXPECT_TRUE(crc12_check(nullptr, 0));
    const unsigned char byte[] = {0xFF};
    EXPECT_EQ(crc12(byte, -1), 0);
    EXPECT_EQ(crc12(byte, std::numeric_limits<int>::min()), 0);
}

TEST(Crc12, CheckHoldsOnceTheRemainderStandsInItsPlace) {
    std::vector<unsigned char> data{'f', 'e', 'r', 'r', 'o', 'w', 0, 0};
    const int crc = crc12(data.data(), 8);
    ASSERT_NE(crc, 0);
    EXPECT_FALSE(crc12_check(data.data(), 8));
    data[6] = static_cast<unsigned char>(crc >> 8);
    data[7] = static_cast<unsigned char>(crc);
    EXPECT_TRUE(crc12_check(data.data(), 8));
    data[0] ^= 1;
    EXPECT_FALSE(crc12_check(data.data(), 8));
}

TEST(Crc12, FirstUseFromSeveralThreads) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([] {
            const unsigned char data[] = {0x12, 0x34, 0x56};
            EXPECT_EQ(crc12(data, 3), longDivision({0x12, 0x34, 0x56}));
        });
    for (std::thread& thread : threads)
        thread.join();
}

TEST(Ft8Header, CallsFromCCompiledAsC11) {
    EXPECT_EQ(ferrow_test_decode_from_c("/nonexistent"), -1);
}

} // namespace
