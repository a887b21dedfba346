#include "sim/scene/scene.hpp"

#include "sim/assets/embedded.hpp"
#include "sim/decibel.hpp"
#include "sim/ft8/message.hpp"
#include "sim/scene/json_fields.hpp"

#include <array>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <sstream>

namespace ferrow::sim {
namespace {

using nlohmann::json;

const std::vector<std::string> kKinds = {"carrier", "am", "ssb", "cw", "ft8", "ft4", "iq", "rtty", "psk"};
constexpr double kHighestFrequency = 2e9;

SourceSpec readSource(const json& value, const std::string& place) {
    SourceSpec source;
    if (value.is_string()) {
        if (value.get<std::string>() != "speech")
            throw SceneError(place + ": the only source known by name is \"speech\"");
        return source;
    }
    JsonFields fields(value, place);
    source.gap = fields.number("gap", 0.0, 0.0, 60.0);
    source.shift = fields.number("shift", 0.0, 0.0, 3600.0);
    if (fields.has("wav")) {
        source.kind = SourceSpec::Kind::Wav;
        source.path = fields.text("wav");
    } else if (fields.has("tones")) {
        source.kind = SourceSpec::Kind::Tones;
        source.pitch = fields.numbers("tones", 1.0, 6000.0);
    } else if (fields.has("melody")) {
        source.kind = SourceSpec::Kind::Melody;
        source.pitch = fields.numbers("melody", 0.0, 2000.0);
        source.beat = fields.number("beat", 0.3, 0.05, 10.0);
    } else if (fields.flag("speech", false)) {
        source.kind = SourceSpec::Kind::Speech;
    } else {
        throw SceneError(place + ": needs one of wav, tones, melody, speech");
    }
    fields.finish();
    return source;
}

void readVoice(JsonFields& fields, StationSpec& station) {
    const bool am = station.kind == StationKind::Am;
    station.source = readSource(fields.raw("source"), fields.placeOf("source"));
    station.low = fields.number("low", am ? 0.0 : 300.0, 0.0, 5000.0);
    station.high = fields.number("high", am ? 4500.0 : 2700.0, 100.0, 5000.0);
    if (station.low >= station.high)
        throw SceneError(fields.placeOf("low") + ": not below high");
    if (am)
        station.depth = fields.number("depth", 0.8, 0.0, 1.0);
    else
        station.upper = fields.choice("sideband", {"usb", "lsb"}, 0) == 0;
}

void readSlots(JsonFields& fields, StationSpec& station) {
    if (fields.has("messages"))
        station.messages = fields.texts("messages");
    else
        station.messages = {fields.text("message")};
    for (const std::string& message : station.messages) {
        try {
            packMessage(message);
        } catch (const std::invalid_argument& error) {
            throw SceneError(fields.placeOf("message") + ": " + error.what());
        }
    }
    station.offset = fields.number("offset", 1500.0, 0.0, 6000.0);
    station.dt = fields.number("dt", 0.0, -2.0, 3.0);
    station.slot = static_cast<SlotRule>(fields.choice("slot", {"even", "odd", "every"}, 2));
}

void readTeletype(JsonFields& fields, StationSpec& station) {
    TeletypeLine& line = station.teletype;
    station.text = fields.text("text");
    line.baud = fields.number("baud", line.baud, 10.0, 300.0);
    line.shift = fields.number("shift", line.shift, 10.0, 2000.0);
    line.stop = fields.number("stop", line.stop, 1.0, 4.0);
    line.reverse = fields.flag("reverse", line.reverse);
    line.gap = fields.number("gap", line.gap, 0.0, 600.0);
}

void readPsk(JsonFields& fields, StationSpec& station) {
    station.text = fields.text("text");
    const int mode = fields.choice("mode", {"psk31", "psk63", "psk125", "qpsk31", "qpsk63", "qpsk125"}, 0);
    station.psk.baud = 31.25 * (1 << mode % 3);
    station.psk.four = mode >= 3;
    station.psk.idle = fields.number("idle", station.psk.idle, 0.0, 600.0);
    station.psk.gap = fields.number("gap", station.psk.gap, 0.0, 600.0);
    station.offset = fields.number("offset", 1500.0, 0.0, 6000.0);
}

StationSpec readStation(const json& value, const std::string& place) {
    JsonFields fields(value, place);
    StationSpec station;
    const int kind = fields.choice("kind", kKinds, -1);
    if (kind < 0)
        throw SceneError(fields.placeOf("kind") + ": missing");
    station.kind = static_cast<StationKind>(kind);
    station.frequency = fields.number("frequency", 0.0, kHighestFrequency);
    station.name = fields.text("name", fmt::format("{} {:.3f} kHz", kKinds[static_cast<std::size_t>(kind)],
                                                   station.frequency / 1000.0));
    if (fields.has("level"))
        station.level = fields.number("level", -200.0, 20.0);
    if (fields.has("snr"))
        station.snr = fields.number("snr", -60.0, 100.0);
    if (station.level.has_value() == station.snr.has_value())
        throw SceneError(place + ": needs either level or snr");
    switch (station.kind) {
    case StationKind::Am:
    case StationKind::Ssb:
        readVoice(fields, station);
        break;
    case StationKind::Cw:
        station.text = fields.text("text");
        station.wpm = fields.number("wpm", 20.0, 1.0, 100.0);
        station.gap = fields.number("gap", 2.0, 0.0, 600.0);
        station.jitter = fields.number("jitter", 0.0, 0.0, 0.5);
        break;
    case StationKind::Rtty:
        readTeletype(fields, station);
        break;
    case StationKind::Ft8:
    case StationKind::Ft4:
        readSlots(fields, station);
        break;
    case StationKind::Psk:
        readPsk(fields, station);
        break;
    case StationKind::Iq:
        station.file = fields.text("file");
        station.inverted = fields.flag("inverted", false);
        break;
    case StationKind::Carrier:
        station.pulse.every = fields.number("every", 0.0, 0.0, 600.0);
        station.pulse.length = fields.number("length", station.pulse.length, 0.002, 600.0);
        if (station.pulse.every > 0 && station.pulse.length + 2 * kPulseEdge > station.pulse.every)
            throw SceneError(fields.placeOf("length") + ": must be shorter than every, by its edges of 1 ms");
        break;
    }
    fields.finish();
    return station;
}

std::vector<TimeSpan> readSpans(JsonFields& fields, const std::string& key) {
    std::vector<TimeSpan> spans;
    if (!fields.has(key))
        return spans;
    const json& list = fields.raw(key);
    if (!list.is_array())
        throw SceneError(fields.placeOf(key) + ": expected a list");
    for (std::size_t i = 0; i < list.size(); ++i) {
        JsonFields span(list[i], fmt::format("{}[{}]", fields.placeOf(key), i));
        spans.push_back({span.number("start", 0.0, 0.0, 1e18), span.number("end", 1e18, 0.0, 1e18)});
        span.finish();
    }
    return spans;
}

TelemetrySettings readTelemetry(const json& value) {
    JsonFields fields(value, "telemetry");
    TelemetrySettings out;
    if (fields.has("temperature_c"))
        out.ain5Temperature = countOfTemperature(fields.number("temperature_c", -50.0, 275.0));
    if (fields.has("current_ma"))
        out.ain3Current = countOfCurrent(fields.number("current_ma", 0.0, 2070.0));
    const auto count = [&](const char* key, int& target) {
        target = static_cast<int>(fields.number(key, target, 0.0, 65535.0));
    };
    count("ain1", out.ain1Forward);
    count("ain2", out.ain2Reverse);
    count("ain3", out.ain3Current);
    count("ain4", out.ain4);
    count("ain5", out.ain5Temperature);
    count("ain6", out.ain6);
    out.overload = readSpans(fields, "overload");
    out.pttIn = readSpans(fields, "ptt");
    out.cwKey = readSpans(fields, "cw_key");
    fields.finish();
    return out;
}

std::vector<FaultSpec> readFaults(const json& list) {
    if (!list.is_array())
        throw SceneError("faults: expected a list of texts");
    std::vector<FaultSpec> faults;
    for (std::size_t i = 0; i < list.size(); ++i) {
        if (!list[i].is_string())
            throw SceneError(fmt::format("faults[{}]: expected a text", i));
        try {
            faults.push_back(parseFault(list[i].get<std::string>()));
        } catch (const std::invalid_argument& error) {
            throw SceneError(fmt::format("faults[{}]: {}", i, error.what()));
        }
    }
    return faults;
}

} // namespace

const char* nameOf(StationKind kind) {
    return kKinds[static_cast<std::size_t>(kind)].c_str();
}

double Scene::levelOf(const StationSpec& station) const {
    if (station.level)
        return *station.level;
    return noiseFloor.value_or(0.0) + dbFromPower(2500.0) + *station.snr;
}

Scene parseScene(std::string_view text, const std::string& folder) {
    json document;
    try {
        document = json::parse(text, nullptr, true, true);
    } catch (const json::exception& error) {
        throw SceneError(error.what());
    }
    JsonFields fields(document, "");
    Scene scene;
    scene.folder = folder;
    scene.name = fields.text("name", "scene");
    scene.seed = static_cast<std::uint64_t>(fields.number("seed", 1.0, 0.0, 1e15));
    if (document.contains("noise_floor") && document.at("noise_floor").is_null())
        scene.noiseFloor.reset();
    if (fields.has("noise_floor"))
        scene.noiseFloor = fields.number("noise_floor", -250.0, 0.0);
    if (fields.has("adc1")) {
        JsonFields adc(fields.raw("adc1"), "adc1");
        scene.adc1Gain = adc.number("gain_db", 0.0, -200.0, 100.0);
        scene.adc1Phase = adc.number("phase_deg", 0.0, -360.0, 360.0);
        adc.finish();
    }
    if (fields.has("telemetry"))
        scene.telemetry = readTelemetry(fields.raw("telemetry"));
    if (fields.has("faults"))
        scene.faults = readFaults(fields.raw("faults"));
    if (fields.has("stations")) {
        const json& list = fields.raw("stations");
        if (!list.is_array())
            throw SceneError("stations: expected a list");
        for (std::size_t i = 0; i < list.size(); ++i) {
            scene.stations.push_back(readStation(list[i], fmt::format("stations[{}]", i)));
            if (scene.stations.back().snr && !scene.noiseFloor)
                throw SceneError(fmt::format("stations[{}].snr: the scene has no noise floor", i));
        }
    }
    fields.finish();
    return scene;
}

Scene loadScene(const std::string& path) {
    if (path == "builtin")
        return parseScene(embeddedScene(), ".");
    std::ifstream file(path, std::ios::binary);
    std::stringstream text;
    if (!file || !(text << file.rdbuf()))
        throw SceneError(fmt::format("cannot read {}", path));
    const auto folder = std::filesystem::path(path).parent_path();
    try {
        return parseScene(text.str(), folder.empty() ? "." : folder.string());
    } catch (const SceneError& error) {
        throw SceneError(fmt::format("{}: {}", path, error.what()));
    }
}

} // namespace ferrow::sim
