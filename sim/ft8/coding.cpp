#include "sim/ft8/coding.hpp"

#include "sim/ft8/ldpc_generator.hpp"

#include <algorithm>

namespace ferrow::sim {
namespace {

unsigned hexDigit(char c) {
    return static_cast<unsigned>(c <= '9' ? c - '0' : c - 'a' + 10);
}

} // namespace

std::uint16_t crc14(const Payload& payload) {
    unsigned remainder = 0;
    for (std::size_t i = 0; i < payload.size() + 5; ++i) {
        const unsigned bit = i < payload.size() ? payload[i] : 0u;
        const unsigned top = (remainder >> 13) & 1u;
        remainder = (remainder << 1) & 0x3FFFu;
        if (top ^ bit)
            remainder ^= 0x2757u;
    }
    return static_cast<std::uint16_t>(remainder);
}

std::array<std::uint8_t, 174> encodeCodeword(const Payload& payload) {
    std::array<std::uint8_t, 174> word{};
    std::copy(payload.begin(), payload.end(), word.begin());
    const unsigned crc = crc14(payload);
    for (std::size_t i = 0; i < 14; ++i)
        word[77 + i] = static_cast<std::uint8_t>((crc >> (13 - i)) & 1u);
    for (std::size_t k = 0; k < kLdpcGenerator.size(); ++k) {
        unsigned parity = 0;
        for (std::size_t j = 0; j < 91; ++j)
            parity ^= (hexDigit(kLdpcGenerator[k][j / 4]) >> (3 - j % 4)) & word[j];
        word[91 + k] = static_cast<std::uint8_t>(parity & 1u);
    }
    return word;
}

Payload scrambleFt4(const Payload& payload) {
    constexpr std::array<std::uint8_t, 10> kVector = {74, 94, 137, 180, 176, 138, 121, 85, 190, 40};
    Payload out = payload;
    for (std::size_t i = 0; i < out.size(); ++i)
        out[i] ^= static_cast<std::uint8_t>((kVector[i / 8] >> (7 - i % 8)) & 1);
    return out;
}

std::vector<int> ft8Tones(const Payload& payload) {
    constexpr std::array<int, 8> kGray = {0, 1, 3, 2, 5, 6, 4, 7};
    constexpr std::array<int, 7> kSync = {3, 1, 4, 0, 6, 5, 2};
    const auto word = encodeCodeword(payload);
    std::vector<int> tones;
    for (std::size_t i = 0; i < 58; ++i) {
        if (i % 29 == 0)
            tones.insert(tones.end(), kSync.begin(), kSync.end());
        tones.push_back(kGray[word[3 * i] * 4u + word[3 * i + 1] * 2u + word[3 * i + 2]]);
    }
    tones.insert(tones.end(), kSync.begin(), kSync.end());
    return tones;
}

std::vector<int> ft4Tones(const Payload& payload) {
    constexpr std::array<int, 4> kGray = {0, 1, 3, 2};
    constexpr std::array<std::array<int, 4>, 4> kSync = {
        {{0, 1, 3, 2}, {1, 0, 2, 3}, {2, 3, 1, 0}, {3, 2, 0, 1}}};
    const auto word = encodeCodeword(scrambleFt4(payload));
    std::vector<int> tones;
    for (std::size_t i = 0; i < 87; ++i) {
        if (i % 29 == 0)
            tones.insert(tones.end(), kSync[i / 29].begin(), kSync[i / 29].end());
        tones.push_back(kGray[word[2 * i] * 2u + word[2 * i + 1]]);
    }
    tones.insert(tones.end(), kSync[3].begin(), kSync[3].end());
    return tones;
}

} // namespace ferrow::sim
