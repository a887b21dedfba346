#include "tests/sim/np_host.hpp"
#include "tests/sim/test_host.hpp"

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sndfile.h>
#include <sys/wait.h>

using ferrow::sim::testing::TestHost;

namespace {

namespace fs = std::filesystem;

struct Result {
    int code = -1;
    std::string output; // stdout and stderr
};

Result runSim(const std::string& arguments) {
    Result result;
    FILE* pipe = popen((std::string(FERROW_SIM_PROGRAM) + " " + arguments + " 2>&1").c_str(), "r");
    char buffer[4096];
    while (const std::size_t n = fread(buffer, 1, sizeof buffer, pipe))
        result.output.append(buffer, n);
    const int status = pclose(pipe);
    result.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

/// The program in the background; waits for its first ready line.
class RunningSim {
public:
    explicit RunningSim(std::vector<std::string> arguments) {
        int ends[2];
        EXPECT_EQ(pipe(ends), 0);
        pid_ = fork();
        if (pid_ == 0) {
            dup2(ends[1], STDOUT_FILENO);
            close(ends[0]);
            std::vector<char*> argv;
            arguments.insert(arguments.begin(), FERROW_SIM_PROGRAM);
            for (auto& one : arguments)
                argv.push_back(one.data());
            argv.push_back(nullptr);
            execv(FERROW_SIM_PROGRAM, argv.data());
            _exit(127);
        }
        close(ends[1]);
        char c = 0;
        while (read(ends[0], &c, 1) == 1 && c != '\n')
            ready += c;
        close(ends[0]);
    }
    ~RunningSim() { end(SIGKILL); }

    void signal(int number) { kill(pid_, number); }
    /// Sends the signal, waits, returns the exit code (-1: killed).
    int end(int number) {
        if (pid_ < 0)
            return code_;
        kill(pid_, number);
        int status = 0;
        waitpid(pid_, &status, 0);
        pid_ = -1;
        code_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        return code_;
    }

    std::string ready;

private:
    pid_t pid_ = -1;
    int code_ = -1;
};

std::string temporary(const std::string& name) {
    return (fs::temp_directory_path() / name).string();
}

std::string writeScene(const std::string& name, const std::string& text) {
    const std::string path = temporary(name);
    std::ofstream(path) << text;
    return path;
}

} // namespace

TEST(Program, HelpEndsWithZero) {
    const Result r = runSim("--help");
    EXPECT_EQ(r.code, 0);
    EXPECT_NE(r.output.find("--clock-ppm"), std::string::npos);
    EXPECT_NE(r.output.find("Exit codes"), std::string::npos);
}

TEST(Program, WrongInputEndsWithTwo) {
    EXPECT_EQ(runSim("--no-such-option").code, 2);
    EXPECT_EQ(runSim("--clock-ppm fast").code, 2);
    EXPECT_EQ(runSim("--fault los").code, 2);
    EXPECT_EQ(runSim("--mac 12:34").code, 2);
    EXPECT_EQ(runSim("--scene /no/such.json --duration 1").code, 2);
    const std::string path =
        writeScene("ferrow_sim_bad_scene.json", R"({"stations": [{"kind": "cw", "frequency": 7e6}]})");
    const Result r = runSim("--duration 1 --scene " + path);
    EXPECT_EQ(r.code, 2);
    EXPECT_EQ(r.output, "ferrow-sim: scene: " + path + ": stations[0]: needs either level or snr\n");
    fs::remove(path);
}

TEST(Program, WhatProtocol2CannotDoEndsWithTwo) {
    for (const char* arguments :
         {"--tx-record /tmp/x", "--tx-all", "--receivers 9", "--fault los", "--mac 1"}) {
        const Result r = runSim(std::string("--protocol 2 --duration 1 ") + arguments);
        EXPECT_EQ(r.code, 2) << arguments;
    }
    EXPECT_NE(runSim("--protocol 2 --tx-all").output.find("--tx-all: a radio of protocol 2 only receives"),
              std::string::npos);
    EXPECT_EQ(runSim("--protocol 3").code, 2);
}

TEST(Program, RadiosOfProtocol2TellWhatWasOrdered) {
    RunningSim sim({"--protocol", "2", "--address", "127.0.22.6", "--address", "127.0.22.7", "--mac",
                    "02:00:00:00:00:20", "--receivers", "5", "--board-id", "3", "--firmware", "33"});
    for (int i = 0; i < 2; ++i) {
        ferrow::sim::testing::NpHost host("127.0.22." + std::to_string(6 + i));
        std::optional<ferrow::sim::testing::NpHost::Received> reply;
        for (int attempt = 0; attempt < 20 && !reply; ++attempt) {
            host.discover();
            reply = host.receive(100);
        }
        ASSERT_TRUE(reply);
        EXPECT_EQ(reply->bytes[10], 0x20 + i);
        EXPECT_EQ(reply->bytes[11], 3);
        EXPECT_EQ(reply->bytes[13], 33);
        EXPECT_EQ(reply->bytes[20], 5);
    }
}

TEST(Program, DiscoveryTellsTheOrderedReceivers) {
    RunningSim sim({"--address", "127.0.22.8", "--receivers", "3"});
    TestHost host("127.0.22.8");
    host.discover();
    const auto reply = host.receive();
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->bytes[0x13], 3);
}

