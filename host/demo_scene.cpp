#include "host/demo_scene.hpp"

#include "host/failure.hpp"

#include <cctype>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace ferrow {

std::string SceneStation::fileName() const {
    std::string file = name;
    for (char& c : file)
        if (!std::isalnum(static_cast<unsigned char>(c)))
            c = '_';
    return file + ".wav";
}

std::vector<SceneStation> readScene(const std::string& json) {
    std::vector<SceneStation> stations;
    try {
        const auto scene = nlohmann::json::parse(json);
        for (const auto& one : scene.at("stations")) {
            SceneStation station;
            station.name = one.at("name");
            station.kind = one.at("kind");
            station.frequency = one.at("frequency");
            station.level = one.at("level");
            station.offset = one.value("offset", 0.0);
            station.snr = one.value("snr", 0.0);
            station.low = one.value("low", 0.0);
            station.high = one.value("high", 0.0);
            station.upper = one.value("sideband", "usb") == "usb";
            if (one.contains("messages"))
                station.message = one.at("messages").at(0);
            stations.push_back(std::move(station));
        }
    } catch (const nlohmann::json::exception& error) {
        throw Failure(fmt::format("cannot read the simulator's scene: {}", error.what()));
    }
    return stations;
}

} // namespace ferrow
