#include "sim/scene/build_sky.hpp"

#include <cmath>
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <set>

using namespace ferrow::sim;

namespace {

/// The message of the error that the scene gives, or "" if it is fine.
std::string mistake(const std::string& text) {
    try {
        const Scene scene = parseScene(text, ".");
        buildSky(scene);
    } catch (const SceneError& error) {
        return error.what();
    }
    return "";
}

std::string station(const std::string& body) {
    return R"({"stations": [{)" + body + "}]}";
}

} // namespace

TEST(Scene, EmptyObjectIsASilentBand) {
    const Scene scene = parseScene("{}", ".");
    EXPECT_TRUE(scene.stations.empty());
    EXPECT_EQ(scene.noiseFloor, -135.0);
    EXPECT_FALSE(parseScene(R"({"noise_floor": null})", ".").noiseFloor.has_value());
}

TEST(Scene, LevelFollowsFromSnr) {
    const Scene scene = parseScene(
        R"({"noise_floor": -140, "stations": [{"kind": "carrier", "frequency": 7e6, "snr": -10}]})", ".");
    EXPECT_NEAR(scene.levelOf(scene.stations[0]), -140.0 + 33.979 - 10.0, 1e-3);
}

TEST(Scene, CommentsAreAllowed) {
    EXPECT_EQ(mistake("{ // a comment\n \"seed\": 3 }"), "");
}

TEST(Scene, MistakesAreNamedWithTheirPlace) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"", "parse error"},
        {"{", "parse error"},
        {"[]", "scene: expected an object"},
        {R"({"noise": 3})", "noise: unknown key"},
        {R"({"seed": "x"})", "seed: expected a number"},
        {R"({"noise_floor": 20})", "noise_floor: 20 is not within"},
        {R"({"stations": {}})", "stations: expected a list"},
        {R"({"stations": [5]})", "stations[0]: expected an object"},
        {station(R"("frequency": 7e6, "level": -50)"), "stations[0].kind: missing"},
        {station(R"("kind": "fm", "frequency": 7e6, "level": -50)"),
         "stations[0].kind: \"fm\" is none of carrier, am"},
        {station(R"("kind": "carrier", "level": -50)"), "stations[0].frequency: missing"},
        {station(R"("kind": "carrier", "frequency": -5, "level": -50)"),
         "stations[0].frequency: -5 is not within"},
        {station(R"("kind": "carrier", "frequency": 7e6)"), "stations[0]: needs either level or snr"},
        {station(R"("kind": "carrier", "frequency": 7e6, "level": 1, "snr": 2)"),
         "needs either level or snr"},
        {station(R"("kind": "carrier", "frequency": 7e6, "level": -5, "wpm": 20)"),
         "stations[0].wpm: unknown key"},
        {station(R"("kind": "carrier", "frequency": 7e6, "level": -5, "every": 0.1, "length": 0.1)"),
         "stations[0].length: must be shorter than every"},
        {station(R"("kind": "cw", "frequency": 7e6, "level": -5)"), "stations[0].text: missing"},
        {station(R"("kind": "cw", "frequency": 7e6, "level": -5, "text": "E", "wpm": 0)"),
         "stations[0].wpm: 0 is not"},
        {station(R"("kind": "ssb", "frequency": 7e6, "level": -5)"), "stations[0].source: missing"},
        {station(R"("kind": "ssb", "frequency": 7e6, "level": -5, "source": "music")"),
         "stations[0].source: the only"},
        {station(R"("kind": "ssb", "frequency": 7e6, "level": -5, "source": {}, "sideband": "usb")"),
         "needs one of wav"},
        {station(R"("kind": "ssb", "frequency": 7e6, "level": -5, "source": "speech", "sideband": "dsb")"),
         "stations[0].sideband: \"dsb\" is none of usb, lsb"},
        {station(R"("kind": "am", "frequency": 7e6, "level": -5, "source": {"tones": []})"),
         "source.tones: expected a list"},
        {station(R"("kind": "am", "frequency": 7e6, "level": -5, "source": {"wav": "/no/such.wav"})"),
         "cannot read sound"},
        {station(R"("kind": "ft8", "frequency": 7e6, "snr": -5)"), "stations[0].message: missing"},
        {station(R"("kind": "ft8", "frequency": 7e6, "snr": -5, "message": "THIS IS FAR TOO LONG")"),
         "no message form holds"},
        {station(R"("kind": "ft8", "frequency": 7e6, "snr": -5, "messages": ["CQ K1ABC FN42", 7])"),
         "expected a list of texts"},
        {station(R"("kind": "ft4", "frequency": 7e6, "snr": -5, "message": "CQ K1ABC FN42", "dt": 9)"),
         "stations[0].dt: 9 is not"},
        {station(R"("kind": "iq", "frequency": 7e6, "level": -5, "file": "/no/such.wav")"),
         "cannot read sound file"},
        {R"({"noise_floor": null, "stations": [{"kind": "carrier", "frequency": 7e6, "snr": 3}]})",
         "the scene has no noise floor"},
        {R"({"seed": 1e999})", "number overflow"},
        {R"({"faults": ["los"]})", "faults[0]: unknown fault"},
        {R"({"telemetry": {"ain1": -4}})", "telemetry.ain1: -4 is not within"},
        {R"({"telemetry": {"overload": [{"from": 1}]}})", "telemetry.overload[0].from: unknown key"},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_NE(mistake(text).find(expected), std::string::npos) << text << "\n  said: " << mistake(text);
}

