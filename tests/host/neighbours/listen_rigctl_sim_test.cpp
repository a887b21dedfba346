// rigctl tunes ferrow, which listens to a simulated radio.
#include "tests/host/neighbours/rigctl.hpp"
#include "tests/host/program.hpp"
#include "tests/host/temporary.hpp"

#include <chrono>
#include <fstream>
#include <nlohmann/json.hpp>

using namespace ferrow::test;

namespace {

constexpr const char* kRadio = "127.78.5.1";
constexpr const char* kScene = R"({"noise_floor": -140, "stations": [
  {"kind": "carrier", "name": "a", "frequency": 14201000, "level": -60},
  {"kind": "carrier", "name": "b", "frequency": 7098500, "level": -80}]})";

// The newest of ferrow's JSON lines for which `right` says so.
template <typename F>
bool waitForLine(Running& ferrow, const F& right) {
    std::size_t read = 0;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (std::chrono::steady_clock::now() < end) {
        const std::string& output = ferrow.output();
        for (std::size_t stop; (stop = output.find('\n', read)) != std::string::npos; read = stop + 1) {
            const auto line = nlohmann::json::parse(output.substr(read, stop - read), nullptr, false);
            if (line.is_object() && right(line))
                return true;
        }
        if (!ferrow.readSome())
            return false;
    }
    return false;
}

} // namespace

TEST(ListenRigctl, TunesAndReadsTheMeter) {
    if (!hasRigctl())
        GTEST_SKIP() << "rigctl is not installed";
    const TemporaryFolder folder;
    std::ofstream(folder.file("scene.json")) << kScene;
    Running radio(
        {FERROW_SIM_PROGRAM, "--address", kRadio, "--scene", folder.file("scene.json"), "--die-with-parent"});
    ASSERT_TRUE(radio.waitFor("ready")) << radio.finish().output;
    Running ferrow({FERROW_PROGRAM, "listen", "--radio", kRadio, "--tune", "14.2M:usb", "--device", "none",
                    "--json", "--s9", "-70", "--rigctl", std::string(kRadio) + ":0"});
    ASSERT_TRUE(ferrow.waitFor("rig control at ")) << ferrow.finish().output;
    ASSERT_TRUE(ferrow.waitFor("\n"));
    ASSERT_TRUE(waitForLine(ferrow, [](const auto& line) { return line["signal_db"] > -65; }))
        << ferrow.output();
    const std::string& output = ferrow.output();
    const std::size_t place = output.find("rig control at ") + std::string("rig control at ").size();
    const std::string server = output.substr(place, output.find('\n', place) - place);

    EXPECT_EQ(rigctl(server, "f m v t").output, "14200000\nUSB\n2400\nVFOA\n0\n");
    const int strong = std::stoi(rigctl(server, "l STRENGTH").output);
    EXPECT_NEAR(strong, 10, 2) << "dB over S9";

    EXPECT_EQ(rigctl(server, "F 7100000 M LSB 1800 f m").output, "7100000\nLSB\n1800\n");
    EXPECT_TRUE(waitForLine(ferrow, [](const auto& line) {
        return line["frequency"] == 7'100'000 && line["mode"] == "lsb" && line["tuning_valid"] == true &&
               line["signal_db"] > -83 && line["signal_db"] < -77;
    })) << ferrow.output();
    EXPECT_NEAR(std::stoi(rigctl(server, "l STRENGTH").output), -10, 2);
    EXPECT_EQ(rigctl(server, "M CW 500 f m").output, "7100000\nCW\n500\n");

    const RigctlOutcome key = rigctl(server, "T 1 t");
    EXPECT_TRUE(key.output.ends_with("0\n")) << "no key is to be had: " << key.output;
    EXPECT_NE(rigctl(server, "_").output.find("hpsdr://127.78.5.1"), std::string::npos);
    EXPECT_EQ(rigctl(server, "get_powerstat").output, "1\n");

    ferrow.signal(SIGINT);
    EXPECT_EQ(ferrow.finish().code, 0) << ferrow.output();
}

TEST(ListenRigctl, APlaceThatCannotBeIsToldAtOnce) {
    const Outcome outcome =
        runFerrow({"listen", "--radio", "127.78.5.2", "--tune", "14.2M", "--rigctl", "nowhere.example:1"});
    EXPECT_EQ(outcome.code, 2) << outcome.output;
    EXPECT_NE(outcome.output.find("--rigctl nowhere.example:1"), std::string::npos) << outcome.output;
}