TEST(Program, AddressThatCannotBeBoundEndsWithThree) {
    const Result r = runSim("--address 192.0.2.77 --duration 1");
    EXPECT_EQ(r.code, 3);
    EXPECT_NE(r.output.find("cannot bind 192.0.2.77:1024"), std::string::npos);
    EXPECT_EQ(runSim("--address 127.0.22.9 --stats /x --control-trace /no/such/dir/t --duration 1").code, 3);
}

TEST(Program, DurationEndsIt) {
    const Result r = runSim("--address 127.0.22.1 --duration 0.2");
    EXPECT_EQ(r.code, 0);
    EXPECT_EQ(r.output, "ready 127.0.22.1:1024\n");
}

TEST(Program, SignalsEndItCleanlyWithStatistics) {
    for (const int number : {SIGINT, SIGTERM}) {
        const std::string stats = temporary("ferrow_sim_stats_test.json");
        fs::remove(stats);
        RunningSim sim({"--address", "127.0.22.2", "--stats", stats});
        EXPECT_EQ(sim.ready, "ready 127.0.22.2:1024");
        TestHost host("127.0.22.2");
        host.tune(1, 2, 7100000);
        host.start();
        for (int i = 0; i < 100; ++i)
            ASSERT_TRUE(host.receiveEndpoint(6));
        EXPECT_EQ(sim.end(number), 0);
        std::ifstream file(stats);
        const auto json = nlohmann::json::parse(file);
        const auto& radio = json.at("radios").at(0);
        EXPECT_EQ(radio.at("address"), "127.0.22.2");
        EXPECT_EQ(radio.at("in").at("data"), 2);
        EXPECT_EQ(radio.at("control").at("rate"), 96000);
        EXPECT_EQ(radio.at("control").at("receivers"), 2);
        EXPECT_EQ(radio.at("control").at("rx_frequency"), (std::vector<int>{7100000, 7100000}));
        EXPECT_GE(radio.at("out").at("endpoint6").get<int>(), 100);
        fs::remove(stats);
    }
}

TEST(Program, Usr1WritesStatisticsAndGoesOn) {
    const std::string stats = temporary("ferrow_sim_usr1_test.json");
    fs::remove(stats);
    RunningSim sim({"--address", "127.0.22.3", "--stats", stats});
    sim.signal(SIGUSR1);
    for (int i = 0; i < 400 && !fs::exists(stats); ++i)
        usleep(5000);
    EXPECT_TRUE(fs::exists(stats));
    TestHost host("127.0.22.3");
    host.discover();
    EXPECT_TRUE(host.receive()) << "still there";
    EXPECT_EQ(sim.end(SIGTERM), 0);
    fs::remove(stats);
}

TEST(Program, SeveralAddressesAreSeveralRadios) {
    RunningSim sim({"--address", "127.0.22.4", "--address", "127.0.22.5", "--mac", "02:00:00:00:00:10"});
    int last[2] = {};
    for (int i = 0; i < 2; ++i) {
        TestHost host("127.0.22." + std::to_string(4 + i));
        std::optional<TestHost::Received> reply;
        for (int attempt = 0; attempt < 20 && !reply; ++attempt) { // the second may be a moment later
            host.discover();
            reply = host.receive(100);
        }
        ASSERT_TRUE(reply);
        last[i] = reply->bytes[8];
    }
    EXPECT_EQ(last[0], 0x10);
    EXPECT_EQ(last[1], 0x11);
}

TEST(Program, ListSceneIsJson) {
    const Result r = runSim("--list-scene");
    EXPECT_EQ(r.code, 0);
    const auto json = nlohmann::json::parse(r.output);
    int ft8 = 0;
    for (const auto& station : json.at("stations")) {
        EXPECT_TRUE(station.at("name").is_string());
        EXPECT_GT(station.at("frequency").get<double>(), 1e6);
        EXPECT_TRUE(station.at("level").is_number());
        ft8 += station.at("kind") == "ft8";
    }
    EXPECT_EQ(ft8, 15);
}

TEST(Program, WriteSourcesLeavesTheAudio) {
    const std::string folder = temporary("ferrow_sim_sources_test");
    fs::remove_all(folder);
    const Result r = runSim("--write-sources " + folder);
    EXPECT_EQ(r.code, 0);
    SF_INFO info{};
    SNDFILE* file = sf_open((folder + "/SSB_voice.wav").c_str(), SFM_READ, &info);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(info.samplerate, 12000);
    EXPECT_EQ(info.channels, 1);
    EXPECT_NEAR(static_cast<double>(info.frames) / 12000.0, 9.5, 1.0);
    sf_close(file);
    fs::remove_all(folder);
}
