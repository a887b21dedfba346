// ferrow with receivers behind a websocket and behind the SDRplay API, each a process of its own.
#include "host/sound_file.hpp"
#include "tests/host/program.hpp"
#include "tests/host/temporary.hpp"

#include <cmath>
#include <fstream>
#include <nlohmann/json.hpp>
#include <numbers>
#include <sstream>

using namespace ferrow::test;
using ferrow::readWav;
using ferrow::Sound;
using nlohmann::json;

namespace {

// A voice channel with two tones, and a carrier in the other sideband.
const char* const kScene = R"({"noise_floor": -150, "stations": [
  {"kind": "ssb", "name": "voice", "frequency": 7050000, "level": -60, "source": {"tones": [700, 1900]}},
  {"kind": "carrier", "name": "image", "frequency": 7048800, "level": -60},
  {"kind": "carrier", "name": "other", "frequency": 14201000, "level": -70},
  {"kind": "carrier", "name": "far", "frequency": 145000700, "level": -60},
  {"kind": "ft4", "name": "slot", "frequency": 7047500, "level": -70, "offset": 1500, "message": "CQ K1ABC FN42"}]})";

class Scene {
public:
    Scene() { std::ofstream(file()) << kScene; }
    std::string file() const { return folder_.file("scene.json"); }
    std::string other(const std::string& name) const { return folder_.file(name); }

private:
    TemporaryFolder folder_;
};

class ProxySim {
public:
    explicit ProxySim(std::vector<std::string> more = {}, const std::string& place = "127.0.0.1:0/iq")
        : running_(arguments(scene_, place, std::move(more))) {
        EXPECT_TRUE(running_.waitFor("\n"));
        const std::string said = running_.output();
        url = said.substr(said.find("ws://"), said.find('\n') - said.find("ws://"));
    }
    json stats() {
        running_.signal(SIGTERM);
        EXPECT_EQ(running_.finish().code, 0);
        return json::parse(std::ifstream(scene_.other("stats.json"))).at("websocket");
    }
    Running& process() { return running_; }

    std::string url;

private:
    static std::vector<std::string> arguments(const Scene& scene, const std::string& place,
                                              std::vector<std::string> more) {
        std::vector<std::string> all = {
            FERROW_SIM_PROGRAM, "--websocket",       place,     "--scene",
            scene.file(),       "--die-with-parent", "--stats", scene.other("stats.json")};
        all.insert(all.end(), more.begin(), more.end());
        return all;
    }

    Scene scene_;
    Running running_;
};

// Runs ferrow on the stand-in for the API.
Outcome runOnApi(const Scene& scene, std::vector<std::string> simulator, std::vector<std::string> ferrow) {
    std::vector<std::string> all = {FERROW_SIM_PROGRAM, "--sdrplay", "--die-with-parent", "--scene",
                                    scene.file()};
    all.insert(all.end(), simulator.begin(), simulator.end());
    all.insert(all.end(), {"--", FERROW_PROGRAM});
    all.insert(all.end(), ferrow.begin(), ferrow.end());
    return Running(all).finish();
}

// Amplitude of a tone in the second half of a sound.
double amplitudeAt(const Sound& sound, double frequency) {
    const std::size_t skip = sound.samples.size() / 2;
    double re = 0, im = 0;
    for (std::size_t i = skip; i < sound.samples.size(); ++i) {
        const double phase = 2 * std::numbers::pi * frequency * static_cast<double>(i) / sound.rate;
        re += static_cast<double>(sound.samples[i]) * std::cos(phase);
        im += static_cast<double>(sound.samples[i]) * std::sin(phase);
    }
    return 2 * std::hypot(re, im) / static_cast<double>(sound.samples.size() - skip);
}

