// ferrow tune and the transmit watchdog, over UDP, as the simulated radio recorded them.
#include "tests/host/on_air.hpp"

#include <chrono>
#include <cmath>
#include <dirent.h>
#include <nlohmann/json.hpp>
#include <numbers>
#include <set>
#include <sstream>

using namespace ferrow::test;

namespace {

constexpr double kCarrier = 0.99 * 32766; // of the tune carrier on the wire, at full drive
constexpr std::size_t kSilence = 768, kRamp = 512, kTail = 9 * 126;

std::vector<std::string> tune(const std::string& address, std::vector<std::string> more) {
    std::vector<std::string> all = {"tune", "--radio", address, "--rate", "48", "--frequency", "14.2M"};
    all.insert(all.end(), more.begin(), more.end());
    return all;
}

std::vector<std::string> program(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), FERROW_PROGRAM);
    return arguments;
}

double magnitude(const TxRecord& record, std::size_t sample) {
    return std::abs(record.samples[sample]);
}

// Children of a process, the watchdog among them.
std::vector<pid_t> childrenOf(pid_t parent) {
    const std::string id = std::to_string(parent);
    std::ifstream file("/proc/" + id + "/task/" + id + "/children");
    std::vector<pid_t> found;
    for (pid_t child = 0; file >> child;)
        found.push_back(child);
    return found;
}

double secondsBetween(const TxRow& a, const TxRow& b) {
    return 1e-9 * static_cast<double>(b.timeNs - a.timeNs);
}

} // namespace

// Press to first sample and release to unkey, counted on the wire.
TEST(TuneSim, TheCarrierRisesAndFallsByTheSample) {
    RecordingRadio radio("127.62.2.1", {"--tx-all"});
    const Outcome outcome = runFerrow(tune("127.62.2.1", {"--seconds", "0.7", "--drive", "255"}));
    EXPECT_EQ(outcome.code, 0) << outcome.output;
    const TxRecord record = radio.finish();
    const auto presses = pressesOf(record);
    ASSERT_EQ(presses.size(), 1u);
    const Press& press = presses[0];
    const std::size_t begin = press.begin;
    // Every sample of the rise: c counts down from 1280; silence above 512, then the raised cosine, in steps
    // of the 16-bit words. So the first word that is not zero is that of c = 510.
    for (std::size_t i = 0; i < kSilence + kRamp + 400; ++i) {
        const int c = 1280 - static_cast<int>(i);
        const double factor = c > 512 ? 0 : c < 0 ? 1 : 0.5 * std::cos(c * std::numbers::pi / 512) + 0.5;
        ASSERT_NEAR(magnitude(record, begin + i), kCarrier * factor, 0.51) << i;
    }
    for (std::size_t i = 0; i < 770; ++i)
        ASSERT_TRUE(record.silent(begin + i)) << i;
    EXPECT_FALSE(record.silent(begin + 770));
    // The release comes between two packets: nine of them follow, the cosine, then silence.
    ASSERT_GT(press.end - begin, kSilence + kRamp + kTail);
    const std::size_t fall = press.end - kTail;
    for (std::size_t i = 0; i < kTail; ++i) {
        const int c = 512 - static_cast<int>(i);
        const double factor = c < 1 ? 0 : 0.5 * std::cos((512 - c) * std::numbers::pi / 512) + 0.5;
        ASSERT_NEAR(magnitude(record, fall + i), kCarrier * factor, 0.51) << i;
    }
    for (std::size_t i = 1280; begin + i < fall; ++i)
        ASSERT_NEAR(magnitude(record, begin + i), kCarrier, 0.51) << i;
    // No sample has the imaginary part of the carrier, and it is the exact frequency of the command.
    for (const TxRow& packet : press.packets)
        ASSERT_EQ(packet.txFrequency, 14200000u);
    EXPECT_EQ(press.packets.front().drive, 240) << "of the sixteen steps of this board";
}

