#include "host/frequency.hpp"

#include "host/failure.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fmt/format.h>

namespace ferrow {
namespace {

constexpr double kLowest = 1e3;
constexpr double kHighest = 4294967295.0;

[[noreturn]] void refuse(std::string_view text, const char* why) {
    throw UsageError(fmt::format("\"{}\" is no frequency: {}", text, why));
}

} // namespace

long long parseFrequency(std::string_view text) {
    std::string_view rest = text;
    if (rest.size() > 2 && (rest.ends_with("Hz") || rest.ends_with("hz")))
        rest.remove_suffix(2);
    double scale = 1;
    if (!rest.empty()) {
        switch (rest.back()) {
        case 'M':
        case 'm':
            scale = 1e6;
            break;
        case 'k':
        case 'K':
            scale = 1e3;
            break;
        default:
            break;
        }
    }
    if (scale != 1)
        rest.remove_suffix(1);
    double value = 0;
    const char* end = rest.data() + rest.size();
    const auto [stop, error] = std::from_chars(rest.data(), end, value, std::chars_format::fixed);
    if (error != std::errc() || stop != end || rest.empty())
        refuse(text, "write it as 14.2M, 14200k or 14200000");
    const double hertz = value * scale;
    if (!(hertz >= kLowest && hertz <= kHighest))
        refuse(text, "it must lie between 1k and 4294.967295M");
    if (std::abs(hertz - std::round(hertz)) > 1e-3)
        refuse(text, "it must be a whole number of Hz");
    return std::llround(hertz);
}

std::string showFrequency(long long hertz) {
    return fmt::format("{}.{:03}.{:03}", hertz / 1'000'000, hertz / 1000 % 1000, hertz % 1000);
}

std::string showMegahertz(double hertz) {
    std::string text = fmt::format("{:.6f}", hertz / 1e6);
    while (text.back() == '0')
        text.pop_back();
    if (text.back() == '.')
        text.pop_back();
    return text;
}

} // namespace ferrow
