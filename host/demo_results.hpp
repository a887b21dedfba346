// What the demonstration came to.
#pragma once

#include "host/demo_scene.hpp"
#include "host/ft8_recorder.hpp"
#include "host/sound_likeness.hpp"
#include "host/waterfall_picture.hpp"

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace ferrow {

struct VoiceResult {
    std::string station, file;
    double seconds = 0; // recorded
    Likeness likeness;
};

struct SlotResult {
    SlotMode mode = SlotMode::Ft8;
    DecodedSlot slot;
    int expected = 0;
    std::vector<std::string> missing; // messages on the air that were not decoded
    int found() const { return expected - static_cast<int>(missing.size()); }
};

struct MarkResult {
    std::string station;
    int column = 0; // of its label
    int peak = 0;   // strongest column near it
};

struct DemoResults {
    std::vector<SlotResult> slots;
    std::vector<VoiceResult> voices;
    std::vector<MarkResult> marks;
    int sequenceErrors = 0;
    double seconds = 0; // received

    // The best FT8 slot; null without any.
    const SlotResult* bestFt8() const;
    // Whether the demonstration shows what it should: FT8 and voices.
    bool good() const;
};

inline constexpr int kLeastFt8Decodes = 12;
inline constexpr double kLeastLikeness = 0.9;

SlotResult judgeSlot(SlotMode mode, const DecodedSlot& slot, const std::vector<SceneStation>& stations);

// For the stations of one line, where the strongest column within `reach` of their label is.
std::vector<MarkResult> judgeMarks(const WaterfallPanel::Snapshot& panel,
                                   const std::vector<SceneStation>& stations, int reach = 4);

std::string showResults(const DemoResults& results);
nlohmann::json resultsJson(const DemoResults& results);

} // namespace ferrow