TEST(TuneSim, TheFirstPacketsSwitchFiltersAndGain) {
    RecordingRadio radio("127.62.2.2", {"--tx-all"});
    EXPECT_EQ(runFerrow(tune("127.62.2.2", {"--seconds", "0.4", "--pa", "--atu", "--offset", "750"})).code,
              0);
    const TxRecord record = radio.finish();
    const auto presses = pressesOf(record);
    ASSERT_EQ(presses.size(), 1u);
    const TxRow& first = presses[0].packets.front();
    EXPECT_EQ(first.controlA.substr(0, 2), "01") << "bank 0 with ptt";
    EXPECT_EQ(first.controlB.substr(0, 2), "15") << "bank 10 with ptt";
    // All banks go round, each with the transmit flag.
    std::set<std::string> banks;
    bool pa = false, atu = false;
    for (const TxRow& packet : presses[0].packets) {
        for (const std::string* control : {&packet.controlA, &packet.controlB}) {
            const int head = std::stoi(control->substr(0, 2), nullptr, 16);
            EXPECT_EQ(head & 1, 1);
            banks.insert(control->substr(0, 2));
            if (head >> 1 == 9) {
                const int bits = std::stoi(control->substr(4, 2), nullptr, 16);
                pa = (bits & 0x08) != 0;
                atu = (bits & 0x10) != 0;
            }
        }
    }
    EXPECT_EQ(banks.size(), 46u);
    EXPECT_TRUE(pa);
    EXPECT_TRUE(atu);
    EXPECT_TRUE(presses[0].packets.back().pa);
    EXPECT_EQ(presses[0].packets.back().txFrequency, 14200750u);
}

// The drive byte has sixteen steps; the rest of the way is in the samples, a tenth of a decibel a step.
TEST(TuneSim, DriveIsABytesStepAndAGain) {
    struct Row {
        int drive, byte;
        double decibel;
    };
    constexpr Row kRows[] = {{255, 240, 0},  {251, 240, -0.4}, {250, 224, 0}, {200, 64, 0},
                             {178, 0, -0.2}, {64, 0, -11.6},   {1, 0, -17.9}};
    RecordingRadio radio("127.62.2.3", {"--tx-all"});
    for (const Row& row : kRows)
        ASSERT_EQ(
            runFerrow(tune("127.62.2.3", {"--seconds", "0.15", "--drive", std::to_string(row.drive)})).code,
            0);
    ASSERT_EQ(runFerrow(tune("127.62.2.3", {"--seconds", "0.15", "--drive", "0"})).code, 0);
    const TxRecord record = radio.finish();
    const auto presses = pressesOf(record);
    ASSERT_EQ(presses.size(), std::size(kRows) + 1);
    for (std::size_t i = 0; i < std::size(kRows); ++i) {
        EXPECT_EQ(presses[i].packets.back().drive, kRows[i].byte) << kRows[i].drive;
        const std::size_t steady = presses[i].end - kTail - 1;
        EXPECT_NEAR(magnitude(record, steady), kCarrier * std::pow(10, kRows[i].decibel / 20), 0.51)
            << kRows[i].drive;
    }
    for (std::size_t i = presses.back().begin; i < presses.back().end; ++i)
        ASSERT_TRUE(record.silent(i)) << "drive 0 is silence";
}

TEST(TuneSim, TellsWhatTheRadioTells) {
    RecordingRadio radio("127.62.2.4");
    const Outcome outcome = runFerrow(tune("127.62.2.4", {"--seconds", "1.2", "--json"}));
    EXPECT_EQ(outcome.code, 0) << outcome.output;
    std::istringstream lines(outcome.output);
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count) {
        const auto json = nlohmann::json::parse(line);
        EXPECT_NEAR(json.at("temperature_c").get<double>(), 34.5, 0.2);
        EXPECT_TRUE(json.at("buffer").at("lowest").is_number());
        EXPECT_GT(json.at("seconds").get<double>(), 0);
    }
    EXPECT_EQ(count, 2);
}

