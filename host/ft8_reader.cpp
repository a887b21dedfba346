#include "host/ft8_reader.hpp"

#include "host/failure.hpp"
#include "host/ft8_message.hpp"
#include "host/ft8_snr.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <ferrowcore/ft8.h>
#include <filesystem>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace ferrow {
namespace {

Ft8MessageBits bitsOf(const ferrow_ft8_result& result) {
    Ft8MessageBits bits;
    std::copy(std::begin(result.payload), std::end(result.payload), bits.begin());
    return bits;
}

} // namespace

SlotTime slotTimeOf(const std::string& path) {
    // yymmdd_hhmm, and ss for periods below a minute; anything may follow.
    const std::string name = std::filesystem::path(path).stem().string();
    const auto digits = [&name](std::size_t at, std::size_t count) {
        return name.size() >= at + count &&
               std::all_of(name.begin() + static_cast<std::ptrdiff_t>(at),
                           name.begin() + static_cast<std::ptrdiff_t>(at + count),
                           [](char c) { return c >= '0' && c <= '9'; });
    };
    if (!digits(0, 6) || name[6] != '_' || !digits(7, 4))
        return {"------", ""};
    const std::string seconds = digits(11, 2) ? name.substr(11, 2) : "00";
    return {name.substr(7, 4) + seconds,
            fmt::format("20{}-{}-{}T{}:{}:{}Z", name.substr(0, 2), name.substr(2, 2), name.substr(4, 2),
                        name.substr(7, 2), name.substr(9, 2), seconds)};
}

std::vector<Ft8Line> Ft8Reader::read(const std::string& path) {
    const SlotFormat& format = formatOf(mode_);
    std::array<ferrow_ft8_result, FERROW_FT8_MAX_RESULTS> results{};
    const int count = ft8decode(path.c_str(), results.data(), 0, format.variant);
    if (count < 0) {
        readWav(path); // tells why, where it can
        throw Failure(
            fmt::format("{}: no recording of an {} period: 12000 samples a second, mono, 16 bit, at "
                        "most {} samples",
                        path, format.name, format.samples));
    }
    const SnrMeter meter(readWav(path));
    // Once for the calls alone: a hashed call may come before the message that has it in full.
    for (int i = 0; i < count; ++i)
        unpackFt8Message(bitsOf(results[static_cast<std::size_t>(i)]), calls_);
    std::vector<Ft8Line> lines;
    for (int i = 0; i < count; ++i) {
        const ferrow_ft8_result& one = results[static_cast<std::size_t>(i)];
        const auto text = unpackFt8Message(bitsOf(one), calls_);
        if (!text)
            continue;
        Ft8Line line;
        line.frequency = static_cast<double>(one.frequency);
        line.rawTime = static_cast<double>(one.time);
        line.rawSnr = static_cast<double>(one.snr);
        const double start = line.rawTime + format.timeOffset;
        line.dt = start - kCustomaryStart;
        line.snr = meter.measure(line.frequency, start, format);
        line.message = *text;
        lines.push_back(std::move(line));
    }
    std::sort(lines.begin(), lines.end(),
              [](const Ft8Line& a, const Ft8Line& b) { return a.frequency < b.frequency; });
    return lines;
}

std::string ft8Heading() {
    return "   UTC  SNR    DT  Freq  Message";
}

std::string showLine(const SlotTime& time, const Ft8Line& line) {
    return fmt::format("{} {:+4.0f} {:+5.1f} {:5.0f}  {}", time.clock, line.snr, line.dt, line.frequency,
                       line.message);
}

nlohmann::json lineJson(const SlotTime& time, const Ft8Line& line, SlotMode mode) {
    const auto rounded = [](double value) { return std::round(value * 1000) / 1000; };
    return {{"utc", time.iso},
            {"mode", formatOf(mode).name},
            {"snr", rounded(line.snr)},
            {"dt", rounded(line.dt)},
            {"frequency", rounded(line.frequency)},
            {"message", line.message},
            {"raw", {{"snr", rounded(line.rawSnr)}, {"time", rounded(line.rawTime)}}}};
}

} // namespace ferrow
