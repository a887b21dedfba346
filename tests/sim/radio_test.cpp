#include "sim/radio/radio.hpp"
#include "sim/scene/build_sky.hpp"
#include "tests/sim/test_host.hpp"

#include <algorithm>
#include <complex>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <thread>

using namespace ferrow::sim;
using ferrow::sim::testing::TestHost;

namespace {

std::shared_ptr<const Sky> quietSky() {
    return buildSky(parseScene(R"({"noise_floor": null})", ".")).sky;
}

RadioSettings settingsAt(const std::string& address) {
    RadioSettings settings;
    settings.address = address;
    return settings;
}

/// Waits until `done` holds, at most two seconds.
template <typename Done>
bool eventually(Done done) {
    for (int i = 0; i < 400 && !done(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    return done();
}

/// Relative error of the packet rate over two seconds against `nominal` packets a second, in arrival times as
/// the kernel stamps them. A packet is only ever late, so the earliest ones of the first and of the last 0.7
/// s stand for the radio's clock.
double rateError(TestHost& host, double nominal) {
    std::optional<TestHost::Received> first;
    double early = 1e18;
    double late = 1e18;
    double earlyAt = 0.0;
    double lateAt = 0.0;
    for (double t = 0.0; t < 2.0;) {
        const auto got = host.receiveEndpoint(6);
        if (!got)
            return 1.0;
        if (!first)
            first = got;
        t = got->seconds - first->seconds;
        const double behind = t - (got->sequence() - first->sequence()) / nominal;
        if (t < 0.7 && behind < early) {
            early = behind;
            earlyAt = t;
        }
        if (t > 1.3 && behind < late) {
            late = behind;
            lateAt = t;
        }
    }
    return (early - late) / (lateAt - earlyAt);
}

} // namespace

TEST(Radio, AnswersDiscovery) {
    Radio radio(settingsAt("127.0.21.1"), quietSky());
    TestHost host("127.0.21.1");
    host.discover();
    const auto reply = host.receive();
    ASSERT_TRUE(reply);
    ASSERT_EQ(reply->bytes.size(), 60u);
    EXPECT_EQ(reply->bytes[2], 2);
    EXPECT_EQ(reply->bytes[10], 6);
    EXPECT_EQ(reply->from.sin_port, htons(1024));
    EXPECT_EQ(reply->from.sin_addr.s_addr, inet_addr("127.0.21.1"));

    host.start();
    ASSERT_TRUE(host.receiveEndpoint(6));
    TestHost other("127.0.21.1");
    other.discover();
    const auto busy = other.receive();
    ASSERT_TRUE(busy);
    EXPECT_EQ(busy->bytes[2], 3) << "running";
}

TEST(Radio, AnswersABroadcastIntoTheLoopbackNet) {
    Radio one(settingsAt("127.0.21.2"), quietSky());
    Radio two(settingsAt("127.0.21.3"), quietSky());
    TestHost host("127.255.255.255");
    host.discover();
    // other radios may run on this machine; ours must be among the answers
    std::vector<std::uint32_t> from;
    while (const auto reply = host.receive(300))
        from.push_back(ntohl(reply->from.sin_addr.s_addr));
    EXPECT_NE(std::find(from.begin(), from.end(), 0x7F001502u), from.end());
    EXPECT_NE(std::find(from.begin(), from.end(), 0x7F001503u), from.end());
}

TEST(Radio, StartStopAndSequenceFromZero) {
    Radio radio(settingsAt("127.0.21.4"), quietSky());
    TestHost host("127.0.21.4");
    for (int round = 0; round < 3; ++round) {
        host.tune(0, 1, 7000000);
        host.start();
        for (std::uint32_t expected = 0; expected < 50; ++expected) {
            const auto got = host.receiveEndpoint(6);
            ASSERT_TRUE(got);
            ASSERT_EQ(got->sequence(), expected);
        }
        host.stop();
        ASSERT_TRUE(eventually([&] { return !radio.streaming(); }));
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        host.drain();
        EXPECT_FALSE(host.receive(100)) << "silent after the stop";
    }
    EXPECT_EQ(radio.statistics().starts, 3);
    EXPECT_EQ(radio.statistics().stops, 3);
}

TEST(Radio, CommandBitsChooseTheStreams) {
    Radio radio(settingsAt("127.0.21.5"), quietSky());
    TestHost host("127.0.21.5");
    const auto endpointsOf = [&](std::uint8_t bits) {
        host.start(bits);
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        host.stop();
        EXPECT_TRUE(eventually([&] { return !radio.streaming(); }));
        int seen = 0;
        while (const auto got = host.receive(50))
            seen |= got->endpoint() == 6 ? 1 : got->endpoint() == 4 ? 2 : 4;
        return seen;
    };
    EXPECT_EQ(endpointsOf(1), 1);
    EXPECT_EQ(endpointsOf(2), 2);
    EXPECT_EQ(endpointsOf(3), 3);
}

TEST(Radio, WidebandQuartersFollowTheSequence) {
    Radio radio(settingsAt("127.0.21.6"), quietSky());
    TestHost host("127.0.21.6");
    host.start();
    for (std::uint32_t expected = 0; expected < 12; ++expected) {
        const auto got = host.receiveEndpoint(4);
        ASSERT_TRUE(got);
        EXPECT_EQ(got->sequence(), expected);
    }
}

TEST(Radio, PaceIsThatOfTheSampleClock) {
    Radio radio(settingsAt("127.0.21.7"), quietSky());
    TestHost host("127.0.21.7");
    host.start();
    EXPECT_NEAR(rateError(host, 48000.0 / 126.0), 0.0, 1e-3);
}

TEST(Radio, PaceAtFourReceiversAnd384Kilohertz) {
    Radio radio(settingsAt("127.0.21.8"), quietSky());
    TestHost host("127.0.21.8");
    host.tune(3, 4, 7000000);
    host.start(0x81);
    const double error = rateError(host, 384000.0 / 38.0);
#ifdef __SANITIZE_THREAD__
    EXPECT_NEAR(error, 0.0, 0.2); // the instrumented synthesis is too slow to hold the pace on a busy machine
#else
    EXPECT_NEAR(error, 0.0, 1e-3);
#endif
}

TEST(Radio, ClockErrorShiftsThePace) {
    auto settings = settingsAt("127.0.21.9");
    settings.clockPpm = 5000.0;
    Radio radio(settings, quietSky());
    TestHost host("127.0.21.9");
    host.start();
    EXPECT_NEAR(rateError(host, 48000.0 / 126.0), 5e-3, 1e-3);
}

TEST(Radio, RateAndReceiverCountMayChangeWhileStreaming) {
    Radio radio(settingsAt("127.0.21.10"), quietSky());
    TestHost host("127.0.21.10");
    host.tune(0, 1, 7000000);
    host.start();
    ASSERT_TRUE(host.receiveEndpoint(6));
    host.tune(2, 3, 7000000);
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    host.drain();
    std::uint32_t expected = 0;
    const double begin = host.receiveEndpoint(6)->seconds;
    int count = 0;
    for (;; ++count) {
        const auto got = host.receiveEndpoint(6);
        ASSERT_TRUE(got);
        if (count > 0) {
            ASSERT_EQ(got->sequence(), expected) << "the sequence goes on";
        }
        expected = got->sequence() + 1;
        if (got->seconds - begin > 0.5)
            break;
    }
    EXPECT_NEAR(count / 0.5, 192000.0 / 50.0, 192000.0 / 50.0 * 0.05);
}

TEST(Radio, SilentRadioAnswersDiscoveryOnly) {
    auto settings = settingsAt("127.0.21.11");
    settings.silent = true;
    Radio radio(settings, quietSky());
    TestHost host("127.0.21.11");
    host.discover();
    ASSERT_TRUE(host.receive());
    host.start();
    EXPECT_FALSE(host.receive(300));
    EXPECT_EQ(radio.statistics().starts, 1);
}

TEST(Radio, WatchdogStopsAStreamThatNobodyFeeds) {
    auto settings = settingsAt("127.0.21.12");
    settings.watchdogSeconds = 0.3;
    Radio radio(settings, quietSky());
    TestHost host("127.0.21.12");
    host.start(3);
    ASSERT_TRUE(host.receiveEndpoint(6));
    EXPECT_TRUE(eventually([&] { return !radio.streaming(); }));
    EXPECT_EQ(radio.statistics().watchdogStops, 1);
    host.drain();
    host.start(0x83);
    std::this_thread::sleep_for(std::chrono::milliseconds(700));
    EXPECT_TRUE(radio.streaming()) << "bit 7 turns the watchdog off";
}

TEST(Radio, CountsTheHostsPacketsAndGaps) {
    Radio radio(settingsAt("127.0.21.13"), quietSky());
    TestHost host("127.0.21.13");
    const TestHost::Control none{0, 0, 0, 0, 4};
    for (const std::uint32_t sequence : {0u, 1u, 2u, 5u, 6u, 0u, 1u})
        host.dataWithSequence(sequence, none, none);
    host.send({1, 2, 3});
    host.send(std::vector<std::uint8_t>(1032, 0xEF));
    ASSERT_TRUE(eventually([&] { return radio.statistics().foreign == 2; }));
    const Statistics s = radio.statistics();
    EXPECT_EQ(s.dataIn, 7);
    EXPECT_EQ(s.sequenceGaps, 1);
    EXPECT_EQ(s.lostIn, 2);
    EXPECT_EQ(s.sequenceRestarts, 1);
    EXPECT_EQ(radio.control().bankCount[0], 14u);
}

TEST(Radio, FaultsAreCountedAndSeen) {
    auto settings = settingsAt("127.0.21.14");
    settings.faults = {parseFault("loss:every=10"), parseFault("duplicate:every=7"),
                       parseFault("garbage:every=25")};
    Radio radio(settings, quietSky());
    TestHost host("127.0.21.14");
    host.start(1);
    std::vector<std::uint32_t> seen;
    int garbage = 0;
    while (seen.empty() || seen.back() < 398) {
        const auto got = host.receive();
        ASSERT_TRUE(got);
        if (got->bytes.size() == 1032 && got->bytes[2] == 1)
            seen.push_back(got->sequence());
        else
            ++garbage;
    }
    // packet k is the (k + 1)th: every tenth is missing, every seventh of the others comes twice
    std::vector<std::uint32_t> expected;
    for (std::uint32_t k = 0; k <= 398; ++k)
        if ((k + 1) % 10 != 0)
            expected.insert(expected.end(), (k + 1) % 7 == 0 ? 2 : 1, k);
    if (seen.size() < expected.size()) // stopped between the two copies of the last one
        expected.pop_back();
    EXPECT_EQ(seen, expected);
    EXPECT_EQ(garbage, 15);
}

TEST(Radio, ControlFramesAreTraced) {
    namespace fs = std::filesystem;
    const std::string tracePath = (fs::temp_directory_path() / "ferrow_sim_trace_test.json").string();
    {
        auto settings = settingsAt("127.0.21.15");
        settings.trace = std::make_shared<ControlTrace>(tracePath);
        Radio radio(settings, quietSky());
        TestHost host("127.0.21.15");
        host.data({0x00, 0, 0, 0, 4}, {0x02, 0x00, 0xD6, 0x93, 0x80});
        for (int i = 0; i < 3; ++i)
            host.data({0x00, 0, 0, 0, 4}, {0x00, 0, 0, 0, 4});
        ASSERT_TRUE(eventually([&] { return radio.statistics().dataIn == 4; }));
    }
    std::ifstream trace(tracePath);
    std::string line;
    std::vector<nlohmann::json> lines;
    while (std::getline(trace, line))
        lines.push_back(nlohmann::json::parse(line));
    ASSERT_EQ(lines.size(), 8u);
    EXPECT_EQ(lines[1].at("c"), (std::vector<int>{2, 0, 0xD6, 0x93, 0x80}));
    EXPECT_EQ(lines[1].at("sequence"), 0);
    EXPECT_EQ(lines[1].at("frame"), 1);
    EXPECT_EQ(lines[4].at("sequence"), 2);
    EXPECT_EQ(lines[4].at("radio"), "127.0.21.15");
    EXPECT_GE(lines[4].at("time_ns").get<std::int64_t>(), lines[0].at("time_ns").get<std::int64_t>());
    fs::remove(tracePath);
}

TEST(Radio, TransmitBufferIsReportedWhileKeyed) {
    Radio radio(settingsAt("127.0.21.16"), quietSky());
    TestHost host("127.0.21.16");
    host.start(1);
    const TestHost::Control keyed{0x01, 0, 0, 0, 4};
    for (int i = 0; i < 8; ++i)
        host.data(keyed, {0x2F, 0, 0, 22, 10});
    int underflow = 0;
    int level = 0;
    for (int i = 0; i < 100; ++i) { // 260 ms: the 1008 samples last 21 ms
        const auto got = host.receiveEndpoint(6);
        ASSERT_TRUE(got);
        for (const std::size_t base : {std::size_t{8}, std::size_t{520}})
            if ((got->bytes[base + 3] & 0xF8) == 0) {
                underflow += got->bytes[base + 6] == 0xC0;
                level = std::max(level, got->bytes[base + 6] < 128 ? int{got->bytes[base + 6]} : 0);
            }
    }
    EXPECT_GT(level, 5);
    EXPECT_EQ(underflow, 1);
    EXPECT_EQ(radio.statistics().txUnderflows, 1);
}

TEST(Radio, AddressInUseIsAnError) {
    Radio first(settingsAt("127.0.21.17"), quietSky());
    try {
        Radio second(settingsAt("127.0.21.17"), quietSky());
        FAIL() << "bound twice";
    } catch (const std::runtime_error& error) {
        EXPECT_NE(std::string(error.what()).find("cannot bind 127.0.21.17:1024"), std::string::npos);
    }
    EXPECT_THROW(Radio(settingsAt("127.0.21"), quietSky()), std::runtime_error);
}

TEST(Radio, CarrierArrivesOverTheWire) {
    const auto sky = buildSky(parseScene(
        R"({"noise_floor": null, "stations": [{"kind": "carrier", "frequency": 14101000, "level": -20}]})",
        "."));
    Radio radio(settingsAt("127.0.21.18"), sky.sky);
    TestHost host("127.0.21.18");
    host.tune(0, 1, 14100000);
    host.start(1);
    for (int i = 0; i < 10; ++i)
        ASSERT_TRUE(host.receiveEndpoint(6));
    const auto got = host.receiveEndpoint(6);
    ASSERT_TRUE(got);
    const auto s24 = [&](std::size_t at) {
        const int v = got->bytes[at] << 16 | got->bytes[at + 1] << 8 | got->bytes[at + 2];
        return static_cast<double>(v >= 0x800000 ? v - 0x1000000 : v);
    };
    std::complex<double> turn = 0.0;
    for (std::size_t i = 0; i < 62; ++i) {
        const std::complex<double> a(s24(16 + 8 * i), s24(19 + 8 * i));
        const std::complex<double> b(s24(24 + 8 * i), s24(27 + 8 * i));
        EXPECT_NEAR(std::abs(a), 52428.8, 2.0);
        turn += b * std::conj(a);
    }
    EXPECT_NEAR(std::arg(turn) / 6.283185307 * 48000.0, -1000.0, 0.5);
}
