#include "sim/radio/np_radio.hpp"
#include "sim/scene/build_sky.hpp"
#include "tests/sim/np_host.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <map>

using namespace ferrow::sim;
using namespace ferrow::sim::testing;

namespace {

std::shared_ptr<const Sky> quietSky() {
    return buildSky(parseScene(R"({"noise_floor": null})", ".")).sky;
}

RadioSettings settingsAt(const std::string& address) {
    RadioSettings settings;
    settings.address = address;
    settings.identity = p2::usualIdentity();
    settings.scale.adcBits = 16;
    return settings;
}

template <typename Done>
bool eventually(Done done) {
    for (int i = 0; i < 400 && !done(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    return done();
}

/// Packets by port over that many packets of the first receiver.
std::map<int, int> countUntil(NpHost& host, int iqPackets) {
    std::map<int, int> counts;
    while (counts[1035] < iqPackets) {
        const auto got = host.receive();
        if (!got)
            break;
        ++counts[got->port];
    }
    return counts;
}

} // namespace

TEST(NpRadio, AnswersDiscoveryAndNoOtherProtocol) {
    NpRadio radio(settingsAt("127.0.23.1"), quietSky());
    NpHost host("127.0.23.1");
    host.send(1024, packetOf(63, {{0, 0xEF}, {1, 0xFE}, {2, 2}}));
    host.discover();
    const auto reply = host.receive();
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->port, 1024);
    EXPECT_EQ(reply->bytes.size(), 60u);
    EXPECT_EQ(reply->bytes[4], 2);
    EXPECT_FALSE(host.receive(50));
    EXPECT_EQ(radio.statistics().foreign, 1);
    EXPECT_EQ(radio.statistics().discoveries, 1);
    host.general();
    host.receivers({48});
    host.highPriority(true);
    ASSERT_TRUE(host.receiveFrom(1035));
    host.discover();
    const auto busy = host.receiveFrom(1024);
    ASSERT_TRUE(busy);
    EXPECT_EQ(busy->bytes[4], 3);
}

TEST(NpRadio, StreamsFromAPortForEachKind) {
    NpRadio radio(settingsAt("127.0.23.2"), quietSky());
    NpHost host("127.0.23.2");
    host.general({{23, 1}, {24, 2}, {26, 16}, {27, 20}, {28, 32}});
    host.receivers({192, 0, 48});
    host.highPriority(true, {14100000.0, 0.0, 7000000.0});
    std::map<int, std::uint32_t> expected;
    std::map<int, int> counts;
    while (counts[1035] < 800) { // a second
        const auto got = host.receive();
        ASSERT_TRUE(got);
        ++counts[got->port];
        ASSERT_EQ(got->sequence(), expected[got->port]) << got->port;
        // wideband packets count within their frame
        expected[got->port] = got->port == 1027 && got->sequence() == 31 ? 0 : got->sequence() + 1;
        const std::map<int, std::size_t> sizes{
            {1025, 60}, {1026, 132}, {1027, 1028}, {1035, 1444}, {1037, 1444}};
        const auto size = sizes.find(got->port);
        ASSERT_NE(size, sizes.end()) << "from port " << got->port;
        ASSERT_EQ(got->bytes.size(), size->second) << got->port;
    }
    const double seconds = 800 * 238 / 192000.0;
    EXPECT_NEAR(counts[1037], 48000 / 238.0 * seconds, 3);
    EXPECT_NEAR(counts[1026], 750 * seconds, 3);
    EXPECT_NEAR(counts[1025], 10 * seconds, 3);
    EXPECT_NEAR(counts[1027], 32 * 20 * seconds, 64) << "20 frames a second at most";
    host.highPriority(false);
    ASSERT_TRUE(eventually([&] { return !radio.streaming(); }));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    host.drain();
    EXPECT_FALSE(host.receive(100));
    EXPECT_EQ(radio.statistics().starts, 1);
    EXPECT_EQ(radio.statistics().stops, 1);
}

TEST(NpRadio, AllStreamsRunOnOneClock) {
    NpRadio radio(settingsAt("127.0.23.3"), quietSky());
    NpHost host("127.0.23.3");
    host.general();
    host.receivers({384});
    host.highPriority(true);
    const auto began = std::chrono::steady_clock::now();
    const auto counts = countUntil(host, 3000);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count();
    EXPECT_NEAR(counts.at(1026), 3000 * 238 / 384000.0 * 750, 3);
    // packets are late at times, never early
    EXPECT_GT(seconds, 3000 * 238 / 384000.0 - 0.02);
}

TEST(NpRadio, ReceiversComeAndGoWhileItRuns) {
    NpRadio radio(settingsAt("127.0.23.4"), quietSky());
    NpHost host("127.0.23.4");
    host.general();
    host.receivers({96});
    host.highPriority(true);
    auto first = host.receiveFrom(1035);
    ASSERT_TRUE(first);
    EXPECT_EQ(first->sequence(), 0u);
    host.receivers({96, 96});
    const auto second = host.receiveFrom(1036);
    ASSERT_TRUE(second);
    EXPECT_EQ(second->sequence(), 0u);
    const auto goesOn = host.receiveFrom(1035);
    ASSERT_TRUE(goesOn);
    EXPECT_GT(goesOn->sequence(), 0u);
    host.receivers({0, 96});
    ASSERT_TRUE(eventually([&] { return !radio.control().ddc.receivers[0].enabled; }));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    host.drain();
    for (int i = 0; i < 50; ++i) {
        const auto got = host.receive();
        ASSERT_TRUE(got);
        EXPECT_NE(got->port, 1035);
    }
}

TEST(NpRadio, AStartCountsFromZeroAndAnotherHostTakesOver) {
    NpRadio radio(settingsAt("127.0.23.5"), quietSky());
    NpHost host("127.0.23.5");
    host.general();
    host.receivers({192});
    host.highPriority(true);
    for (int i = 0; i < 20; ++i)
        ASSERT_TRUE(host.receiveFrom(1035));
    host.highPriority(false);
    ASSERT_TRUE(eventually([&] { return !radio.streaming(); }));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    host.drain();
    host.highPriority(true);
    const auto again = host.receiveFrom(1035);
    ASSERT_TRUE(again);
    EXPECT_EQ(again->sequence(), 0u);
    host.highPriority(true); // a periodic one starts nothing
    NpHost other("127.0.23.5");
    other.highPriority(true);
    const auto taken = other.receiveFrom(1035);
    ASSERT_TRUE(taken);
    EXPECT_EQ(taken->sequence(), 0u);
    EXPECT_EQ(radio.statistics().starts, 3);
}

TEST(NpRadio, PortsAreThoseOfTheGeneralPacket) {
    NpRadio radio(settingsAt("127.0.23.6"), quietSky());
    NpHost host("127.0.23.6");
    // DDC to 2001, I/Q from 2100, microphone from 2200
    host.general({{5, 0x07}, {6, 0xD1}, {17, 0x08}, {18, 0x34}, {19, 0x08}, {20, 0x98}});
    ASSERT_TRUE(eventually([&] { return radio.control().general.ddcPort == 2001; }));
    // the port is opened by the thread that listens
    ASSERT_TRUE(eventually([&] {
        host.receivers({48}, 2001);
        return radio.statistics().ddcs > 0;
    }));
    host.highPriority(true);
    EXPECT_TRUE(host.receiveFrom(2100));
    EXPECT_TRUE(host.receiveFrom(2200));
}

TEST(NpRadio, WrongLengthsAreForeignAndChangeNothing) {
    NpRadio radio(settingsAt("127.0.23.7"), quietSky());
    NpHost host("127.0.23.7");
    host.receivers({48});
    ASSERT_TRUE(eventually([&] { return radio.statistics().ddcs == 1; }));
    for (const int port : {1024, 1025, 1026, 1027})
        for (const std::size_t size :
             {std::size_t{0}, std::size_t{3}, std::size_t{61}, std::size_t{1443}, std::size_t{1445}})
            host.send(port, Bytes(size, 0xFF));
    EXPECT_TRUE(eventually([&] { return radio.statistics().foreign == 20; }));
    EXPECT_FALSE(radio.streaming());
    EXPECT_TRUE(radio.control().ddc.receivers[0].enabled);
    EXPECT_EQ(radio.statistics().ddcs, 1);
    EXPECT_EQ(radio.statistics().highPriorities, 0);
}

TEST(NpRadio, TheWatchdogActsWhereTheHostAsksForIt) {
    for (const bool asked : {false, true}) {
        RadioSettings settings = settingsAt("127.0.23.8");
        settings.watchdogSeconds = 0.2;
        NpRadio radio(settings, quietSky());
        NpHost host("127.0.23.8");
        host.general({{38, asked ? 1 : 0}});
        host.receivers({48});
        ASSERT_TRUE(
            eventually([&] { return radio.statistics().ddcs == 1 && radio.statistics().generals == 1; }));
        host.highPriority(true);
        ASSERT_TRUE(host.receiveFrom(1035));
        if (asked) {
            EXPECT_TRUE(eventually([&] { return radio.statistics().watchdogStops == 1; }));
        } else {
            std::this_thread::sleep_for(std::chrono::milliseconds(500));
            EXPECT_TRUE(radio.streaming());
        }
    }
}

TEST(NpRadio, FaultsStrikeEachReceiver) {
    RadioSettings settings = settingsAt("127.0.23.9");
    settings.faults = {parseFault("loss:every=10"), parseFault("wrong-endpoint:every=7,endpoint=10"),
                       parseFault("short:every=11,bytes=99")};
    NpRadio radio(settings, quietSky());
    NpHost host("127.0.23.9");
    host.general();
    host.receivers({192, 192});
    host.highPriority(true);
    std::map<int, std::vector<std::uint32_t>> numbers;
    int strays = 0;
    int cut = 0;
    while (numbers[1036].size() < 300) {
        const auto got = host.receive();
        ASSERT_TRUE(got);
        strays += got->port == 1034;
        if (got->port >= 1035)
            numbers[got->port].push_back(got->sequence());
        cut += got->port >= 1035 && got->bytes.size() == 99;
    }
    for (const int port : {1035, 1036})
        for (std::size_t i = 1; i < numbers[port].size(); ++i) {
            const std::uint32_t before = numbers[port][i - 1];
            ASSERT_EQ(numbers[port][i], before % 10 == 8 ? before + 2 : before + 1) << "the 10th is missing";
        }
    EXPECT_NEAR(strays, 2 * 333 / 7, 5);
    EXPECT_NEAR(cut, 2 * 333 / 11, 8);
}

TEST(NpRadio, StatusTellsTelemetryAndChangesAtOnce) {
    RadioSettings settings = settingsAt("127.0.23.10");
    settings.telemetry.overload = {{0.35, 1e18}};
    settings.telemetry.ain5Temperature = 0x123;
    settings.telemetry.ain6 = 0x345;
    NpRadio radio(settings, quietSky());
    NpHost host("127.0.23.10");
    host.general();
    host.receivers({48});
    host.highPriority(true);
    int before = 0;
    for (;; ++before) {
        const auto got = host.receiveFrom(1025);
        ASSERT_TRUE(got);
        EXPECT_EQ(got->sequence(), static_cast<std::uint32_t>(before));
        EXPECT_EQ(numberAt(got->bytes, 55, 2), 0x123u);
        EXPECT_EQ(numberAt(got->bytes, 49, 2), 0x345u);
        EXPECT_EQ(got->bytes[4], 0x10);
        if (got->bytes[5] != 0)
            break;
    }
    EXPECT_LE(before, 4) << "one each 100 ms";
}

TEST(NpRadio, SilentRadiosTakePacketsAndStreamNothing) {
    RadioSettings settings = settingsAt("127.0.23.11");
    settings.silent = true;
    const std::string trace = std::filesystem::temp_directory_path() / "ferrow_sim_np_trace";
    settings.trace = std::make_shared<ControlTrace>(trace);
    NpRadio radio(settings, quietSky());
    NpHost host("127.0.23.11");
    host.general();
    host.receivers({48});
    host.send(1026, packetOf(60, {{9, 25}}));
    host.highPriority(true, {30720000.0});
    ASSERT_TRUE(eventually([&] { return radio.statistics().highPriorities == 1; }));
    EXPECT_FALSE(host.receive(100));
    ASSERT_TRUE(eventually([&] { return radio.statistics().ducs == 1; }));
    settings.trace->flush();
    std::ifstream file(trace);
    std::map<std::string, nlohmann::json> lines;
    for (std::string line; std::getline(file, line);) {
        const auto one = nlohmann::json::parse(line);
        lines[one["packet"]] = one;
    }
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines["duc"]["fields"]["keyer_speed"], 25);
    EXPECT_EQ(lines["duc"]["bytes"], nlohmann::json({{"9", 25}}));
    EXPECT_EQ(lines["high_priority"]["fields"]["receiver_words"][0], 0x40000000);
    EXPECT_EQ(lines["high_priority"]["bytes"], nlohmann::json({{"4", 1}, {"9", 0x40}}));
    EXPECT_EQ(lines["ddc"]["fields"]["receivers"][0]["khz"], 48);
    EXPECT_EQ(lines["general"]["size"], 60);
    const auto report = radio.report();
    EXPECT_EQ(report["receivers"][0]["frequency"], 30720000.0);
    EXPECT_EQ(report["in"]["duc"], 1);
    std::filesystem::remove(trace);
}

TEST(NpRadio, APortThatIsTakenIsAnError) {
    NpRadio radio(settingsAt("127.0.23.12"), quietSky());
    EXPECT_THROW(NpRadio(settingsAt("127.0.23.12"), quietSky()), std::runtime_error);
}
