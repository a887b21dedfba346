// Colours of a waterfall.
#pragma once

#include <array>
#include <cstdint>

namespace ferrow {

struct Colour {
    std::uint8_t red = 0, green = 0, blue = 0;
    bool operator==(const Colour&) const = default;
};

// From nearly black by blue, violet and orange to white; `level` 0 to 1, limited.
constexpr Colour waterfallColour(double level) {
    constexpr std::array<Colour, 7> kStops = {{
        {4, 6, 22},
        {14, 26, 86},
        {52, 44, 152},
        {134, 42, 140},
        {222, 78, 78},
        {250, 168, 48},
        {255, 250, 214},
    }};
    const double place = (level < 0 ? 0 : level > 1 ? 1 : level) * (kStops.size() - 1);
    const auto below = place >= kStops.size() - 1 ? kStops.size() - 2 : static_cast<std::size_t>(place);
    const double part = place - static_cast<double>(below);
    const auto mix = [part](std::uint8_t a, std::uint8_t b) {
        return static_cast<std::uint8_t>(a + part * (b - a) + 0.5);
    };
    const Colour &a = kStops[below], &b = kStops[below + 1];
    return {mix(a.red, b.red), mix(a.green, b.green), mix(a.blue, b.blue)};
}

// The nearest of the 216 cube and 24 grey colours of a terminal.
constexpr int terminalColour(Colour colour) {
    constexpr std::array<int, 6> kSteps = {0, 95, 135, 175, 215, 255};
    const auto nearest = [&](int value) {
        int best = 0;
        for (int i = 1; i < 6; ++i)
            if ((kSteps[i] - value) * (kSteps[i] - value) < (kSteps[best] - value) * (kSteps[best] - value))
                best = i;
        return best;
    };
    return 16 + 36 * nearest(colour.red) + 6 * nearest(colour.green) + nearest(colour.blue);
}

} // namespace ferrow
