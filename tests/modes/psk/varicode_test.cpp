#include "modes/psk/varicode.hpp"

#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <sstream>
#include <string>

namespace ferrow {
namespace {

// Codes as the published table writes them, by byte.
std::vector<std::string> publishedCodes() {
    std::vector<std::string> codes(256);
    std::ifstream file(FERROW_SOURCE_DIR "/tests/data/psk_varicode.txt");
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        std::size_t byte = 0;
        if (line[0] != '#' && words >> byte)
            words >> codes.at(byte);
    }
    return codes;
}

std::string codeOf(std::uint16_t word) {
    std::string bits;
    for (; word != 0; word = static_cast<std::uint16_t>(word << 1))
        bits += (word & 0x8000) != 0 ? '1' : '0';
    return bits;
}

TEST(Varicode, EveryByteHasItsPublishedCode) {
    const auto codes = publishedCodes();
    for (std::size_t byte = 0; byte < 256; ++byte)
        EXPECT_EQ(codeOf(kVaricode[byte]), codes[byte]) << byte;
}

TEST(Varicode, WellKnownWords) {
    EXPECT_EQ(kVaricode[0], 0xAAC0);
    EXPECT_EQ(kVaricode[' '], 0x8000);
    EXPECT_EQ(kVaricode['A'], 0xFA00);
    EXPECT_EQ(kVaricode['a'], 0xB000);
}

TEST(Varicode, DecodingFindsEveryByteByItsCodeWithoutTheLastBit) {
    const auto codes = publishedCodes();
    std::set<std::size_t> places;
    for (std::size_t byte = 0; byte < 256; ++byte) {
        const std::string front = codes[byte].substr(0, codes[byte].size() - 1);
        const std::size_t place = front.empty() ? 0 : std::stoul(front, nullptr, 2);
        EXPECT_EQ(varicodeDecoding()[place], byte);
        places.insert(place);
    }
    EXPECT_EQ(places.size(), 256u);
    for (std::size_t place = 0; place < varicodeDecoding().size(); ++place)
        if (places.count(place) == 0) {
            EXPECT_EQ(varicodeDecoding()[place], 0) << place;
        }
}

} // namespace
} // namespace ferrow
