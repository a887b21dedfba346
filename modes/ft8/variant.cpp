#include "modes/ft8/variant.hpp"

namespace ferrow {
namespace {

constexpr std::array<std::uint8_t, kFt8MaxSyncLength> kCostas{3, 1, 4, 0, 6, 5, 2};

constexpr Ft8Variant kFt8{
    .toneHz = 6.25f,
    .tones = 8,
    .binDivisor = 12.5f,
    .capacity = 180000,
    .fixedSampleCount = false,
    .syncGroupCount = 3,
    .syncLength = 7,
    .sync = {{{0, kCostas}, {36, kCostas}, {72, kCostas}, {}}},
    .dataSymbols = 58,
    .bitsPerSymbol = 3,
    .gray = {0, 1, 3, 2, 5, 6, 4, 7},
    .firstTimeOffset = -7,
    .timeMargin = 72,
    .binMargin = 8,
    .timeCorrection = 0.0f,
    .snrCorrection = 17.0f,
    .scramble = {},
};

constexpr Ft8Variant kFt4{
    .toneHz = 20.833334f,
    .tones = 4,
    .binDivisor = 41.666668f,
    .capacity = 90000,
    .fixedSampleCount = true,
    .syncGroupCount = 4,
    .syncLength = 4,
    .sync = {{{0, {0, 1, 3, 2}}, {33, {1, 0, 2, 3}}, {66, {2, 3, 1, 0}}, {99, {3, 2, 0, 1}}}},
    .dataSymbols = 87,
    .bitsPerSymbol = 2,
    .gray = {0, 1, 3, 2},
    .firstTimeOffset = -4,
    .timeMargin = 103,
    .binMargin = 4,
    .timeCorrection = 0.4f,
    .snrCorrection = 56.0f,
    .scramble = {74, 94, 137, 180, 176, 138, 121, 85, 190, 40},
};

} // namespace

const Ft8Variant& ft8Variant(int variant) {
    return variant == 8 ? kFt8 : kFt4;
}

} // namespace ferrow
