// Transmit drive: what the radio gets in its drive byte, and what is left for the samples to make.
#pragma once

#include <array>

namespace ferrow {

struct DriveEntry {
    int drive = 0;     // byte for the radio
    double gain = 1.0; // factor on the samples
};

class DriveTable {
public:
    // Until built, every level is (level, 1.0).
    DriveTable() { build(false); }

    // With `fineSteps` the radio has 16 levels of about half a decibel, and the samples make steps of a
    // tenth.
    void build(bool fineSteps);

    // Levels outside 0 to 255 count as the nearer end.
    const DriveEntry& operator[](int level) const;

private:
    std::array<DriveEntry, 256> entries;
};

} // namespace ferrow
