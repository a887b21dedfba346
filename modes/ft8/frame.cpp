#include "modes/ft8/frame.hpp"

#include <algorithm>

namespace ferrow {
namespace {

constexpr std::uint16_t kCrcPolynomial = 0x2757;
constexpr std::uint16_t kCrcTop = 0x2000;
constexpr std::uint16_t kCrcMask = 0x3FFF;
constexpr int kCrcBitCount = 82; // the payload and five zero bits

} // namespace

std::array<std::uint8_t, kMessageBytes> packBits(const CodewordBits& bits) {
    std::array<std::uint8_t, kMessageBytes> bytes{};
    for (std::size_t i = 0; i < kLdpcMessageBits; ++i)
        if (bits[i])
            bytes[i / 8] = static_cast<std::uint8_t>(bytes[i / 8] | (0x80 >> (i % 8)));
    return bytes;
}

std::uint16_t crc14(const std::uint8_t* bytes, int bitCount) {
    std::uint16_t remainder = 0;
    for (int i = 0; i < bitCount; ++i) {
        const bool bit = (bytes[i / 8] >> (7 - i % 8)) & 1;
        const bool top = remainder & kCrcTop;
        remainder = static_cast<std::uint16_t>((remainder << 1) & kCrcMask);
        if (bit != top)
            remainder ^= kCrcPolynomial;
    }
    return remainder;
}

std::optional<Ft8Payload> unpackFrame(const CodewordBits& bits, const Ft8Variant& variant) {
    if (std::all_of(bits.begin(), bits.end(), [](std::uint8_t bit) { return bit == 0; }))
        return std::nullopt;
    std::array<std::uint8_t, kMessageBytes> bytes = packBits(bits);
    const int received = ((bytes[9] & 7) << 11) | (bytes[10] << 3) | (bytes[11] >> 5);
    bytes[9] &= 0xF8;
    bytes[10] = 0;
    bytes[11] = 0;
    if (crc14(bytes.data(), kCrcBitCount) != received)
        return std::nullopt;
    Ft8Payload payload;
    for (std::size_t i = 0; i < payload.size(); ++i)
        payload[i] = bytes[i] ^ variant.scramble[i];
    return payload;
}

} // namespace ferrow