TEST(TuneSim, AnInterruptEndsTheCarrierInOrder) {
    RecordingRadio radio("127.62.2.5", {"--tx-all"});
    Running ferrow(program(tune("127.62.2.5", {"--seconds", "60", "--drive", "255"})));
    ASSERT_TRUE(radio.keyedFor(100));
    ferrow.signal(SIGINT);
    EXPECT_EQ(ferrow.finish().code, 0);
    const TxRecord record = radio.finish();
    const auto presses = pressesOf(record);
    ASSERT_EQ(presses.size(), 1u);
    EXPECT_NEAR(magnitude(record, presses[0].end - kTail), kCarrier, 0.51);
    EXPECT_NEAR(magnitude(record, presses[0].end - kTail + 256), kCarrier / 2, 1);
    EXPECT_EQ(record.count("stop"), 1u);
    EXPECT_FALSE(record.packets().back().ptt); // the radio itself may hang on a few ms longer
    EXPECT_FALSE(record.rows.back().onAir);
}

// The radio's clock empties its buffer; ferrow hears of what that leads to.
TEST(TuneSim, AStalledHostIsToldOfTheUnderflow) {
    RecordingRadio radio("127.62.2.6");
    Running ferrow(program(tune("127.62.2.6", {"--seconds", "3", "--json"})));
    ASSERT_TRUE(radio.keyedFor(150));
    ferrow.signal(SIGSTOP);
    usleep(25000); // longer than the latency of 10 ms, at times shorter than the hang time of 22 ms behind it
    ferrow.signal(SIGCONT);
    const Outcome outcome = ferrow.finish();
    EXPECT_EQ(outcome.code, 0) << outcome.output;
    const TxRecord record = radio.finish();
    EXPECT_GE(record.rows.back().underflows, 1);
    nlohmann::json last;
    std::istringstream lines(outcome.output);
    for (std::string line; std::getline(lines, line);)
        last = nlohmann::json::parse(line);
    EXPECT_GE(last.at("buffer").at("underflows").get<int>(), 1);
}

// --- The watchdog ---

TEST(WatchdogSim, AHungHostIsEndedAndTheRadioStopped) {
    RecordingRadio radio("127.62.3.1");
    ASSERT_EQ(setenv("FERROW_HANG_AFTER", "0.3", 1), 0);
    Running ferrow(program(tune("127.62.3.1", {"--seconds", "60", "--watchdog", "0.5"})));
    unsetenv("FERROW_HANG_AFTER");
    const Outcome outcome = ferrow.finish();
    EXPECT_EQ(outcome.code, -1) << "killed";
    const TxRecord record = radio.finish();
    ASSERT_GE(record.count("stop"), 1u);
    const auto packets = record.packets();
    // The library went on transmitting after the hang until the watchdog came: 0.3 s, 0.5 s and the rest of a
    // beat; with slack for a busy machine.
    const double onAir = secondsBetween(packets.front(), packets.back());
    EXPECT_GE(onAir, 0.6);
    EXPECT_LE(onAir, 2.0);
    const TxRow& end = record.rows.back();
    EXPECT_NE(end.event, "data");
    EXPECT_FALSE(end.onAir);
    for (const TxRow& row : record.rows) {
        if (row.event != "stop")
            continue;
        EXPECT_LE(secondsBetween(packets.back(), row), 0.3) << "the stop follows at once";
        break;
    }
}

TEST(WatchdogSim, AStoppedHostLeavesTheAirByTheRadiosTimerAndIsEnded) {
    RecordingRadio radio("127.62.3.2");
    Running ferrow(program(tune("127.62.3.2", {"--seconds", "60", "--watchdog", "0.5"})));
    ASSERT_TRUE(radio.keyedFor(100));
    ferrow.signal(SIGSTOP);
    EXPECT_EQ(ferrow.finish().code, -1) << "killed by its watchdog";
    const TxRecord record = radio.finish();
    ASSERT_EQ(record.count("unkey"), 1u) << "the transmit buffer ran dry";
    ASSERT_GE(record.count("stop"), 1u);
    std::size_t last = 0;
    while (last + 1 < record.rows.size() && record.rows[last].event != "unkey")
        ++last;
    // 10 ms of buffer and 22 ms of hang time
    const double after = secondsBetween(record.rows[last - 1], record.rows[last]);
    EXPECT_GE(after, 0.025);
    EXPECT_LE(after, 0.3);
    EXPECT_FALSE(record.rows.back().onAir);
}

