#include "host/demo_results.hpp"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace ferrow {
namespace {

const char* kindOf(SlotMode mode) {
    return mode == SlotMode::Ft8 ? "ft8" : "ft4";
}

} // namespace

const SlotResult* DemoResults::bestFt8() const {
    const SlotResult* best = nullptr;
    for (const SlotResult& slot : slots)
        if (slot.mode == SlotMode::Ft8 && (!best || slot.found() > best->found()))
            best = &slot;
    return best;
}

bool DemoResults::good() const {
    const SlotResult* ft8 = bestFt8();
    return ft8 && ft8->found() >= kLeastFt8Decodes &&
           std::all_of(voices.begin(), voices.end(),
                       [](const VoiceResult& voice) { return voice.likeness.correlation >= kLeastLikeness; });
}

SlotResult judgeSlot(SlotMode mode, const DecodedSlot& slot, const std::vector<SceneStation>& stations) {
    SlotResult result{mode, slot, 0, {}};
    for (const SceneStation& station : stations) {
        if (station.kind != kindOf(mode))
            continue;
        ++result.expected;
        const auto same = [&](const Ft8Line& line) { return line.message == station.message; };
        if (std::none_of(slot.lines.begin(), slot.lines.end(), same))
            result.missing.push_back(station.message);
    }
    return result;
}

std::vector<MarkResult> judgeMarks(const WaterfallPanel::Snapshot& panel,
                                   const std::vector<SceneStation>& stations, int reach) {
    std::vector<MarkResult> results;
    const std::vector<float> mean = panel.mean();
    for (const SceneStation& station : stations) {
        const int column = panel.columnOf(station.onAir());
        if (!station.narrow() || column < reach || column + reach >= panel.columns())
            continue;
        const auto from = mean.begin() + column - reach;
        const auto peak = std::max_element(from, mean.begin() + column + reach + 1);
        results.push_back({station.name, column, static_cast<int>(peak - mean.begin())});
    }
    return results;
}

std::string showResults(const DemoResults& results) {
    std::string text;
    if (const SlotResult* ft8 = results.bestFt8()) {
        text += ft8Heading() + "\n";
        for (const Ft8Line& line : ft8->slot.lines)
            text += showLine(ft8->slot.time, line) + "\n";
        text += fmt::format("FT8: {} of {} messages decoded\n", ft8->found(), ft8->expected);
        for (const std::string& message : ft8->missing)
            text += fmt::format("     not decoded: {}\n", message);
    } else {
        text += "FT8: no period recorded\n";
    }
    for (const SlotResult& slot : results.slots)
        if (slot.mode == SlotMode::Ft4)
            text += fmt::format("FT4: {} of {} messages decoded at {}\n", slot.found(), slot.expected,
                                slot.slot.time.clock);
    for (const VoiceResult& voice : results.voices)
        text += fmt::format("{:<12} {:5.1f} s recorded; correlation with what was sent: {:.3f}\n",
                            voice.station, voice.seconds, voice.likeness.correlation);
    int worst = 0;
    for (const MarkResult& mark : results.marks)
        worst = std::max(worst, std::abs(mark.peak - mark.column));
    text += fmt::format("waterfall: {} lines stand {} pixel{} or less from their label\n",
                        results.marks.size(), worst, worst == 1 ? "" : "s");
    text +=
        fmt::format("{:.1f} s received, {} gaps in the stream\n", results.seconds, results.sequenceErrors);
    return text;
}

nlohmann::json resultsJson(const DemoResults& results) {
    nlohmann::json slots = nlohmann::json::array(), voices = slots, marks = slots;
    for (const SlotResult& slot : results.slots) {
        nlohmann::json lines = nlohmann::json::array();
        for (const Ft8Line& line : slot.slot.lines)
            lines.push_back(lineJson(slot.slot.time, line, slot.mode));
        slots.push_back({{"mode", formatOf(slot.mode).name},
                         {"utc", slot.slot.time.iso},
                         {"expected", slot.expected},
                         {"found", slot.found()},
                         {"missing", slot.missing},
                         {"lines", lines}});
    }
    for (const VoiceResult& voice : results.voices)
        voices.push_back({{"station", voice.station},
                          {"file", voice.file},
                          {"seconds", voice.seconds},
                          {"compared_seconds", voice.likeness.seconds},
                          {"correlation", voice.likeness.correlation},
                          {"source_offset", voice.likeness.offset}});
    for (const MarkResult& mark : results.marks)
        marks.push_back(
            {{"station", mark.station}, {"label_column", mark.column}, {"peak_column", mark.peak}});
    const SlotResult* ft8 = results.bestFt8();
    return {{"good", results.good()},
            {"seconds", results.seconds},
            {"sequence_errors", results.sequenceErrors},
            {"decoded", ft8 ? ft8->found() : 0},
            {"expected", ft8 ? ft8->expected : 0},
            {"slots", slots},
            {"voices", voices},
            {"marks", marks}};
}

} // namespace ferrow
