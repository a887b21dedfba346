// What a beacon says, as rising and falling chirps.
#pragma once

#include "modes/chirp/golay.hpp"

#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace ferrow {

// Thirteen chirps of synchronisation, then four Golay words, bit by bit in turn so that a burst of noise hits
// all of them alike. The 48 bits are a callsign of up to six characters, 0 to 9, A to Z and blank, as a
// number to the base 37, and its 16-bit check.
struct ChirpFrame {
    static constexpr int kSync = 13;
    static constexpr int kWords = 4;
    static constexpr int kPayload = kWords * GolayCode::kWordBits;
    static constexpr int kSymbols = kSync + kPayload;

    // A Barker sequence: true rises.
    static constexpr std::array<bool, kSync> kSyncRises{true, true, true,  true, true,  false, false,
                                                        true, true, false, true, false, true};

    std::array<bool, kSymbols> rises;

    // Characters that it cannot hold count as blanks, further ones are left out.
    static ChirpFrame of(std::string_view callsign);
};

struct ChirpMessage {
    std::string callsign; // without blanks at its end
    int corrected;        // bits of the 92
};

// Nothing unless the check is right. `rises`: the chirps behind the synchronisation.
std::optional<ChirpMessage> readChirps(const GolayCode& code,
                                       std::span<const bool, ChirpFrame::kPayload> rises);

} // namespace ferrow
