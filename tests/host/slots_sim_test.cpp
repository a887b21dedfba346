// Whole periods from the simulated radio, in real time: these take from half a minute to a minute.
#include "tests/host/program.hpp"
#include "tests/host/temporary.hpp"

#include <cmath>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

using namespace ferrow::test;

TEST(SlotsSim, Ft4IsDecodedSlotBySlot) {
    Running radio({FERROW_SIM_PROGRAM, "--address", "127.62.1.1", "--die-with-parent"});
    ASSERT_TRUE(radio.waitFor("ready"));
    const TemporaryFolder folder;
    const Outcome outcome = runFerrow({"ft8", "--ft4", "--radio", "127.62.1.1", "--band", "20m", "--slots",
                                       "2", "--json", "--keep", folder.path()});
    EXPECT_EQ(outcome.code, 0) << outcome.output;
    std::istringstream lines(outcome.output);
    int slots = 0, decoded = 0;
    for (std::string line; std::getline(lines, line);) {
        const auto json = nlohmann::json::parse(line);
        if (json.contains("slot")) {
            ++slots;
            EXPECT_EQ(json.at("decoded"), 4) << outcome.output;
            continue;
        }
        ++decoded;
        if (json.at("message") == "CQ S51XYZ JN76") {
            EXPECT_NEAR(json.at("frequency").get<double>(), 1420, 12);
            EXPECT_NEAR(json.at("snr").get<double>(), 3, 1.5);
        }
    }
    EXPECT_EQ(slots, 2);
    EXPECT_EQ(decoded, 8);
    int files = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder.path()))
        files += entry.path().extension() == ".wav";
    EXPECT_EQ(files, 2) << "--keep leaves the recordings";
}

TEST(DemoSim, ShowsWhatItShould) {
    const TemporaryFolder folder;
    const Outcome outcome = runFerrow({"demo", "--out", folder.path()});
    EXPECT_EQ(outcome.code, 0) << outcome.output;
    std::ifstream file(folder.file("summary.json"));
    const auto summary = nlohmann::json::parse(file);
    EXPECT_GE(summary.at("decoded").get<int>(), 12) << outcome.output;
    EXPECT_EQ(summary.at("expected"), 15);
    EXPECT_EQ(summary.at("voices").size(), 5U);
    for (const auto& voice : summary.at("voices")) {
        EXPECT_GE(voice.at("correlation").get<double>(), 0.9) << voice;
        EXPECT_GT(voice.at("seconds").get<double>(), 14);
        EXPECT_TRUE(std::filesystem::exists(folder.file(voice.at("file"))));
        EXPECT_TRUE(std::filesystem::exists(folder.file("source/" + voice.at("file").get<std::string>())));
    }
    EXPECT_GE(summary.at("marks").size(), 8U);
    for (const auto& mark : summary.at("marks"))
        EXPECT_LE(std::abs(mark.at("label_column").get<int>() - mark.at("peak_column").get<int>()), 1)
            << mark;
    EXPECT_GT(std::filesystem::file_size(folder.file("waterfall.png")), 10000U);
    EXPECT_GT(std::filesystem::file_size(folder.file("ft8.txt")), 500U);
}
