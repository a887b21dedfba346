// The radio object against the simulated radio, a program of its own with a clock and wire code of its own.
#include "tests/radios/hpsdr/radio_bench.hpp"

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/wait.h>

namespace ferrow {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

// The program in the background, with its statistics and control trace in a folder that goes with it.
class Simulator {
public:
    Simulator() {
        folder = fs::temp_directory_path() / ("ferrow-hpsdr-" + std::to_string(getpid()));
        fs::create_directories(folder);
        std::ofstream(folder / "scene.json") << R"({"name": "noise", "noise_floor": -120, "stations": []})";
        int ends[2];
        EXPECT_EQ(pipe(ends), 0);
        process = fork();
        if (process == 0) {
            dup2(ends[1], STDOUT_FILENO);
            const std::string scene = folder / "scene.json", stats = folder / "stats.json",
                              trace = folder / "trace";
            execl(FERROW_SIM_PROGRAM, FERROW_SIM_PROGRAM, "--address", address.c_str(), "--scene",
                  scene.c_str(), "--stats", stats.c_str(), "--control-trace", trace.c_str(), "--receivers",
                  "12", "--die-with-parent", nullptr);
            _exit(127);
        }
        close(ends[1]);
        char byte = 0;
        EXPECT_EQ(read(ends[0], &byte, 1), 1) << "the program does not come up";
        close(ends[0]);
    }
    ~Simulator() {
        end();
        fs::remove_all(folder);
    }

    // Ends the program and gives its statistics.
    json end() {
        if (process > 0) {
            kill(process, SIGTERM);
            int status = 0;
            waitpid(process, &status, 0);
            process = -1;
            std::ifstream(folder / "stats.json") >> statistics;
        }
        return statistics.contains("radios") ? statistics["radios"][0] : statistics;
    }

    // Control words of every frame, in order of arrival.
    std::vector<json> trace() const {
        std::vector<json> lines;
        std::ifstream file(folder / "trace");
        for (std::string line; std::getline(file, line);)
            lines.push_back(json::parse(line));
        return lines;
    }

    const std::string address = test::ownAddress();

private:
    fs::path folder;
    pid_t process = -1;
    json statistics;
};

struct Reception {
    Simulator simulator;
    std::shared_ptr<HpsdrRadio> radio;

