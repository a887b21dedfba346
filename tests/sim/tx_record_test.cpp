// What the simulated radio keeps of a transmission, and what it tells the host of its transmit buffer.
#include "sim/radio/radio.hpp"
#include "sim/scene/build_sky.hpp"
#include "tests/sim/test_host.hpp"
#include "tests/sim/tx_record.hpp"
#include "tests/soak/undisturbed.hpp"

#include <chrono>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <thread>

using namespace ferrow::sim;
using ferrow::sim::testing::readTxRecord;
using ferrow::sim::testing::readTxRows;
using ferrow::sim::testing::TestHost;
using ferrow::sim::testing::TxRecord;
using ferrow::sim::testing::TxRow;

namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

constexpr TestHost::Control kLatency{0x2F, 0, 0, 22, 10}; // keyed; 22 ms of hang, 10 ms of latency
constexpr TestHost::Control kKeyed{0x01, 0, 0, 0, 4};
constexpr TestHost::Control kIdle{0x00, 0, 0, 0, 4};

class RecordedRadio {
public:
    explicit RecordedRadio(const std::string& address, bool all = false,
                           const std::function<void(RadioSettings&)>& change = {})
        : name_((fs::temp_directory_path() / ("ferrow_tx_" + address)).string()), host(address) {
        RadioSettings settings;
        settings.address = address;
        settings.txRecord = name_;
        settings.txAll = all;
        settings.widebandRate = 0;
        if (change)
            change(settings);
        const auto sky = buildSky(parseScene(R"({"noise_floor": null, "stations": []})", "."));
        radio = std::make_unique<Radio>(settings, sky.sky);
    }
    ~RecordedRadio() {
        radio.reset();
        fs::remove(name_ + ".csv");
        fs::remove(name_ + ".wav");
    }
    TxRecord record() {
        radio->flush();
        return readTxRecord(name_);
    }
    std::vector<TxRow> rows() {
        radio->flush();
        return readTxRows(name_ + ".csv");
    }
    bool eventually(const std::function<bool()>& done) {
        for (int i = 0; i < 600 && !done(); ++i)
            std::this_thread::sleep_for(5ms);
        return done();
    }
    bool received(std::int64_t packets) {
        return eventually([&] { return radio->statistics().dataIn == packets; });
    }

private:
    std::string name_;

public:
    TestHost host;
    std::unique_ptr<Radio> radio;
};

} // namespace

TEST(TxRecorder, SamplesAndControlOfEveryPacketWithPtt) {
    RecordedRadio it("127.0.23.1");
    it.host.data(kIdle, {0x02, 0x00, 0xD6, 0x93, 0x80});
    it.host.data({0x12, 200, 0x08, 0, 0}, kKeyed, 1000);
    it.host.data({0x13, 210, 0x08, 0, 0}, {0x03, 0x00, 0xD6, 0x93, 0x81}, -500);
    it.host.data(kIdle, kIdle);
    ASSERT_TRUE(it.received(4));
    const TxRecord record = it.record();
    ASSERT_EQ(record.rows.size(), 2u) << "only the packets with ptt";
    ASSERT_EQ(record.samples.size(), 252u);
    const TxRow& one = record.rows[0];
    const TxRow& two = record.rows[1];
    EXPECT_EQ(one.event, "data");
    EXPECT_EQ(one.sequence, 1);
    EXPECT_TRUE(one.ptt);
    EXPECT_TRUE(one.onAir);
    EXPECT_TRUE(one.pa);
    EXPECT_EQ(one.drive, 200);
    EXPECT_EQ(one.txFrequency, 0x00D69380u);
    EXPECT_EQ(one.controlA, "12C8080000");
    EXPECT_EQ(one.controlB, "0100000004");
    EXPECT_EQ(one.sample, 0u);
    EXPECT_EQ(one.fill, 126);
    EXPECT_EQ(two.sequence, 2);
    EXPECT_EQ(two.drive, 210);
    EXPECT_EQ(two.txFrequency, 0x00D69381u);
    EXPECT_EQ(two.controlB, "0300D69381");
    EXPECT_EQ(two.sample, 126u);
    EXPECT_GE(two.timeNs, one.timeNs);
    EXPECT_NEAR(static_cast<double>(one.timeNs) * 1e-9, static_cast<double>(std::time(nullptr)), 20);
    for (std::size_t i = 0; i < 252; ++i) { // word 2 left, word 1 right
        const double word = i < 126 ? 1000.0 + static_cast<double>(i) : -500.0 + static_cast<double>(i - 126);
        EXPECT_EQ(record.samples[i], std::complex<double>(-word, word)) << i;
    }
}

