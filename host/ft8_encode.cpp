#include "host/ft8_encode.hpp"

#include "host/ft8_generator.hpp"

#include <array>
#include <span>

namespace ferrow {
namespace {

constexpr std::size_t kPayloadBits = 77, kCrcBits = 14, kMessageBits = kPayloadBits + kCrcBits;
constexpr std::size_t kCodewordBits = 174;
constexpr unsigned kCrcPolynomial = 0x2757, kCrcMask = 0x3FFF;

using Bits = std::array<int, kCodewordBits>;

// Before the check bits are made, so that an FT4 message of zeroes does not stay on one tone.
constexpr Ft8MessageBits kFt4Scrambler = {74, 94, 137, 180, 176, 138, 121, 85, 190, 40};

constexpr std::array<int, 7> kFt8Sync = {3, 1, 4, 0, 6, 5, 2};
constexpr std::array<std::array<int, 4>, 4> kFt4Sync = {
    {{0, 1, 3, 2}, {1, 0, 2, 3}, {2, 3, 1, 0}, {3, 2, 0, 1}}};
constexpr std::array<int, 8> kFt8Gray = {0, 1, 3, 2, 5, 6, 4, 7};
constexpr std::array<int, 4> kFt4Gray = {0, 1, 3, 2};
constexpr std::size_t kDataRun = 29; // symbols between two sync groups

// Over the payload and five zero bits.
unsigned crc14(const Bits& bits) {
    unsigned remainder = 0;
    for (std::size_t i = 0; i < kPayloadBits + 5; ++i) {
        const unsigned bit = i < kPayloadBits ? static_cast<unsigned>(bits[i]) : 0;
        const unsigned top = remainder >> (kCrcBits - 1) ^ bit;
        remainder = (remainder << 1 & kCrcMask) ^ (top ? kCrcPolynomial : 0);
    }
    return remainder;
}

int hexDigit(char c) {
    return c <= '9' ? c - '0' : c - 'a' + 10;
}

Bits codeword(const Ft8MessageBits& payload) {
    Bits bits{};
    for (std::size_t i = 0; i < kPayloadBits; ++i)
        bits[i] = payload[i / 8] >> (7 - i % 8) & 1;
    const unsigned crc = crc14(bits);
    for (std::size_t i = 0; i < kCrcBits; ++i)
        bits[kPayloadBits + i] = static_cast<int>(crc >> (kCrcBits - 1 - i) & 1);
    for (std::size_t row = 0; row < kFt8Generator.size(); ++row) {
        int parity = 0;
        for (std::size_t j = 0; j < kMessageBits; ++j)
            parity ^= hexDigit(kFt8Generator[row][j / 4]) >> (3 - j % 4) & bits[j];
        bits[kMessageBits + row] = parity & 1;
    }
    return bits;
}

// Appends a run of data symbols of `width` bits each, from bit `at` on.
void appendData(std::vector<int>& tones, const Bits& bits, std::size_t& at, std::size_t width,
                std::span<const int> gray) {
    for (std::size_t i = 0; i < kDataRun; ++i) {
        std::size_t value = 0;
        for (std::size_t b = 0; b < width; ++b)
            value = value << 1 | static_cast<std::size_t>(bits[at++]);
        tones.push_back(gray[value]);
    }
}

} // namespace

std::vector<int> ft8Tones(const Ft8MessageBits& payload, SlotMode mode) {
    std::vector<int> tones;
    std::size_t at = 0;
    if (mode == SlotMode::Ft8) {
        const Bits bits = codeword(payload);
        for (int run = 0; run < 2; ++run) {
            tones.insert(tones.end(), kFt8Sync.begin(), kFt8Sync.end());
            appendData(tones, bits, at, 3, kFt8Gray);
        }
        tones.insert(tones.end(), kFt8Sync.begin(), kFt8Sync.end());
        return tones;
    }
    Ft8MessageBits scrambled = payload;
    for (std::size_t i = 0; i < scrambled.size(); ++i)
        scrambled[i] ^= kFt4Scrambler[i];
    const Bits bits = codeword(scrambled);
    tones.push_back(0);
    for (std::size_t run = 0; run < kFt4Sync.size(); ++run) {
        tones.insert(tones.end(), kFt4Sync[run].begin(), kFt4Sync[run].end());
        if (run + 1 < kFt4Sync.size())
            appendData(tones, bits, at, 2, kFt4Gray);
    }
    tones.push_back(0);
    return tones;
}

} // namespace ferrow