// The two tones and no image: right side up, at the right place.
void expectTheVoice(const std::string& file, const std::string& what) {
    const Sound sound = readWav(file);
    ASSERT_GT(sound.samples.size(), 48000U) << what;
    const double low = amplitudeAt(sound, 700), high = amplitudeAt(sound, 1900),
                 image = amplitudeAt(sound, 1200);
    EXPECT_GT(low, 0.01) << what;
    EXPECT_NEAR(20 * std::log10(high / low), 0, 0.5) << what;
    EXPECT_LT(20 * std::log10(image / low), -40) << what;
    double power = 0;
    for (std::size_t i = sound.samples.size() / 2; i < sound.samples.size(); ++i)
        power += std::pow(static_cast<double>(sound.samples[i]), 2);
    power /= static_cast<double>(sound.samples.size() - sound.samples.size() / 2);
    EXPECT_GT((low * low + high * high) / 2 / power, 0.97) << what << ": nothing else, no gaps";
}

std::vector<double> levelsOf(const std::string& lines, std::size_t transceiver = 0) {
    std::vector<double> levels;
    std::istringstream stream(lines);
    for (std::string line; std::getline(stream, line);) {
        const auto one = json::parse(line, nullptr, false);
        EXPECT_FALSE(one.is_discarded()) << "a line that is no JSON: " << line;
        if (!one.is_discarded() && one.at("transceiver") == transceiver)
            levels.push_back(one.at("signal_db"));
    }
    return levels;
}

} // namespace

TEST(WebsocketSim, AStationIsHeardWhereItIs) {
    ProxySim server;
    const TemporaryFolder folder;
    const Outcome outcome = runFerrow({"listen", "--radio", server.url + "?id=4", "--tune", "7.05M:usb",
                                       "--tune", "7.0507M:cw", "--wav", folder.path(), "--duration", "4"});
    EXPECT_EQ(outcome.code, 0) << outcome.output;
    EXPECT_EQ(outcome.output.find("##ws"), std::string::npos) << "remarks of the library are not for users";
    expectTheVoice(folder.file("7050000_usb.wav"), "usb");
    EXPECT_GT(amplitudeAt(readWav(folder.file("7050700_cw.wav")), 600), 0.05);
    const json stats = server.stats();
    EXPECT_EQ(stats.at("connections"), 1);
    EXPECT_EQ(stats.at("in").at("add_receiver"), 1);
    EXPECT_EQ(stats.at("in").at("closed"), 1) << "with a word";
    EXPECT_GE(stats.at("in").at("set_frequency"), 1);
}

TEST(WebsocketSim, LevelsAreThoseOfTheScene) {
    ProxySim server;
    const Outcome outcome = runFerrow({"listen", "--radio", server.url, "--tune", "14.2M:usb", "--device",
                                       "none", "--duration", "3", "--json"});
    EXPECT_EQ(outcome.code, 0) << outcome.output;
    const auto levels = levelsOf(outcome.output);
    ASSERT_GE(levels.size(), 3U);
    EXPECT_NEAR(levels.back(), -70, 0.2);
}

TEST(WebsocketSim, FaultsThatAClientIsToDropDoNoHarm) {
    ProxySim server(
        {"--fault", "garbage:every=2", "--fault", "loss:every=50", "--fault", "duplicate:every=77"});
    const TemporaryFolder folder;
    const Outcome outcome = runFerrow(
        {"listen", "--radio", server.url, "--tune", "14.2M:usb", "--wav", folder.path(), "--duration", "3"});
    EXPECT_EQ(outcome.code, 0) << outcome.output;
    EXPECT_GT(amplitudeAt(readWav(folder.file("14200000_usb.wav")), 1000), 0.05);
    const json stats = server.stats();
    EXPECT_GT(stats.at("faults").at("garbage"), 50);
    EXPECT_GT(stats.at("faults").at("loss"), 1);
    EXPECT_EQ(stats.at("connections"), 1);
}

