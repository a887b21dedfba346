#include "host/neighbours/rig_modes.hpp"

#include "host/failure.hpp"

#include <fmt/format.h>

namespace ferrow {
namespace {

struct Row {
    const char* name;
    Mode mode;
};
// The first of a mode is the one that it is told by.
constexpr Row kRows[] = {{"USB", Mode::Usb}, {"LSB", Mode::Lsb},    {"CW", Mode::Cw},     {"AM", Mode::Am},
                         {"FM", Mode::Fm},   {"PKTUSB", Mode::Usb}, {"PKTLSB", Mode::Lsb}};

constexpr int kLowerEdge = 300; // Hz, of a sideband
constexpr int kWidest = 20000;  // as tunings are read

Tuning usual(Mode mode, long long frequency) {
    return parseTuning(fmt::format("{}:{}", frequency, nameOf(mode)));
}

} // namespace

std::vector<RigMode> rigModes() {
    constexpr long long kAnywhere = 14'000'000;
    std::vector<RigMode> modes;
    for (const Row& row : kRows) {
        const Tuning tuning = usual(row.mode, kAnywhere);
        modes.push_back({row.name, tuning.high - tuning.low});
    }
    return modes;
}

RigMode rigModeOf(const Tuning& tuning) {
    for (const Row& row : kRows)
        if (row.mode == tuning.mode)
            return {row.name, tuning.high - tuning.low};
    return {};
}

std::optional<Tuning> tuningIn(const RigMode& mode, const Tuning& before) {
    for (const Row& row : kRows) {
        if (mode.name != row.name)
            continue;
        const int width = mode.passband < 0 ? before.high - before.low : mode.passband;
        if (width == 0)
            return usual(row.mode, before.frequency);
        const int middle = row.mode == Mode::Cw ? kCwPitch : 0;
        int low = middle - width / 2;
        if (row.mode == Mode::Usb || row.mode == Mode::Lsb)
            low = width + kLowerEdge <= kWidest ? kLowerEdge : kWidest - width;
        try {
            return parseTuning(
                fmt::format("{}:{}[{}:{}]", before.frequency, nameOf(row.mode), low, low + width));
        } catch (const UsageError&) {
            return std::nullopt;
        }
    }
    return std::nullopt;
}

} // namespace ferrow