TEST(TxRecorder, AllPacketsStartsAndStopsOnDemand) {
    RecordedRadio it("127.0.23.2", true);
    it.host.data(kIdle, kIdle);
    it.host.start(1);
    it.host.data(kKeyed, kLatency);
    ASSERT_TRUE(it.received(2));
    it.host.stop();
    ASSERT_TRUE(it.eventually([&] { return it.radio->statistics().stops == 1; }));
    const TxRecord record = it.record();
    ASSERT_EQ(record.rows.size(), 4u);
    EXPECT_EQ(record.rows[0].event, "data");
    EXPECT_FALSE(record.rows[0].ptt);
    EXPECT_EQ(record.rows[1].event, "start");
    EXPECT_EQ(record.rows[1].sequence, -1);
    EXPECT_TRUE(record.rows[2].onAir);
    EXPECT_EQ(record.rows[3].event, "stop");
    EXPECT_FALSE(record.rows[3].onAir) << "a stopped radio is off the air";
    EXPECT_EQ(record.rows[3].sample, 252u);
}

TEST(TxRecorder, ARadioThatRunsDryLeavesTheAirByItself) {
    RecordedRadio it("127.0.23.3");
    it.host.start(1);
    for (int i = 0; i < 8; ++i)
        it.host.data(kKeyed, kLatency);
    ASSERT_TRUE(it.eventually([&] { return it.radio->statistics().txUnkeyed == 1; }));
    std::vector<TxRow> rows = it.rows();
    ASSERT_EQ(rows.back().event, "unkey");
    EXPECT_FALSE(rows.back().onAir);
    EXPECT_EQ(rows.back().underflows, 1);
    // 8 packets last 21 ms, then 22 ms of hang time pass. A busy machine only makes it later.
    const double after = 1e-6 * static_cast<double>(rows.back().timeNs - rows[rows.size() - 2].timeNs);
    EXPECT_GE(after, 41.0);
    EXPECT_LE(after, 400.0);
    it.host.data(kKeyed, kLatency);
    ASSERT_TRUE(it.received(9));
    EXPECT_TRUE(it.rows().back().onAir) << "the next packet with ptt keys again";
}

TEST(TxRecorder, TheWatchdogOfTheStreamIsARow) {
    RecordedRadio it("127.0.23.4", false, [](RadioSettings& settings) { settings.watchdogSeconds = 0.1; });
    it.host.start(1);
    it.host.data(kKeyed, kLatency);
    ASSERT_TRUE(it.eventually([&] { return it.radio->statistics().watchdogStops == 1; }));
    const auto rows = it.rows();
    EXPECT_EQ(rows.back().event, "watchdog");
    EXPECT_FALSE(rows.back().onAir);
    EXPECT_FALSE(it.radio->streaming());
}

