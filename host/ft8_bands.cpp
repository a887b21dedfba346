#include "host/ft8_bands.hpp"

#include "host/failure.hpp"

#include <array>
#include <ferrowcore/ft8.h>
#include <fmt/format.h>
#include <fmt/ranges.h>

namespace ferrow {
namespace {

struct Band {
    const char* name;
    int ft8Khz; // 0: none in use
    double ft4Khz;
};
constexpr std::array<Band, 12> kBands = {{
    {"160m", 1840, 0},
    {"80m", 3573, 3575},
    {"60m", 5357, 0},
    {"40m", 7074, 7047.5},
    {"30m", 10136, 10140},
    {"20m", 14074, 14080},
    {"17m", 18100, 18104},
    {"15m", 21074, 21140},
    {"12m", 24915, 24919},
    {"10m", 28074, 28180},
    {"6m", 50313, 50318},
    {"2m", 144174, 144170},
}};

constexpr SlotFormat kFormats[] = {
    // The window of ft8decode starts half a symbol early. FT4's time has 0.4 s taken off, and counts from the
    // first
    // symbol behind the ramp, which lasts a symbol too.
    {"FT8", FERROW_FT8, 15000, 180000, 4800, 6.25, 8, 12.64, 0.08},
    {"FT4", FERROW_FT4, 7500, 90000, 4800, 12000.0 / 576, 4, 5.04, 0.4 + 0.024 - 0.048},
};

long long dialOf(const Band& band, SlotMode mode) {
    return static_cast<long long>(1000 * (mode == SlotMode::Ft8 ? band.ft8Khz : band.ft4Khz));
}

} // namespace

const SlotFormat& formatOf(SlotMode mode) {
    return kFormats[mode == SlotMode::Ft8 ? 0 : 1];
}

long long dialFrequency(std::string_view band, SlotMode mode) {
    for (const Band& one : kBands)
        if (band == one.name && dialOf(one, mode) > 0)
            return dialOf(one, mode);
    throw UsageError(fmt::format("no {} on a band \"{}\": there are {}", formatOf(mode).name, band,
                                 fmt::join(bandsOf(mode), ", ")));
}

std::vector<std::string> bandsOf(SlotMode mode) {
    std::vector<std::string> names;
    for (const Band& one : kBands)
        if (dialOf(one, mode) > 0)
            names.emplace_back(one.name);
    return names;
}

SlotParity parseSlotParity(const std::string& text) {
    if (text == "next")
        return SlotParity::Any;
    if (text == "even")
        return SlotParity::Even;
    if (text == "odd")
        return SlotParity::Odd;
    throw UsageError(fmt::format("\"{}\" is no slot: even, odd or next", text));
}

} // namespace ferrow
