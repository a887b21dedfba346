// The time-frequency grid that FT8 and FT4 frames are searched in.
#pragma once

#include "modes/ft8/variant.hpp"

#include <cstddef>
#include <cstdint>

namespace ferrow {

// Magnitudes in half decibels, 0 meaning -120 dB, by symbol-length block, time phase, frequency phase and
// bin.
struct Waterfall {
    std::int32_t numBlocks;
    std::int32_t numBins; // as far apart as tones
    std::int32_t timeOsr;
    std::int32_t freqOsr;
    std::int32_t noiseLevel; // 30th percentile of all magnitudes
    std::uint8_t* mag;       // not owned; magnitudeCount() bytes

    int blockSize() const { return 2 * numBins; } // samples of a symbol
    int subBlock() const { return blockSize() / timeOsr; }
    int nfft() const { return blockSize() * freqOsr; } // samples of a transform: two symbols
    // From a symbol to the next at the same phases.
    int stride() const { return numBins * timeOsr * freqOsr; }
    std::size_t magnitudeCount() const {
        return static_cast<std::size_t>(numBlocks) * static_cast<std::size_t>(stride());
    }
    // Index of bin 0; `block` may be negative.
    std::ptrdiff_t rowIndex(int block, int timeSub, int freqSub) const {
        return ((static_cast<std::ptrdiff_t>(block) * timeOsr + timeSub) * freqOsr + freqSub) * numBins;
    }
};

// Sizes of the grid over `sampleCount` samples, with no memory behind it yet. A rate or a count that makes no
// sense gives numBlocks or numBins of 0 or less.
Waterfall waterfallGrid(std::int32_t sampleRate, std::int32_t sampleCount, const Ft8Variant& variant);

// Fills grid.mag and grid.noiseLevel. Needs numBlocks and numBins of at least 1; reads samples only inside
// the count that the grid was made for. Keeps a transform plan per thread and length.
void buildWaterfall(const short* samples, Waterfall& grid);

} // namespace ferrow