    Reception(int rate, int receivers) {
        test::startRuntime();
        radio = std::make_shared<HpsdrRadio>(rootSyncTask);
        test::onContext(radio, [&] {
            radio->ipAddress.setFromHost(simulator.address);
            radio->SampleRate.setFromHost(rate);
            radio->maxHwReceivers.setFromHost(12);
            for (int i = 1; i < receivers; ++i)
                radio->addHwReceiver(7000000 + 100000 * i);
            radio->start();
        });
    }
    void listen(double seconds) { std::this_thread::sleep_for(std::chrono::duration<double>(seconds)); }
};

void controlPacketsComeAtTheirRate(int rate, int receivers) {
    Reception reception(rate, receivers);
    reception.listen(2.5);
    EXPECT_EQ(reception.radio->ep6SeqErrors.value(), 0);
    EXPECT_GT(reception.radio->receivedPackets.value(), 0);
    const json stats = reception.simulator.end();
    const double measured = stats["endpoint2"]["rate"];
    EXPECT_NEAR(measured, 48000.0 / 126, 48000.0 / 126 * 0.005)
        << rate << " Hz, " << receivers << " receivers";
    EXPECT_EQ(stats["endpoint2"]["gaps"], 0);
    std::printf("%d Hz, %d receivers: %.2f control packets a second\n", rate, receivers, measured);
}

TEST(SimulatedRadio, ControlPacketsAt48kHzOneReceiver) {
    controlPacketsComeAtTheirRate(48000, 1);
}
TEST(SimulatedRadio, ControlPacketsAt48kHzFourReceivers) {
    controlPacketsComeAtTheirRate(48000, 4);
}
TEST(SimulatedRadio, ControlPacketsAt96kHzOneReceiver) {
    controlPacketsComeAtTheirRate(96000, 1);
}
TEST(SimulatedRadio, ControlPacketsAt96kHzFourReceivers) {
    controlPacketsComeAtTheirRate(96000, 4);
}
TEST(SimulatedRadio, ControlPacketsAt192kHzOneReceiver) {
    controlPacketsComeAtTheirRate(192000, 1);
}
TEST(SimulatedRadio, ControlPacketsAt192kHzFourReceivers) {
    controlPacketsComeAtTheirRate(192000, 4);
}
TEST(SimulatedRadio, ControlPacketsAt384kHzOneReceiver) {
    controlPacketsComeAtTheirRate(384000, 1);
}
TEST(SimulatedRadio, ControlPacketsAt384kHzFourReceivers) {
    controlPacketsComeAtTheirRate(384000, 4);
}

TEST(SimulatedRadio, TheTraceIsTheStartAndThenTheRotation) {
    Reception reception(192000, 2);
    reception.listen(0.6);
    test::onContext(reception.radio, [&] { reception.radio->stop(); });
    reception.listen(0.1);
    const json stats = reception.simulator.end();
    EXPECT_EQ(stats["starts"], 1);
    EXPECT_EQ(stats["stops"], 1);
    const auto trace = reception.simulator.trace();
    ASSERT_GT(trace.size(), 200u);
    for (std::size_t i = 0; i < 20; ++i) {
        EXPECT_EQ(trace[i]["sequence"], i / 2);
        EXPECT_EQ(trace[i]["frame"], i % 2);
        EXPECT_EQ(trace[i]["c"][0], 2 * (i % 10)) << "banks 0 to 9, twice";
    }
    long long frequencies[2];
    for (std::size_t i = 0; i < 2; ++i)
        frequencies[i] = reception.radio->hwReceivers[i].frequency;
    for (std::size_t i = 20; i < trace.size(); ++i) {
        const int bank = static_cast<int>((i - 20) % 46);
        ASSERT_EQ(trace[i]["c"][0], 2 * bank) << "frame " << i;
        const auto& c = trace[i]["c"];
        const long long word = c[1].get<long long>() << 24 | c[2].get<long long>() << 16 |
                               c[3].get<long long>() << 8 | c[4].get<long long>();
        if (bank == 0) {
            ASSERT_EQ(c, json({0, 2, 0, 0, 1 << 3 | 4}));
        } else if (bank == 1) {
            ASSERT_EQ(word, 14095600);
        } else if (bank == 2 || bank == 3) {
            ASSERT_EQ(word, frequencies[bank - 2]);
        } else if ((bank >= 4 && bank <= 8) || (bank >= 18 && bank <= 42 && bank != 23)) {
            ASSERT_EQ(word, 10000000);
        } else if (bank == 10) {
            ASSERT_EQ(word, 27 + 32);
        } else if (bank == 16) {
            ASSERT_EQ(word, (120 >> 2) << 24);
        } else if (bank == 23) {
            ASSERT_EQ(word, 22 << 8 | 10);
        } else {
            ASSERT_EQ(word, 0) << "bank " << bank;
        }
    }
}

TEST(SimulatedRadio, StopAndStartGoOnWithoutErrors) {
    Reception reception(96000, 1);
    for (int round = 0; round < 3; ++round) {
        reception.listen(0.3);
        test::onContext(reception.radio, [&] { reception.radio->stop(); });
        reception.listen(0.1);
        test::onContext(reception.radio, [&] { reception.radio->start(); });
    }
    reception.listen(0.3);
    EXPECT_EQ(reception.radio->ep6SeqErrors.value(), 0);
    const json stats = reception.simulator.end();
    EXPECT_EQ(stats["starts"], 4);
    EXPECT_EQ(stats["stops"], 3);
}

TEST(SimulatedRadio, ReceiversAddedWhileRunningCostNoSequenceError) {
    Reception reception(192000, 1);
    for (int i = 0; i < 3; ++i) {
        reception.listen(0.3);
        test::onContext(reception.radio, [&] { reception.radio->addHwReceiver(7000000); });
    }
    reception.listen(0.5);
    EXPECT_EQ(reception.radio->hwReceivers.size(), 4u);
    EXPECT_EQ(reception.radio->ep6SeqErrors.value(), 0);
    EXPECT_EQ(reception.simulator.end()["starts"], 4);
}

} // namespace

TEST(SimulatedRadioSlow, NoSequenceErrorsIn60SecondsAt384kHzWithFourReceivers) {
    Reception reception(384000, 4);
    reception.listen(60.0);
    EXPECT_EQ(reception.radio->ep6SeqErrors.value(), 0);
    const json stats = reception.simulator.end();
    std::printf("%lld packets in, %d sequence errors\n", stats["out"]["endpoint6"].get<long long>(),
                reception.radio->ep6SeqErrors.value());
    EXPECT_GT(stats["out"]["endpoint6"], 60 * 384000 / 38 * 0.98);
}

} // namespace ferrow
