// ferrow and ferrow-sim, each as its own process, over UDP.
#include "host/sound_file.hpp"
#include "tests/host/program.hpp"
#include "tests/host/temporary.hpp"

#include <cmath>
#include <fstream>
#include <nlohmann/json.hpp>
#include <numbers>
#include <set>
#include <sstream>

using namespace ferrow::test;
using ferrow::readWav;
using ferrow::Sound;

namespace {

const char* const kScene = R"({"noise_floor": -140, "stations": [
  {"kind": "carrier", "name": "a", "frequency": 14201000, "level": -60},
  {"kind": "carrier", "name": "b", "frequency": 7098500, "level": -60},
  {"kind": "carrier", "name": "c", "frequency": 14030000, "level": -60},
  {"kind": "am", "name": "d", "frequency": 7200000, "level": -60, "depth": 0.8, "source": {"tones": [700]}}]})";

class SimulatedRadio {
public:
    explicit SimulatedRadio(const std::string& address, std::vector<std::string> more = {})
        : running_(arguments(folder_, address, std::move(more))) {
        EXPECT_TRUE(running_.waitFor("ready")) << running_.finish().output;
    }
    Running& process() { return running_; }

private:
    static std::vector<std::string> arguments(const TemporaryFolder& folder, const std::string& address,
                                              std::vector<std::string> more) {
        std::ofstream(folder.file("scene.json")) << kScene;
        std::vector<std::string> all = {FERROW_SIM_PROGRAM,        "--address",        address, "--scene",
                                        folder.file("scene.json"), "--die-with-parent"};
        all.insert(all.end(), more.begin(), more.end());
        return all;
    }

    TemporaryFolder folder_;
    Running running_;
};

// Share of a sound's power that lies at one frequency, 0 to 1.
double shareAt(const Sound& sound, double frequency) {
    const std::size_t skip = sound.samples.size() / 3; // the gain settles
    double re = 0, im = 0, power = 0;
    const auto n = static_cast<double>(sound.samples.size() - skip);
    for (std::size_t i = skip; i < sound.samples.size(); ++i) {
        const double phase = 2 * std::numbers::pi * frequency * static_cast<double>(i) / sound.rate;
        const auto x = static_cast<double>(sound.samples[i]);
        re += x * std::cos(phase);
        im += x * std::sin(phase);
        power += x * x;
    }
    return power > 0 ? 2 * (re * re + im * im) / n / power : 0;
}

} // namespace

TEST(ListenSim, WritesTheTonesThatAreOnTheAir) {
    SimulatedRadio radio("127.62.0.1");
    const TemporaryFolder folder;
    const Outcome outcome =
        runFerrow({"listen", "--radio", "127.62.0.1", "--tune", "14.200M:usb", "--tune", "7.1M:lsb", "--tune",
                   "14.03M:cw", "--tune", "7.2M:am", "--wav", folder.path(), "--duration", "3"});
    EXPECT_EQ(outcome.code, 0) << outcome.output;
    EXPECT_EQ(outcome.output.find('\x1b'), std::string::npos) << "no colours where no terminal is";
    const std::pair<const char*, double> expected[] = {{"14200000_usb.wav", 1000},
                                                       {"7100000_lsb.wav", 1500},
                                                       {"14030000_cw.wav", 600},
                                                       {"7200000_am.wav", 700}};
    for (const auto& [name, frequency] : expected) {
        const Sound sound = readWav(folder.file(name));
        EXPECT_EQ(sound.rate, 48000);
        EXPECT_GT(sound.samples.size(), 48000U * 2) << name;
        EXPECT_GT(shareAt(sound, frequency), 0.9) << name;
    }
    EXPECT_NE(outcome.output.find("14.200.000 usb"), std::string::npos) << outcome.output;
}

// The noise is so weak that the gain control stands at its bound; so does the one behind the reduction, at 10
// dB.
TEST(ListenSim, TakesNoiseAway) {
    SimulatedRadio radio("127.62.0.5");
    const auto level = [](std::vector<std::string> more) {
        const TemporaryFolder folder;
        std::vector<std::string> arguments{"listen", "--radio",     "127.62.0.5", "--tune", "14.3M:usb",
                                           "--wav",  folder.path(), "--duration", "3"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const Outcome outcome = runFerrow(arguments);
        EXPECT_EQ(outcome.code, 0) << outcome.output;
        const Sound sound = readWav(folder.file("14300000_usb.wav"));
        double power = 0;
        for (std::size_t i = sound.samples.size() / 2; i < sound.samples.size(); ++i)
            power += static_cast<double>(sound.samples[i]) * sound.samples[i];
        return 10 * std::log10(power / static_cast<double>(sound.samples.size() / 2) + 1e-20);
    };
    const double plain = level({}), all = level({"--nr", "100"}), none = level({"--nr", "0"});
    EXPECT_LT(all, none - 15);
    EXPECT_NEAR(none, plain + 10, 1);
}

TEST(ListenSim, TellsSignalStrengthsAsJson) {
    SimulatedRadio radio("127.62.0.2");
    const Outcome outcome = runFerrow({"listen", "--radio", "127.62.0.2", "--tune", "14.2M:usb", "--tune",
                                       "14.25M:usb", "--duration", "2", "--json", "--rate", "384"});
    EXPECT_EQ(outcome.code, 0) << outcome.output;
    std::istringstream lines(outcome.output);
    double level[2] = {};
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count) {
        const auto json = nlohmann::json::parse(line);
        level[json.at("transceiver").get<std::size_t>()] = json.at("signal_db");
        EXPECT_EQ(json.at("mode"), "usb");
        EXPECT_TRUE(json.at("tuning_valid").get<bool>());
        EXPECT_TRUE(json.at("time").get<std::string>().ends_with("Z"));
    }
    EXPECT_GE(count, 4);
    EXPECT_NEAR(level[0], -60, 2);
    EXPECT_LT(level[1], -90);
}

