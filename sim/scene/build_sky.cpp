#include "sim/scene/build_sky.hpp"

#include "sim/assets/embedded.hpp"
#include "sim/sky/carrier.hpp"
#include "sim/sky/loop_station.hpp"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace ferrow::sim {
namespace {

namespace fs = std::filesystem;

Audio loadSource(const Scene& scene, const SourceSpec& source) {
    Audio audio;
    switch (source.kind) {
    case SourceSpec::Kind::Speech:
        audio = readAudio(embeddedSpeech());
        break;
    case SourceSpec::Kind::Wav:
        audio = readAudio((fs::path(scene.folder) / source.path).string());
        break;
    case SourceSpec::Kind::Tones:
        audio = makeTones(source.pitch);
        break;
    case SourceSpec::Kind::Melody:
        audio = makeMelody(source.pitch, source.beat);
        break;
    }
    audio.resize(audio.size() + static_cast<std::size_t>(source.gap * kBaseRate));
    const auto shift = static_cast<std::size_t>(source.shift * kBaseRate) % audio.size();
    std::rotate(audio.begin(), audio.begin() + static_cast<std::ptrdiff_t>(shift), audio.end());
    return audio;
}

std::shared_ptr<const Station> buildStation(const Scene& scene, const StationSpec& spec, BuiltScene& built) {
    const double level = scene.levelOf(spec);
    const std::string kind = nameOf(spec.kind);
    switch (spec.kind) {
    case StationKind::Am:
    case StationKind::Ssb: {
        Audio audio = loadSource(scene, spec.source);
        limitBand(audio, spec.low, spec.high);
        normalise(audio);
        auto loop = spec.kind == StationKind::Am ? amLoop(audio, spec.depth) : ssbLoop(audio, spec.upper);
        built.audio.push_back({spec.name, std::move(audio)});
        return std::make_shared<LoopStation>(spec.name, kind, spec.frequency, level, std::move(loop));
    }
    case StationKind::Cw:
        return std::make_shared<LoopStation>(spec.name, kind, spec.frequency, level,
                                             cwLoop(spec.text, spec.wpm, spec.gap, spec.jitter, scene.seed));
    case StationKind::Rtty:
        return std::make_shared<LoopStation>(spec.name, kind, spec.frequency, level,
                                             teletypeLoop(spec.text, spec.teletype));
    case StationKind::Psk:
        return std::make_shared<LoopStation>(spec.name, kind, spec.frequency + spec.offset, level,
                                             pskLoop(spec.text, spec.psk));
    case StationKind::Ft8:
    case StationKind::Ft4:
        return std::make_shared<SlotStation>(spec.name, spec.kind == StationKind::Ft4,
                                             spec.frequency + spec.offset, level, spec.messages, spec.slot,
                                             spec.dt);
    case StationKind::Iq: {
        IqRecording recording = readIq((fs::path(scene.folder) / spec.file).string());
        if (spec.inverted)
            for (Cfloat& x : recording.samples)
                x = std::conj(x);
        return std::make_shared<LoopStation>(spec.name, kind, spec.frequency, level,
                                             std::move(recording.samples), recording.rateFactor);
    }
    case StationKind::Carrier:
        break;
    }
    return std::make_shared<CarrierStation>(spec.name, spec.frequency, level, spec.pulse);
}

} // namespace

BuiltScene buildSky(const Scene& scene) {
    BuiltScene built;
    auto sky = std::make_shared<Sky>();
    sky->noise = scene.noiseFloor.has_value();
    sky->noiseFloorDb = scene.noiseFloor.value_or(0.0);
    sky->seed = scene.seed;
    sky->adc1GainDb = scene.adc1Gain;
    sky->adc1PhaseDegrees = scene.adc1Phase;
    for (std::size_t i = 0; i < scene.stations.size(); ++i) {
        try {
            sky->stations.push_back(buildStation(scene, scene.stations[i], built));
        } catch (const std::runtime_error& error) {
            throw SceneError(fmt::format("stations[{}]: {}", i, error.what()));
        }
    }
    built.sky = std::move(sky);
    return built;
}

nlohmann::json listStations(const Scene& scene) {
    nlohmann::json list = nlohmann::json::array();
    for (const StationSpec& spec : scene.stations) {
        nlohmann::json one = {{"name", spec.name},
                              {"kind", nameOf(spec.kind)},
                              {"frequency", spec.frequency},
                              {"level", scene.levelOf(spec)}};
        if (spec.snr)
            one["snr"] = *spec.snr;
        switch (spec.kind) {
        case StationKind::Ft8:
        case StationKind::Ft4:
            one["offset"] = spec.offset;
            one["messages"] = spec.messages;
            one["dt"] = spec.dt;
            one["slot"] = spec.slot == SlotRule::Even ? "even" : spec.slot == SlotRule::Odd ? "odd" : "every";
            break;
        case StationKind::Ssb:
            one["sideband"] = spec.upper ? "usb" : "lsb";
            [[fallthrough]];
        case StationKind::Am:
            one["low"] = spec.low;
            one["high"] = spec.high;
            break;
        case StationKind::Cw:
            one["text"] = spec.text;
            one["wpm"] = spec.wpm;
            break;
        case StationKind::Psk:
            one["text"] = spec.text;
            one["offset"] = spec.offset;
            one["baud"] = spec.psk.baud;
            break;
        default:
            break;
        }
        list.push_back(std::move(one));
    }
    return {{"name", scene.name},
            {"noise_floor", scene.noiseFloor ? nlohmann::json(*scene.noiseFloor) : nlohmann::json()},
            {"stations", list}};
}

std::vector<std::string> writeSources(const BuiltScene& built, const std::string& folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    std::vector<std::string> paths;
    for (const SentAudio& sent : built.audio) {
        std::string file = sent.station;
        for (char& c : file)
            if (!std::isalnum(static_cast<unsigned char>(c)))
                c = '_';
        paths.push_back((fs::path(folder) / (file + ".wav")).string());
        writeAudio(paths.back(), sent.audio);
    }
    return paths;
}

} // namespace ferrow::sim