TEST(WatchdogSim, AKilledHostLeavesTheRadioStopped) {
    RecordingRadio radio("127.62.3.3");
    Running ferrow(program(tune("127.62.3.3", {"--seconds", "60", "--watchdog", "30"})));
    ASSERT_TRUE(radio.keyedFor(100));
    ferrow.signal(SIGKILL);
    EXPECT_EQ(ferrow.finish().code, -1);
    usleep(200000);
    const auto rows = radio.rows();
    EXPECT_EQ(rows.back().event, "stop") << "from the watchdog, at once";
    EXPECT_FALSE(rows.back().onAir);
    const TxRecord record = radio.finish();
    const auto packets = record.packets();
    for (const TxRow& row : record.rows)
        if (row.event == "stop") {
            EXPECT_LE(secondsBetween(packets.back(), row), 0.3);
        }
}

// Whether a signal has stopped the process, within a second.
bool isStopped(pid_t process) {
    for (int i = 0; i < 1000; ++i) {
        std::ifstream file("/proc/" + std::to_string(process) + "/stat");
        std::string line;
        std::getline(file, line);
        const std::size_t name = line.rfind(')');
        if (name != std::string::npos && line.compare(name, 3, ") T") == 0)
            return true;
        usleep(1000);
    }
    return false;
}

TEST(WatchdogSim, HostAndWatchdogKilledTogetherLeaveTheRadioToItsOwnTimer) {
    RecordingRadio radio("127.62.3.4");
    Running ferrow(program(tune("127.62.3.4", {"--seconds", "60", "--watchdog", "30"})));
    ASSERT_TRUE(radio.keyedFor(100));
    const auto children = childrenOf(ferrow.pid());
    ASSERT_EQ(children.size(), 1u);
    kill(children[0], SIGSTOP); // so that it cannot answer the death of the other
    ASSERT_TRUE(isStopped(children[0]));
    ferrow.signal(SIGKILL);
    kill(children[0], SIGKILL);
    EXPECT_EQ(ferrow.finish().code, -1);
    usleep(300000);
    const auto rows = radio.rows();
    EXPECT_EQ(rows.back().event, "unkey");
    EXPECT_FALSE(rows.back().onAir);
    const double after = secondsBetween(rows[rows.size() - 2], rows.back());
    EXPECT_GE(after, 0.025);
    EXPECT_LE(after, 0.3);
}

TEST(WatchdogSim, NothingIsSentWithoutAWatchdog) {
    RecordingRadio radio("127.62.3.5");
    Running ferrow(program(tune("127.62.3.5", {"--seconds", "60"})));
    ASSERT_TRUE(radio.keyedFor(100));
    const auto children = childrenOf(ferrow.pid());
    ASSERT_EQ(children.size(), 1u);
    kill(children[0], SIGKILL);
    const Outcome outcome = ferrow.finish();
    EXPECT_EQ(outcome.code, 1);
    EXPECT_NE(outcome.output.find("the transmit watchdog has died"), std::string::npos) << outcome.output;
    const TxRecord record = radio.finish();
    EXPECT_GE(record.count("stop"), 1u);
    EXPECT_FALSE(record.rows.back().onAir);
}

TEST(WatchdogSim, ARadioThatGoesAwayEndsTheTransmission) {
    RecordingRadio radio("127.62.3.6");
    Running ferrow(program(tune("127.62.3.6", {"--seconds", "60"})));
    ASSERT_TRUE(radio.keyedFor(50));
    radio.process().signal(SIGKILL);
    const Outcome outcome = ferrow.finish();
    EXPECT_EQ(outcome.code, 1);
    EXPECT_NE(outcome.output.find("has stopped sending"), std::string::npos) << outcome.output;
}
