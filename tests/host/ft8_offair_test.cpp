// Recordings from the air, where somebody has some: a folder named by FERROW_OFFAIR_DIR, with WAV files and
// decodes.txt, which lists other decoders' messages: "## FILE NAME: ..." and lines of UTC, SNR, DT, Hz, ~ and
// message. Prints how many of them come out here; without the folder the test is skipped.
#include "host/ft8_message.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ferrowcore/ft8.h>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <set>

namespace {

struct Listing {
    std::string file;
    std::string name;
    std::set<std::string> messages;
};

std::vector<Listing> readListings(const std::string& folder) {
    std::ifstream file(folder + "/decodes.txt");
    std::vector<Listing> listings;
    for (std::string line; std::getline(file, line);) {
        char wav[256];
        char name[64];
        if (std::sscanf(line.c_str(), "## %255s %63[^:]", wav, name) == 2)
            listings.push_back({wav, name, {}});
        else if (const auto at = line.find(" ~  "); at != std::string::npos && !listings.empty())
            listings.back().messages.insert(line.substr(at + 4, line.find_last_not_of(" \r") - at - 3));
    }
    return listings;
}

std::set<std::string> decode(const std::string& path) {
    std::array<ferrow_ft8_result, FERROW_FT8_MAX_RESULTS> results;
    const int count = ::ft8decode(path.c_str(), results.data(), 0, FERROW_FT8);
    ferrow::CallTable table;
    std::set<std::string> messages;
    for (int i = 0; i < count; ++i) {
        ferrow::Ft8MessageBits payload;
        std::memcpy(payload.data(), results[static_cast<std::size_t>(i)].payload, payload.size());
        messages.insert(ferrow::unpackFt8Message(payload, table).value_or("?"));
    }
    return messages;
}

TEST(OffAir, MostListedMessagesAreDecoded) {
    const char* folder = std::getenv("FERROW_OFFAIR_DIR");
    if (!folder)
        GTEST_SKIP() << "FERROW_OFFAIR_DIR is not set";
    const std::vector<Listing> listings = readListings(folder);
    ASSERT_FALSE(listings.empty());
    std::map<std::string, std::set<std::string>> listed;
    for (const Listing& listing : listings) {
        const std::set<std::string> ours = decode(std::string(folder) + "/" + listing.file);
        int common = 0;
        for (const std::string& message : listing.messages) {
            common += static_cast<int>(ours.count(message));
            if (!ours.count(message))
                std::printf("  missed: %s\n", message.c_str());
        }
        std::printf("%s, %s: %d of %zu, %zu decodes in all\n", listing.file.c_str(), listing.name.c_str(),
                    common, listing.messages.size(), ours.size());
        // Lists of deeper searches than one pass without subtraction are only printed beside.
        if (listing.name == "d1") {
            EXPECT_GE(2 * common, static_cast<int>(listing.messages.size()));
        }
        listed[listing.file].insert(listing.messages.begin(), listing.messages.end());
    }
    for (const auto& [file, messages] : listed)
        for (const std::string& message : decode(std::string(folder) + "/" + file))
            if (!messages.count(message))
                std::printf("  %s: not in any list: %s\n", file.c_str(), message.c_str());
}

} // namespace
