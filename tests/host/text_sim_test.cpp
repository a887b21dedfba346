// Reading and sending text, ferrow and ferrow-sim as processes.
#include "tests/host/on_air.hpp"

#include <nlohmann/json.hpp>
#include <sstream>

using namespace ferrow::test;

namespace {

const char* const kScene = R"({"noise_floor": -140, "stations": [
  {"kind": "psk", "name": "a", "frequency": 14070000, "offset": 1500, "mode": "psk31", "level": -60,
   "text": "the quick brown fox ", "idle": 1, "gap": 0.5},
  {"kind": "psk", "name": "b", "frequency": 14070000, "offset": 900, "mode": "psk31", "level": -65,
   "text": "jumps over ", "idle": 1, "gap": 0.5},
  {"kind": "psk", "name": "c", "frequency": 14070000, "offset": 2300, "mode": "psk31", "level": -70,
   "text": "the lazy dog ", "idle": 1, "gap": 0.5},
  {"kind": "psk", "name": "d", "frequency": 14080000, "offset": 1500, "mode": "qpsk63", "level": -60,
   "text": "quadrature ", "idle": 2, "gap": 0.5},
  {"kind": "cw", "name": "e", "frequency": 14030000, "level": -60, "text": "PARIS", "wpm": 40, "gap": 0.5},
  {"kind": "rtty", "name": "f", "frequency": 14090000, "level": -60, "text": "RYRYRY TEST ", "reverse": true,
   "gap": 0.2}]})";

class TextRadio {
public:
    explicit TextRadio(const std::string& address) : running_(arguments(folder_, address)) {
        EXPECT_TRUE(running_.waitFor("ready")) << running_.finish().output;
    }

private:
    static std::vector<std::string> arguments(const TemporaryFolder& folder, const std::string& address) {
        std::ofstream(folder.file("scene.json")) << kScene;
        return {FERROW_SIM_PROGRAM,        "--address",        address, "--scene",
                folder.file("scene.json"), "--die-with-parent"};
    }

    TemporaryFolder folder_;
    Running running_;
};

Outcome text(const std::string& address, std::vector<std::string> more) {
    std::vector<std::string> all = {"text", "--radio", address};
    all.insert(all.end(), more.begin(), more.end());
    return runFerrow(all);
}

} // namespace

TEST(TextSim, Psk31IsReadAtItsFrequency) {
    const TextRadio radio("127.62.1.1");
    const Outcome outcome = text("127.62.1.1", {"--mode", "psk31", "--tune", "14.0715M", "--duration", "12"});
    EXPECT_EQ(outcome.code, 0) << outcome.output;
    EXPECT_NE(outcome.output.find("quick brown"), std::string::npos) << outcome.output;
    EXPECT_EQ(outcome.output.find("lazy"), std::string::npos) << "another station's";
}

TEST(TextSim, AllShowsEveryStationWithItsFrequency) {
    const TextRadio radio("127.62.1.2");
    const Outcome outcome =
        text("127.62.1.2", {"--mode", "psk31", "--tune", "14.0715M", "--all", "--json", "--duration", "14"});
    EXPECT_EQ(outcome.code, 0) << outcome.output;
    const std::pair<int, const char*> wanted[] = {
        {14071500, "quick brown"}, {14070900, "jumps"}, {14072300, "lazy"}};
    for (const auto& [frequency, words] : wanted) {
        bool found = false;
        std::istringstream lines(outcome.output);
        for (std::string line; std::getline(lines, line);) {
            const auto row = nlohmann::json::parse(line);
            found = found || (std::abs(row["frequency"].get<int>() - frequency) <= 5 &&
                              row["text"].get<std::string>().find(words) != std::string::npos);
        }
        EXPECT_TRUE(found) << words << " in\n" << outcome.output;
    }
}

TEST(TextSim, Qpsk63IsRead) {
    const TextRadio radio("127.62.1.3");
    const Outcome outcome =
        text("127.62.1.3", {"--mode", "qpsk63", "--tune", "14.0815M", "--json", "--duration", "10"});
    EXPECT_EQ(outcome.code, 0) << outcome.output;
    std::string all;
    std::istringstream lines(outcome.output);
    for (std::string line; std::getline(lines, line);)
        all += nlohmann::json::parse(line)["text"].get<std::string>();
    EXPECT_NE(all.find("quadrature"), std::string::npos) << outcome.output;
}