TEST(WebsocketSim, AServerThatDiesOrTalksNonsenseEndsWithOneAndTheReason) {
    {
        ProxySim server({"--fault", "restart:start=1"});
        const Outcome outcome =
            runFerrow({"listen", "--radio", server.url, "--tune", "14.2M:usb", "--device", "none"});
        EXPECT_EQ(outcome.code, 1);
        EXPECT_NE(outcome.output.find("has stopped sending: "), std::string::npos) << outcome.output;
        // The server is there again.
        const Outcome again = runFerrow(
            {"listen", "--radio", server.url, "--tune", "14.2M:usb", "--device", "none", "--duration", "1"});
        EXPECT_EQ(again.code, 0) << again.output;
        EXPECT_EQ(server.stats().at("connections"), 2);
    }
    ProxySim server({"--fault", "wrong-endpoint:every=100"});
    const Outcome outcome =
        runFerrow({"listen", "--radio", server.url, "--tune", "14.2M:usb", "--device", "none"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_NE(outcome.output.find("expected value"), std::string::npos) << outcome.output;
}

TEST(WebsocketSim, ASilentServerAndNoneAtAllAreTold) {
    ProxySim server({"--silent"});
    const Outcome silent =
        runFerrow({"listen", "--radio", server.url, "--tune", "14.2M:usb", "--device", "none"});
    EXPECT_EQ(silent.code, 1);
    EXPECT_NE(silent.output.find("no samples from the radio at " + server.url + " within 3 s"),
              std::string::npos)
        << silent.output;
    const Outcome path =
        runFerrow({"listen", "--radio", server.url + "x", "--tune", "14.2M:usb", "--device", "none"});
    EXPECT_EQ(path.code, 1);
    EXPECT_NE(path.output.find("handshake was declined"), std::string::npos) << path.output;
    const Outcome nobody =
        runFerrow({"listen", "--radio", "ws://127.0.0.1:1/iq", "--tune", "14.2M:usb", "--device", "none"});
    EXPECT_EQ(nobody.code, 1);
    EXPECT_NE(nobody.output.find("Connection refused"), std::string::npos) << nobody.output;
}

class SdrplaySim : public testing::TestWithParam<int> {};

TEST_P(SdrplaySim, AStationIsHeardWhereItIs) {
    const Scene scene;
    const TemporaryFolder folder;
    const std::string rate = std::to_string(GetParam());
    const Outcome outcome = runOnApi(scene, {"--sdrplay-record", scene.other("calls")},
                                     {"listen", "--radio", "sdrplay://F0002", "--tune", "7.05M:usb", "--rate",
                                      rate, "--gain", "9", "--wav", folder.path(), "--duration", "4"});
    EXPECT_EQ(outcome.code, 0) << outcome.output;
    EXPECT_EQ(outcome.output.find("select pass"), std::string::npos) << "remarks of the library";
    expectTheVoice(folder.file("7050000_usb.wav"), rate + " kHz");
    std::ifstream calls(scene.other("calls"));
    bool streamed = false;
    for (std::string line; std::getline(calls, line);) {
        const auto one = json::parse(line);
        if (!one.contains("stream"))
            continue;
        streamed = true;
        EXPECT_EQ(one.at("stream").at("rate"), GetParam() * 1000.0);
        EXPECT_GT(one.at("stream").at("gain_events"), 7) << "the gain moved meanwhile";
        std::printf("%s kHz: %.1f %% of a core, latest %.1f ms\n", rate.c_str(),
                    100 * one.at("stream").at("cpu_s").get<double>() /
                        one.at("stream").at("seconds").get<double>(),
                    one.at("stream").at("latest_ms").get<double>());
    }
    EXPECT_TRUE(streamed);
}

INSTANTIATE_TEST_SUITE_P(Rates, SdrplaySim, testing::Values(768, 1536, 2000, 6144, 8000, 10000));

TEST(SdrplaySim, TheLevelStaysThroughTheGainsEvents) {
    const Scene scene;
    for (const char* gain : {"0", "4", "9"}) {
        const Outcome outcome = runOnApi(scene, {},
                                         {"listen", "--radio", "sdrplay://F0002", "--tune", "145M:usb",
                                          "--gain", gain, "--device", "none", "--duration", "4", "--json"});
        EXPECT_EQ(outcome.code, 0) << outcome.output;
        const auto levels = levelsOf(outcome.output);
        ASSERT_GE(levels.size(), 5U) << outcome.output;
        // The strength is a peak, with the noise's. The first lines are the filter's beginning.
        for (std::size_t i = 2; i < levels.size(); ++i)
            EXPECT_NEAR(levels[i], -60, 0.11) << "gain " << gain << ", line " << i;
    }
}

TEST(SdrplaySim, BothTunersOfADuoStream) {
    const Scene scene;
    const Outcome outcome =
        runOnApi(scene, {"--devices", "RSPduo:D7", "--sdrplay-record", scene.other("calls")},
                 {"listen", "--radio", "sdrplay://D7", "--tune", "7.05M:usb", "--rate", "2000", "--device",
                  "none", "--duration", "2", "--json"});
    EXPECT_EQ(outcome.code, 0) << outcome.output;
    EXPECT_NEAR(levelsOf(outcome.output).back(), -60, 0.5);
    std::ifstream calls(scene.other("calls"));
    int selected = 0;
    for (std::string line; std::getline(calls, line);) {
        const auto one = json::parse(line);
        if (!one.contains("call") || one.at("call") != "SelectDevice")
            continue;
        ++selected;
        EXPECT_EQ(one.at("device").at("tuner"), 3);
        EXPECT_EQ(one.at("device").at("serial"), "D7");
    }
    EXPECT_EQ(selected, 1);
}

TEST(SdrplaySim, ADeviceThatIsRemovedEndsWithOne) {
    const Scene scene;
    const Outcome outcome =
        runOnApi(scene, {"--duration", "1"},
                 {"listen", "--radio", "sdrplay://", "--tune", "7.05M:usb", "--device", "none"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_NE(outcome.output.find("has stopped sending: the device has been removed"), std::string::npos)
        << outcome.output;
}

TEST(SdrplaySim, DevicesAndGainsThatAreNotThereAreRefused) {
    const Scene scene;
    const Outcome serial =
        runOnApi(scene, {"--devices", "RSP1:A1,RSP2:B2"},
                 {"listen", "--radio", "sdrplay://C3", "--tune", "7.05M:usb", "--device", "none"});
    EXPECT_EQ(serial.code, 1);
    EXPECT_NE(serial.output.find("no SDRplay device has the serial number C3; there are: sdrplay://A1, "
                                 "sdrplay://B2"),
              std::string::npos)
        << serial.output;
    EXPECT_EQ(runOnApi(scene, {"--devices", "RSP1:A1"},
                       {"listen", "--radio", "sdrplay://A1", "--gain", "4", "--tune", "7.05M:usb", "--device",
                        "none"})
                  .code,
              2);
}

TEST(SdrplaySim, WhereTheLibraryWasLookedForIsTold) {
    const auto run = [](const std::vector<std::string>& arguments) {
        std::vector<std::string> all = {"/usr/bin/env", "FERROW_SDRPLAY_LIBRARY=/no/such/api.so",
                                        FERROW_PROGRAM};
        all.insert(all.end(), arguments.begin(), arguments.end());
        return Running(all).finish();
    };
    const Outcome listen =
        run({"listen", "--radio", "sdrplay://", "--tune", "7.05M:usb", "--device", "none"});
    EXPECT_EQ(listen.code, 1);
    EXPECT_NE(listen.output.find("the SDRplay API library is not there. Tried:\n  /no/such/api.so: "),
              std::string::npos)
        << listen.output;
    const Outcome discover = run({"discover", "--timeout", "0.1"});
    EXPECT_EQ(discover.code, 0);
    EXPECT_NE(discover.output.find("/no/such/api.so"), std::string::npos) << "somebody has asked for it";
}

TEST(SecondProtocolSim, AStationIsHeardWhereItIs) {
    const Scene scene;
    Running radio({FERROW_SIM_PROGRAM, "--protocol", "2", "--address", "127.62.0.22", "--scene", scene.file(),
                   "--die-with-parent"});
    ASSERT_TRUE(radio.waitFor("ready"));
    for (const char* rate : {"192", "1536"}) {
        const TemporaryFolder folder;
        const Outcome outcome =
            runFerrow({"listen", "--radio", "hpsdr2://127.62.0.22", "--tune", "7.05M:usb", "--tune",
                       "14.2M:usb", "--rate", rate, "--wav", folder.path(), "--duration", "3"});
        EXPECT_EQ(outcome.code, 0) << outcome.output;
        expectTheVoice(folder.file("7050000_usb.wav"), std::string(rate) + " kHz");
        EXPECT_GT(amplitudeAt(readWav(folder.file("14200000_usb.wav")), 1000), 0.05);
    }
    const Outcome levels = runFerrow({"listen", "--radio", "hpsdr2://127.62.0.22", "--tune", "14.2M:usb",
                                      "--device", "none", "--duration", "3", "--json", "--gain", "-10"});
    EXPECT_EQ(levels.code, 0) << levels.output;
    EXPECT_NEAR(levelsOf(levels.output).back(), -70, 0.3) << "gain does not change what is shown";
    const Outcome first =
        runFerrow({"listen", "--radio", "127.62.0.22", "--tune", "14.2M:usb", "--device", "none"});
    EXPECT_EQ(first.code, 1);
    EXPECT_NE(first.output.find("--radio hpsdr2://127.62.0.22"), std::string::npos) << first.output;
}

TEST(Discover, ListsAllKindsInOneTable) {
    const Scene scene;
    Running second({FERROW_SIM_PROGRAM, "--protocol", "2", "--address", "127.62.0.21", "--scene",
                    scene.file(), "--die-with-parent"});
    ASSERT_TRUE(second.waitFor("ready"));
    Running first(
        {FERROW_SIM_PROGRAM, "--address", "127.62.0.20", "--scene", scene.file(), "--die-with-parent"});
    ASSERT_TRUE(first.waitFor("ready"));
    const Outcome table = runOnApi(scene, {"--devices", "RSP1A:S1,RSPduo:S2"}, {"discover", "127.62.0.20"});
    EXPECT_EQ(table.code, 0) << table.output;
    for (const char* url : {"hpsdr://127.62.0.20", "hpsdr2://127.62.0.21", "sdrplay://S1", "sdrplay://S2"})
        EXPECT_NE(table.output.find(url), std::string::npos) << table.output;
    EXPECT_EQ(table.output.find("log is in"), std::string::npos) << table.output;
    const Outcome listed =
        runOnApi(scene, {"--devices", "RSP1A:S1,RSPduo:S2"}, {"discover", "127.62.0.20", "--json"});
    int found = 0;
    for (const auto& one : json::parse(listed.output)) {
        if (one.at("url") == "hpsdr://127.62.0.20") {
            ++found;
            EXPECT_EQ(one.at("kind"), "hpsdr");
            EXPECT_EQ(one.at("address"), "127.62.0.20");
        }
        if (one.at("url") == "hpsdr2://127.62.0.21") {
            ++found;
            EXPECT_EQ(one.at("kind"), "hpsdr2");
            EXPECT_EQ(one.at("running"), false);
        }
        if (one.at("url") == "sdrplay://S2") {
            ++found;
            EXPECT_EQ(one.at("kind"), "sdrplay");
            EXPECT_EQ(one.at("board"), "RSPduo");
            EXPECT_EQ(one.at("receivers"), 2);
            EXPECT_EQ(one.at("serial"), "S2");
        }
    }
    EXPECT_EQ(found, 3) << listed.output;
}

TEST(Discover, SaysNothingOfAnApiThatIsNotInstalled) {
    const Outcome outcome = Running({"/usr/bin/env", "-u", "FERROW_SDRPLAY_LIBRARY", FERROW_PROGRAM,
                                     "discover", "--timeout", "0.1"})
                                .finish();
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.output.find("SDRplay"), std::string::npos) << outcome.output;
    EXPECT_EQ(outcome.output.find("log"), std::string::npos) << outcome.output;
}

// The whole way to decoded messages.
TEST(OtherRadiosSlots, DecodeFt4) {
    ProxySim server;
    const Outcome proxy =
        runFerrow({"ft8", "--ft4", "--radio", server.url, "--dial", "7.0475M", "--slots", "1"});
    EXPECT_EQ(proxy.code, 0) << proxy.output;
    EXPECT_NE(proxy.output.find("CQ K1ABC FN42"), std::string::npos) << proxy.output;
    const Scene scene;
    const Outcome api = runOnApi(
        scene, {}, {"ft8", "--ft4", "--radio", "sdrplay://F0002", "--dial", "7.0475M", "--slots", "1"});
    EXPECT_EQ(api.code, 0) << api.output;
    EXPECT_NE(api.output.find("CQ K1ABC FN42"), std::string::npos) << api.output;
}
