#pragma once
#include <cstdint>
#include <span>
#include <string_view>

namespace ferrow::sim {

/// sim/assets/speech.wav as a file in memory.
std::span<const std::uint8_t> embeddedSpeech();

/// sim/scenes/demo.json.
std::string_view embeddedScene();

} // namespace ferrow::sim
