#include "modes/chirp/chirp_frame.hpp"

#include <algorithm>
#include <boost/crc.hpp>
#include <cstdint>

namespace ferrow {

namespace {

constexpr std::string_view kAlphabet = " 0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr std::size_t kLongestCall = 6;
constexpr std::uint64_t kCalls = 2565726409; // 37^6

std::uint16_t checkOf(std::uint32_t number) {
    boost::crc_optimal<16, 0x1021, 0xFFFF, 0, false, false> crc;
    for (int shift = 24; shift >= 0; shift -= 8)
        crc.process_byte(static_cast<unsigned char>(number >> shift));
    return crc.checksum();
}

} // namespace

ChirpFrame ChirpFrame::of(std::string_view callsign) {
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < kLongestCall; ++i) {
        const std::size_t at = i < callsign.size() ? kAlphabet.find(callsign[i]) : 0;
        number = number * kAlphabet.size() + (at == std::string_view::npos ? 0 : at);
    }
    const std::uint64_t bits = number << 16 | checkOf(static_cast<std::uint32_t>(number));
    ChirpFrame frame;
    std::copy(kSyncRises.begin(), kSyncRises.end(), frame.rises.begin());
    for (int w = 0; w < kWords; ++w) {
        const auto data =
            static_cast<std::uint32_t>(bits >> (GolayCode::kDataBits * (kWords - 1 - w)) & 0xFFF);
        const std::uint32_t word = GolayCode::encode(data);
        for (int bit = 0; bit < GolayCode::kWordBits; ++bit)
            frame.rises[static_cast<std::size_t>(kSync + bit * kWords + w)] =
                (word >> (GolayCode::kWordBits - 1 - bit) & 1) != 0;
    }
    return frame;
}

std::optional<ChirpMessage> readChirps(const GolayCode& code,
                                       std::span<const bool, ChirpFrame::kPayload> rises) {
    std::uint64_t bits = 0;
    int corrected = 0;
    for (int w = 0; w < ChirpFrame::kWords; ++w) {
        std::uint32_t word = 0;
        for (int bit = 0; bit < GolayCode::kWordBits; ++bit)
            word = word << 1 | (rises[static_cast<std::size_t>(bit * ChirpFrame::kWords + w)] ? 1u : 0u);
        const auto decoded = code.decode(word);
        bits = bits << GolayCode::kDataBits | decoded.data;
        corrected += decoded.corrected;
    }
    auto number = bits >> 16;
    if (number == 0 || number >= kCalls || checkOf(static_cast<std::uint32_t>(number)) != (bits & 0xFFFF))
        return std::nullopt;
    std::string callsign(kLongestCall, ' ');
    for (std::size_t i = kLongestCall; i-- > 0; number /= kAlphabet.size())
        callsign[i] = kAlphabet[number % kAlphabet.size()];
    callsign.erase(callsign.find_last_not_of(' ') + 1);
    return ChirpMessage{std::move(callsign), corrected};
}

} // namespace ferrow