TEST(Scene, FileThatIsNotThere) {
    EXPECT_THROW(loadScene("/no/such/scene.json"), SceneError);
}

TEST(Scene, BuiltinIsTheCheckedInFile) {
    const Scene builtin = loadScene("builtin");
    const Scene file = loadScene(std::string(FERROW_SOURCE_DIR) + "/sim/scenes/demo.json");
    EXPECT_EQ(listStations(builtin), listStations(file));
}

TEST(Scene, BuiltinHasWhatTheDemoNeeds) {
    const Scene scene = loadScene("builtin");
    std::vector<const StationSpec*> ft8;
    std::map<StationKind, int> kinds;
    for (const auto& one : scene.stations) {
        ++kinds[one.kind];
        if (one.kind == StationKind::Ft8)
            ft8.push_back(&one);
    }
    ASSERT_EQ(ft8.size(), 15u);
    double best = -100.0;
    double worst = 100.0;
    std::set<std::string> messages;
    for (std::size_t i = 0; i < ft8.size(); ++i) {
        EXPECT_EQ(ft8[i]->frequency, 14074000.0);
        EXPECT_GE(ft8[i]->offset, 300.0);
        EXPECT_LE(ft8[i]->offset, 2700.0);
        if (i > 0) {
            EXPECT_GE(ft8[i]->offset - ft8[i - 1]->offset, 60.0);
        }
        EXPECT_EQ(ft8[i]->slot, SlotRule::Every);
        best = std::max(best, ft8[i]->snr.value());
        worst = std::min(worst, ft8[i]->snr.value());
        messages.insert(ft8[i]->messages.at(0));
    }
    EXPECT_EQ(messages.size(), 15u);
    EXPECT_EQ(best, 5.0);
    EXPECT_EQ(worst, -16.0);
    EXPECT_GE(kinds[StationKind::Ssb], 2);
    EXPECT_GE(kinds[StationKind::Am], 2);
    EXPECT_GE(kinds[StationKind::Cw], 2);
    EXPECT_GE(kinds[StationKind::Ft4], 2);
    EXPECT_GE(kinds[StationKind::Carrier], 3);
}

TEST(Scene, AllFaultsAndTelemetryCanStandInAScene) {
    const Scene scene = parseScene(R"({"faults": ["loss:p=0.1", "stall:start=2,ms=50"],
        "telemetry": {"temperature_c": 34.5, "current_ma": 450, "ain1": 900, "cw_key": [{"start": 1, "end": 2}]},
        "adc1": {"gain_db": -3, "phase_deg": 45}})",
                                   ".");
    EXPECT_EQ(scene.faults.size(), 2u);
    // the host's formulas, turned round
    EXPECT_NEAR((3.26 * scene.telemetry.ain5Temperature / 4096 - 0.5) / 0.01, 34.5, 0.05);
    EXPECT_NEAR((3.26 * scene.telemetry.ain3Current / 4096) / 50.0 / 0.04 * 1000.0 * 1270.0 / 1000.0, 450.0,
                0.5);
    EXPECT_TRUE(scene.telemetry.cwKey.at(0).holds(1.5));
    EXPECT_FALSE(scene.telemetry.cwKey.at(0).holds(2.0));
}
