#include "host/tuning.hpp"

#include "host/failure.hpp"
#include "host/frequency.hpp"

#include <array>
#include <charconv>
#include <fmt/format.h>

namespace ferrow {
namespace {

struct ModeRow {
    const char* name;
    Mode mode;
    int low, high;
};
constexpr std::array<ModeRow, 5> kModes = {{
    {"usb", Mode::Usb, 300, 2700},
    {"lsb", Mode::Lsb, -2700, -300},
    {"am", Mode::Am, -4500, 4500},
    {"fm", Mode::Fm, -6000, 6000},
    {"cw", Mode::Cw, kCwPitch - 250, kCwPitch + 250},
}};

constexpr int kWidest = 20000; // Hz on either side: within the 48000 of a mode's rate
constexpr int kNarrowest = 50;

constexpr long long kLsbBelow = 10'000'000;

const ModeRow& rowOf(Mode mode) {
    for (const ModeRow& row : kModes)
        if (row.mode == mode)
            return row;
    return kModes[0];
}

int parseHertz(std::string_view text, std::string_view whole) {
    int value = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end || text.empty())
        throw UsageError(fmt::format("\"{}\": a filter is written [LOW:HIGH] in whole Hz", whole));
    return value;
}

void parseFilter(std::string_view text, std::string_view whole, Tuning& tuning) {
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos || !text.ends_with(']'))
        throw UsageError(fmt::format("\"{}\": a filter is written [LOW:HIGH]", whole));
    int low = parseHertz(text.substr(0, colon), whole);
    int high = parseHertz(text.substr(colon + 1, text.size() - colon - 2), whole);
    if (tuning.mode == Mode::Lsb && low >= 0 && high > 0) {
        const int mirrored = -high;
        high = -low;
        low = mirrored;
    }
    if (low < -kWidest || high > kWidest || high - low < kNarrowest)
        throw UsageError(
            fmt::format("\"{}\": a filter lies within -{}:{} Hz, LOW below HIGH by {} Hz or more", whole,
                        kWidest, kWidest, kNarrowest));
    tuning.low = low;
    tuning.high = high;
}

} // namespace

const char* nameOf(Mode mode) {
    return rowOf(mode).name;
}

long long Tuning::vfo() const {
    return mode == Mode::Cw ? frequency - kCwPitch : frequency;
}

std::string Tuning::slug() const {
    return fmt::format("{}_{}", frequency, nameOf(mode));
}

Tuning parseTuning(std::string_view text) {
    const std::size_t colon = text.find(':');
    Tuning tuning;
    tuning.frequency = parseFrequency(text.substr(0, colon));
    tuning.mode = tuning.frequency < kLsbBelow ? Mode::Lsb : Mode::Usb;
    std::string_view mode, filter;
    if (colon != std::string_view::npos) {
        mode = text.substr(colon + 1);
        const std::size_t bracket = mode.find('[');
        if (bracket != std::string_view::npos) {
            filter = mode.substr(bracket + 1);
            mode = mode.substr(0, bracket);
        }
        const ModeRow* found = nullptr;
        for (const ModeRow& row : kModes)
            if (mode == row.name)
                found = &row;
        if (!found)
            throw UsageError(fmt::format("\"{}\": the modes are usb, lsb, am, fm and cw", text));
        tuning.mode = found->mode;
    }
    tuning.low = rowOf(tuning.mode).low;
    tuning.high = rowOf(tuning.mode).high;
    if (text.find('[') != std::string_view::npos)
        parseFilter(filter, text, tuning);
    return tuning;
}

} // namespace ferrow