TEST(TextSim, CwIsRead) {
    const TextRadio radio("127.62.1.4");
    const Outcome outcome =
        text("127.62.1.4", {"--mode", "cw", "--tune", "14.03M", "--width", "200", "--duration", "10"});
    EXPECT_EQ(outcome.code, 0) << outcome.output;
    EXPECT_NE(outcome.output.find("paris"), std::string::npos) << outcome.output;
}

TEST(TextSim, RttyIsPrintedByTheLibrary) {
    const TextRadio radio("127.62.1.5");
    const Outcome outcome = text("127.62.1.5", {"--mode", "rtty", "--tune", "14.09M", "--duration", "10"});
    EXPECT_EQ(outcome.code, 0) << outcome.output;
    EXPECT_NE(outcome.output.find("TEST"), std::string::npos) << outcome.output;
}

TEST(TextSim, WhatMakesNoSenseIsRefused) {
    EXPECT_EQ(text("127.62.1.9", {"--mode", "hell", "--tune", "14.09M"}).code, 2);
    EXPECT_EQ(text("127.62.1.9", {"--mode", "cw", "--all", "--tune", "14.09M"}).code, 2);
    EXPECT_EQ(text("127.62.1.9", {"--mode", "psk31", "--tune", "nowhere"}).code, 2);
    EXPECT_EQ(runFerrow({"send", "--radio", "127.62.1.9", "--mode", "psk31", "--tune", "14M", "a~b"}).code,
              2);
    EXPECT_EQ(runFerrow({"send", "--radio", "127.62.1.9", "--mode", "rtty", "--tune", "14M", "50 %"}).code,
              2);
    EXPECT_EQ(runFerrow({"send", "--radio", "127.62.1.9", "--mode", "cw", "--tune", "14M", ""}).code, 2);
}

TEST(SendSim, EveryModeGoesOnTheAirAndOffAgain) {
    struct Case {
        const char *mode, *text;
        double seconds; // on the air, about
    };
    // PSK: 32 symbols before and behind; 31.25 a second. RTTY: 7.5 elements of 22 ms. CW: a gap of five dots
    // of 60 ms and 50 dots.
    const Case cases[] = {{"psk31", "e e e", 2 * 32 / 31.25 + 0.6},
                          {"psk125", "the quick brown fox", 2 * 32 / 125.0 + 1.2},
                          {"cw", "PARIS", 0.06 * 55},
                          {"rtty", "RYRYRYRY", 9 * 0.165},
                          {"hell", "E", 1.6}};
    int number = 20;
    for (const Case& one : cases) {
        const std::string address = "127.62.1." + std::to_string(number++);
        RecordingRadio radio(address, {"--tx-all"});
        const Outcome outcome =
            runFerrow({"send", "--radio", address, "--mode", one.mode, "--tune", "14.0715M", one.text});
        EXPECT_EQ(outcome.code, 0) << one.mode << "\n" << outcome.output;
        if (std::string(one.mode) != "rtty") { // where the library prints what it hears
            EXPECT_NE(outcome.output.find(one.text), std::string::npos) << one.mode << "\n" << outcome.output;
        }
        const TxRecord record = radio.finish();
        const auto presses = pressesOf(record);
        ASSERT_EQ(presses.size(), 1u) << one.mode;
        std::size_t first = presses[0].end, last = presses[0].begin;
        for (std::size_t i = presses[0].begin; i < std::min(presses[0].end, record.samples.size()); ++i)
            if (!record.silent(i)) {
                first = std::min(first, i);
                last = i;
            }
        ASSERT_LT(first, last) << one.mode << " sends nothing";
        const double seconds = static_cast<double>(presses[0].end - presses[0].begin) / 48000;
        EXPECT_NEAR(seconds, one.seconds, 0.35 * one.seconds + 0.3) << one.mode;
    }
}