TEST(ListenSim, InterruptIsACleanEnd) {
    SimulatedRadio radio("127.62.0.3");
    const TemporaryFolder folder;
    for (const int number : {SIGINT, SIGTERM}) {
        Running listen({FERROW_PROGRAM, "listen", "--radio", "127.62.0.3", "--tune", "14.2M:usb", "--wav",
                        folder.path(), "--waterfall"});
        ASSERT_TRUE(listen.waitFor("\x1b[48;5;"));
        listen.signal(number);
        const Outcome outcome = listen.finish();
        EXPECT_EQ(outcome.code, 0) << outcome.output;
        EXPECT_EQ(outcome.output.find("keeps"), std::string::npos) << outcome.output;
        const Sound sound = readWav(folder.file("14200000_usb.wav"));
        EXPECT_GT(sound.samples.size(), 4800U);
        // The radio has been stopped: it does not stream any more.
        const Outcome after =
            runFerrow({"discover", "--no-broadcast", "127.62.0.3", "--timeout", "1", "--json"});
        EXPECT_EQ(nlohmann::json::parse(after.output).at(0).at("running"), false);
    }
}

TEST(ListenSim, ARadioThatNeverStreamsEndsWithOne) {
    SimulatedRadio radio("127.62.0.4", {"--silent"});
    const Outcome outcome =
        runFerrow({"listen", "--radio", "127.62.0.4", "--tune", "14.2M:usb", "--device", "none"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_NE(outcome.output.find("no samples from the radio at 127.62.0.4 within 3 s"), std::string::npos)
        << outcome.output;
}

TEST(ListenSim, ARadioThatGoesAwayEndsWithOne) {
    SimulatedRadio radio("127.62.0.5");
    Running listen(
        {FERROW_PROGRAM, "listen", "--radio", "127.62.0.5", "--tune", "14.2M:usb", "--device", "none"});
    ASSERT_TRUE(listen.waitFor("14.200.000"));
    radio.process().signal(SIGKILL);
    const Outcome outcome = listen.finish();
    EXPECT_EQ(outcome.code, 1);
    EXPECT_NE(outcome.output.find("has stopped sending"), std::string::npos) << outcome.output;
}

TEST(ListenSim, ABusyRadioIsLeftAlone) {
    SimulatedRadio radio("127.62.0.6");
    Running first(
        {FERROW_PROGRAM, "listen", "--radio", "127.62.0.6", "--tune", "14.2M:usb", "--device", "none"});
    ASSERT_TRUE(first.waitFor("14.200.000"));
    const Outcome second = runFerrow(
        {"listen", "--radio", "127.62.0.6", "--tune", "14.2M:usb", "--device", "none", "--duration", "1"});
    EXPECT_EQ(second.code, 1);
    EXPECT_NE(second.output.find("serves another program"), std::string::npos) << second.output;
    const Outcome third = runFerrow({"listen", "--radio", "127.62.0.6", "--tune", "14.2M:usb", "--device",
                                     "none", "--duration", "1", "--take-over"});
    EXPECT_EQ(third.code, 0) << third.output;
}

TEST(ListenSim, GainsAndDevicesThatAreNotThereAreRefused) {
    SimulatedRadio radio("127.62.0.7");
    EXPECT_EQ(runFerrow({"listen", "--radio", "127.62.0.7", "--tune", "14.2M:usb", "--device", "4711"}).code,
              2);
    EXPECT_EQ(runFerrow({"listen", "--radio", "127.62.0.7", "--tune", "14.2M:usb", "--device", "none",
                         "--gain", "99"})
                  .code,
              2);
}

TEST(DiscoverSim, FindsTheSimulatedRadio) {
    SimulatedRadio radio("127.62.0.8", {"--mac", "02:00:00:00:00:33"});
    const Outcome outcome = runFerrow({"discover", "127.62.0.8", "--json"});
    EXPECT_EQ(outcome.code, 0);
    int found = 0;
    for (const auto& one : nlohmann::json::parse(outcome.output)) {
        if (one.at("address") != "127.62.0.8")
            continue;
        ++found;
        EXPECT_EQ(one.at("mac"), "02:00:00:00:00:33");
        EXPECT_EQ(one.at("board"), "Hermes-Lite 2");
        EXPECT_EQ(one.at("firmware"), "73.2");
        EXPECT_EQ(one.at("receivers"), 12);
        EXPECT_EQ(one.at("running"), false);
    }
    EXPECT_EQ(found, 1);
    const Outcome table = runFerrow({"discover", "127.62.0.8"});
    EXPECT_NE(table.output.find("02:00:00:00:00:33"), std::string::npos) << table.output;
}
