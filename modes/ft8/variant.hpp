// What sets FT8 and FT4 apart. Every step of the decoder takes its numbers from here.
#pragma once

#include <array>
#include <cstdint>

namespace ferrow {

inline constexpr int kFt8MaxTones = 8;
inline constexpr int kFt8MaxSyncGroups = 4;
inline constexpr int kFt8MaxSyncLength = 7;
inline constexpr int kFt8PayloadBytes = 10;
inline constexpr int kFt8DataRun = 29; // data symbols between two sync groups

struct SyncGroup {
    int start; // symbol of its first tone
    std::array<std::uint8_t, kFt8MaxSyncLength> tones;
};

struct Ft8Variant {
    float toneHz; // tone spacing, and symbol rate
    int tones;
    float binDivisor;      // sample rate / this = number of bins
    int capacity;          // samples of a full period at 12000 Hz
    bool fixedSampleCount; // analyse `capacity` samples whatever the file held
    int syncGroupCount;
    int syncLength; // symbols in each group
    std::array<SyncGroup, kFt8MaxSyncGroups> sync;
    int dataSymbols;
    int bitsPerSymbol;
    std::array<std::uint8_t, kFt8MaxTones> gray; // tone that stands for each bit pattern
    int firstTimeOffset;
    int timeMargin;                                      // time offsets stay below numBlocks - timeMargin
    int binMargin;                                       // frequency offsets go from 1 to numBins - binMargin
    float timeCorrection;                                // seconds, taken off
    float snrCorrection;                                 // dB, taken off
    std::array<std::uint8_t, kFt8PayloadBytes> scramble; // XORed over the payload
};

// 8 selects FT8, anything else FT4.
const Ft8Variant& ft8Variant(int variant);

// Symbol, from the start of the frame, that carries data symbol `d`.
constexpr int dataSymbolPosition(const Ft8Variant& variant, int d) {
    return d + (d / kFt8DataRun + 1) * variant.syncLength;
}

} // namespace ferrow