TEST(TxRecorder, OverflowAndUnderflowAreInTheRowsAndOnTheWire) {
    RecordedRadio it("127.0.23.5");
    it.host.start(1);
    for (int i = 0; i < 60; ++i) // 7560 samples at once; 4096 fit
        it.host.data(kKeyed, kLatency);
    int overflow = 0, underflow = 0, highest = 0;
    for (int i = 0; i < 400 && underflow == 0; ++i) {
        const auto got = it.host.receiveEndpoint(6);
        ASSERT_TRUE(got);
        for (const std::size_t base : {std::size_t{8}, std::size_t{520}}) {
            if ((got->bytes[base + 3] & 0xF8) != 0)
                continue;
            const int report = got->bytes[base + 6];
            overflow += report == 0x80;
            underflow += report == 0xC0;
            highest = std::max(highest, report < 128 ? report : 0);
        }
    }
    EXPECT_GE(overflow, 1);
    EXPECT_EQ(underflow, 1);
    EXPECT_GE(highest, 100) << "of 127";
    const auto rows = it.rows();
    const auto fullest = std::max_element(rows.begin(), rows.end(),
                                          [](const auto& a, const auto& b) { return a.fill < b.fill; });
    EXPECT_NEAR(fullest->fill, 4096, 200);
    EXPECT_GT(rows.back().overflows, 0);
    EXPECT_EQ(it.radio->statistics().txUnderflows, 1);
}

TEST(TxRecorder, TheFillFollowsTheRadiosOwnClock) {
    // Two hundredths fast: in the time of 80 packets at exactly 48 kHz it takes 202 samples more than it
    // gets.
    constexpr int kFirst = 12, kPaced = 100, kSpan = 20;
    const std::vector<TxRow> rows = ferrow::soak::undisturbed(20, [] { // the buffer holds 31 ms
        RecordedRadio it("127.0.23.6", false, [](RadioSettings& settings) { settings.clockPpm = 20000; });
        it.host.start(1);
        const auto begin = std::chrono::steady_clock::now();
        for (int i = 0; i < kFirst; ++i)
            it.host.data(kKeyed, kLatency);
        for (int i = 1; i <= kPaced; ++i) {
            std::this_thread::sleep_until(begin + std::chrono::nanoseconds(2'625'000LL * i));
            it.host.data(kKeyed, kLatency);
            if (i % 50 == 0)
                it.host.drain();
        }
        EXPECT_TRUE(it.received(kFirst + kPaced));
        return it.rows();
    });
    ASSERT_GE(rows.size(), static_cast<std::size_t>(kFirst + kPaced));
    const auto median = [&](std::size_t from) {
        std::vector<double> fills;
        for (std::size_t i = from; i < from + kSpan; ++i)
            fills.push_back(rows[i].fill);
        std::nth_element(fills.begin(), fills.begin() + kSpan / 2, fills.end());
        return fills[kSpan / 2];
    };
    EXPECT_NEAR(median(rows.size() - kPaced) - median(rows.size() - kSpan), (kPaced - kSpan) * 126 * 0.02,
                60);
}

TEST(TxBufferModel, RunsDryAndLeavesTheAirOnce) {
    TxBuffer buffer;
    buffer.key(true, 10, 22);
    buffer.fill(480);
    buffer.drain(0.010, 1.0);
    EXPECT_TRUE(buffer.onAir());
    EXPECT_EQ(buffer.underflows(), 0) << "exactly empty is no underflow";
    buffer.drain(0.021, 1.0);
    EXPECT_TRUE(buffer.onAir());
    EXPECT_EQ(buffer.underflows(), 1);
    EXPECT_FALSE(buffer.takeUnkeyed());
    buffer.drain(0.002, 1.0);
    EXPECT_FALSE(buffer.onAir());
    EXPECT_TRUE(buffer.takeUnkeyed());
    EXPECT_FALSE(buffer.takeUnkeyed());
    buffer.drain(1.0, 1.0);
    EXPECT_FALSE(buffer.takeUnkeyed());
}

TEST(TxBufferModel, PacketsThatNeverReachTheLatencyDoNotHoldIt) {
    TxBuffer buffer;
    buffer.key(true, 10, 22);
    buffer.fill(126);
    buffer.drain(0.020, 1.0);
    buffer.fill(126);
    buffer.drain(0.020, 1.0);
    EXPECT_TRUE(buffer.onAir()) << "each packet gives it the hang time anew";
    buffer.drain(0.003, 1.0);
    EXPECT_FALSE(buffer.onAir());
    EXPECT_EQ(buffer.underflows(), 0);
}
