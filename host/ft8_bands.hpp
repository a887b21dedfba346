// Where FT8 and FT4 are sent, and what makes their periods.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ferrow {

enum class SlotMode { Ft8, Ft4 };

// Numbers of one mode that a host needs, at 12000 samples a second.
struct SlotFormat {
    const char* name;
    int variant;        // for ft8decode
    int periodMs;       // of UTC
    int samples;        // of a whole period
    int padding;        // at its end not recorded, so that the file is ready before the next one starts
    double toneSpacing; // Hz
    int tones;          // different ones
    double airTime;     // seconds that a frame lasts
    double timeOffset;  // seconds to add to ft8decode's time to get the start of the frame in the file
};

const SlotFormat& formatOf(SlotMode mode);

// The customary start of a frame in its period: DT counts from there.
inline constexpr double kCustomaryStart = 0.5; // seconds

// Which periods; they are counted from midnight UTC.
enum class SlotParity { Any, Even, Odd };

// "even", "odd" or "next". Throws UsageError.
SlotParity parseSlotParity(const std::string& text);

// Dial frequency in Hz of a band named "20m". Throws UsageError for a band where the mode has none.
long long dialFrequency(std::string_view band, SlotMode mode);

std::vector<std::string> bandsOf(SlotMode mode);

} // namespace ferrow
