#pragma once
#include "sim/scene/scene.hpp"
#include "sim/sky/audio.hpp"
#include "sim/sky/sky.hpp"

#include <nlohmann/json_fwd.hpp>

namespace ferrow::sim {

/// The audio that a station sends, after its band limit: what a perfect receiver would hear in a loop.
struct SentAudio {
    std::string station;
    Audio audio;
};

struct BuiltScene {
    std::shared_ptr<const Sky> sky;
    std::vector<SentAudio> audio; ///< of the AM and SSB stations
};

/// Makes the stations, reading the sound files. Throws SceneError.
BuiltScene buildSky(const Scene& scene);

/// The stations as JSON, for hosts that label them.
nlohmann::json listStations(const Scene& scene);

/// Writes each station's audio as FOLDER/<name>.wav, characters other than letters and digits as '_'; returns
/// the paths. Throws std::runtime_error.
std::vector<std::string> writeSources(const BuiltScene& built, const std::string& folder);

} // namespace ferrow::sim
