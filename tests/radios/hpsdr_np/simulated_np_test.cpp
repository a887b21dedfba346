#include "tests/radios/hpsdr_np/np_reception.hpp"

#include <algorithm>
#include <ctime>

namespace ferrow {
namespace {

using namespace test;

const char* const kCarrier = R"({"noise_floor": -140, "stations": [
  {"kind": "carrier", "name": "a", "frequency": 14201000, "level": -40}]})";

double levelDb(const std::vector<double>& sound) {
    double power = 0;
    for (const double x : sound)
        power += x * x;
    return 10 * std::log10(power / static_cast<double>(sound.size()));
}

std::int64_t utcNs() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<std::int64_t>(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}

void carrierAt(int rate) {
    NpSimulator simulator(kCarrier);
    NpReception reception(simulator, rate);
    reception.start();
    reception.add(14200000);
    reception.listen(0, 0.5);
    const auto sound = reception.listen(0, 1);
    ASSERT_GT(sound.size(), 20000u);
    EXPECT_GT(shareAt(sound, 1000), 0.98) << rate;
    // not somewhere near it, nor mirrored to the other sideband
    EXPECT_LT(shareAt(sound, 1010), 0.01) << rate;
    EXPECT_EQ(reception.sequenceErrors, 0);
    EXPECT_EQ(simulator.end()["receivers"][0]["rate"], rate);
}

} // namespace

TEST(SimulatedNpRadio, CarrierAt48kHz) {
    carrierAt(48000);
}
TEST(SimulatedNpRadio, CarrierAt96kHz) {
    carrierAt(96000);
}
TEST(SimulatedNpRadio, CarrierAt192kHz) {
    carrierAt(192000);
}
TEST(SimulatedNpRadio, CarrierAt384kHz) {
    carrierAt(384000);
}
TEST(SimulatedNpRadio, CarrierAt768kHz) {
    carrierAt(768000);
}
TEST(SimulatedNpRadio, CarrierAt1536kHz) {
    carrierAt(1536000);
}

TEST(SimulatedNpRadio, EachReceiverHearsItsOwnBand) {
    // eight bands, a tone of its own in each
    json scene = {{"noise_floor", -140}, {"stations", json::array()}};
    for (int i = 0; i < 8; ++i)
        scene["stations"].push_back({{"kind", "carrier"},
                                     {"name", std::to_string(i)},
                                     {"frequency", 2000000 + 4000000 * i + 500 + 250 * i},
                                     {"level", -40}});
    NpSimulator simulator(scene.dump());
    NpReception reception(simulator, 96000, 8);
    reception.start();
    for (int i = 0; i < 8; ++i)
        reception.add(2000000 + 4000000LL * i);
    reception.listen(7, 0.5);
    for (std::size_t i = 0; i < 8; ++i) {
        const auto sound = reception.listen(i, 0.6);
        ASSERT_GT(sound.size(), 10000u) << i;
        EXPECT_GT(shareAt(sound, 500 + 250 * static_cast<double>(i)), 0.98) << i;
    }
    EXPECT_EQ(reception.sequenceErrors, 0);
    const json stats = simulator.end();
    EXPECT_EQ(stats["control"]["ddc"]["enable"], 255);
}

TEST(SimulatedNpRadio, AReceiverThatTheRadioLacksGetsNoData) {
    NpSimulator simulator(kCarrier, {"--receivers", "1"});
    NpReception reception(simulator, 48000, 2);
    reception.start();
    reception.add(14200000);
    reception.add(7000000);
    EXPECT_GT(reception.listen(0, 0.5).size(), 0u);
    const json stats = simulator.end();
    EXPECT_EQ(stats["control"]["ddc"]["enable"], 3) << "it was asked for";
    EXPECT_EQ(stats["out"]["iq"][1], 0);
    EXPECT_TRUE(reception.audio[1].empty());
    EXPECT_EQ(reception.sequenceErrors, 0);
}

TEST(SimulatedNpRadio, EveryByteOfTheFourPackets) {
    NpSimulator simulator(kCarrier);
    NpReception reception(simulator, 192000, 3);
    HpsdrNpRadio_setrxGain(reception.radio(), -31);
    reception.start();
    reception.add(14200000);
    reception.add(7000000);
    reception.listen(0, 0.5);
    reception.stop();
    json last, firstHigh;
    std::map<std::string, int> sizes;
    library().pumpUntil(
        [&] {
            last = {};
            firstHigh = {};
            for (const json& packet : simulator.trace()) {
                last[packet["packet"].get<std::string>()] = packet;
                if (firstHigh.is_null() && packet["packet"] == "high_priority")
                    firstHigh = packet;
            }
            return last.size() == 4 && last["high_priority"]["bytes"].value("4", 0) == 0;
        },
        5s);
    ASSERT_EQ(last.size(), 4u);
    using Bytes = std::map<std::string, int>;
    const auto bytes = [](const json& packet) { return packet["bytes"].get<Bytes>(); };
    EXPECT_EQ(last["general"]["size"], 60);
    EXPECT_EQ(bytes(last["general"]),
              (Bytes{{"5", 0x04},  {"6", 0x01},  {"7", 0x04},  {"8", 0x02},  {"9", 0x04},  {"10", 0x03},
                     {"11", 0x04}, {"12", 0x01}, {"13", 0x04}, {"14", 0x04}, {"15", 0x04}, {"16", 0x05},
                     {"17", 0x04}, {"18", 0x0B}, {"19", 0x04}, {"20", 0x02}, {"21", 0x04}, {"22", 0x03},
                     {"23", 1},    {"24", 2},    {"26", 16},   {"27", 20},   {"28", 32},   {"37", 8},
                     {"58", 1},    {"59", 3}}));
    EXPECT_EQ(last["duc"]["size"], 60);
    EXPECT_EQ(bytes(last["duc"]), (Bytes{{"4", 1},
                                         {"5", 0xB8},
                                         {"7", 0x02},
                                         {"8", 0x58},
                                         {"9", 25},
                                         {"10", 50},
                                         {"11", 0x01},
                                         {"12", 0x36},
                                         {"13", 20},
                                         {"15", 192},
                                         {"50", 4},
                                         {"51", 23},
                                         {"57", 31},
                                         {"58", 31},
                                         {"59", 31}}));
    EXPECT_EQ(last["ddc"]["size"], 1444);
    EXPECT_EQ(
        bytes(last["ddc"]),
        (Bytes{
            {"4", 2}, {"7", 3}, {"19", 192}, {"22", 24}, {"25", 192}, {"28", 24}, {"31", 192}, {"34", 24}}));
    // Receiver 0 at 14.2 MHz, 1 at 7 MHz, the third place repeats receiver 0, as does the transmitter's.
    Bytes high{{"1432", 0x21}, {"1434", 0x10}, {"1443", 31}};
    const auto word = [&](int at, double hertz) {
        const auto phase = static_cast<std::uint32_t>(std::llround(hertz * 4294967296.0 / 122880000.0));
        for (int i = 0; i < 4; ++i)
            if (const int byte = static_cast<int>(phase >> (24 - 8 * i) & 255))
                high[std::to_string(at + i)] = byte;
    };
    word(9, 14200000);
    word(13, 7000000);
    word(17, 14200000);
    word(329, 14200000);
    EXPECT_EQ(last["high_priority"]["size"], 1444);
    EXPECT_EQ(bytes(last["high_priority"]), high);
    EXPECT_EQ(firstHigh["bytes"]["4"], 1) << "running";
}

TEST(SimulatedNpRadio, PeriodicPacketsFollowTheMicrophone) {
    NpSimulator simulator(kCarrier);
    NpReception reception(simulator, 48000);
    reception.start();
    reception.add(14200000);
    reception.listen(0, 3);
    reception.stop();
    library().pumpUntil([] { return false; }, 300ms); // what is on its way arrives
    const json stats = simulator.end();
    const int microphone = stats["out"]["microphone"];
    EXPECT_GT(microphone, 3 * 700);
    // At start one of each; the stop is one more high priority packet.
    EXPECT_EQ(stats["in"]["ddc"], 1 + (microphone + 16) / 32);
    EXPECT_EQ(stats["in"]["high_priority"], 2 + microphone / 32);
    EXPECT_EQ(stats["in"]["general"], 1);
    EXPECT_EQ(stats["in"]["duc"], 1);
    EXPECT_EQ(stats["in"]["foreign"], 0);
}

TEST(SimulatedNpRadio, AttenuationIsTakenOutOfTheSamples) {
    NpSimulator simulator(kCarrier);
    NpReception reception(simulator, 48000);
    reception.start();
    reception.add(14200000);
    reception.listen(0, 0.5);
    const double plain = levelDb(reception.listen(0, 0.5));
    HpsdrNpRadio_setrxGain(reception.radio(), -20);
    reception.listen(0, 0.5);
    EXPECT_NEAR(levelDb(reception.listen(0, 0.5)), plain, 0.1);
    EXPECT_EQ(simulator.end()["control"]["high_priority"]["attenuators"][0], 20);
}

TEST(SimulatedNpRadio, OverloadComesWithTheStatusPackets) {
    NpSimulator simulator(R"({"noise_floor": -140, "stations": [],
        "telemetry": {"overload": [{"start": 1.0, "end": 1.6}, {"start": 2.2, "end": 1000}]}})");
    NpReception reception(simulator, 48000);
    reception.start();
    reception.add(14200000);
    const auto becomes = [&](bool value) {
        return library().pumpUntil([&] { return reception.overload == value; }, 10s);
    };
    EXPECT_FALSE(reception.overload);
    EXPECT_TRUE(becomes(true));
    EXPECT_TRUE(becomes(false));
    EXPECT_TRUE(becomes(true));
    EXPECT_EQ(reception.overloadChanges, 3);
}

TEST(SimulatedNpRadio, WidebandShowsTheAdcsPeak) {
    // two carriers of -12 and -20 dB of full scale, whose peaks meet within a few packets
    NpSimulator simulator(R"({"noise_floor": -170, "stations": [
        {"kind": "carrier", "name": "a", "frequency": 9870000, "level": -12},
        {"kind": "carrier", "name": "b", "frequency": 31000000, "level": -20}]})");
    NpReception reception(simulator, 48000);
    reception.start();
    ASSERT_TRUE(library().pumpUntil([&] { return reception.peakDb < 0; }, 20s));
    const double expected = 20 * std::log10(std::pow(10, -12 / 20.0) + std::pow(10, -20 / 20.0));
    EXPECT_NEAR(reception.peakDb, expected, 0.1);
}

TEST(SimulatedNpRadio, LossIsCountedExactly) {
    NpSimulator simulator(kCarrier, {"--fault", "loss:every=97,start=0.5,end=2.5"});
    NpReception reception(simulator, 192000, 3);
    reception.start();
    for (const long long vfo : {14200000, 7000000, 21000000})
        reception.add(vfo);
    reception.listen(0, 4);
    const json stats = simulator.end();
    library().pumpUntil([] { return false; }, 100ms);
    const int lost = stats["faults"]["loss"];
    EXPECT_GT(lost, 2 * 192000 / 238 / 97);
    EXPECT_EQ(reception.sequenceErrors, lost);
    std::printf("%d packets lost, %d sequence errors\n", lost, reception.sequenceErrors);
}

TEST(SimulatedNpRadio, DuplicatesAndStrangePortsAreTold) {
    // A duplicate is one gap (its number is not the next) and leaves the expected number right; a packet from
    // port 1034 is released unread.
    NpSimulator simulator(kCarrier, {"--fault", "duplicate:every=100,start=0.3,end=1.3", "--fault",
                                     "wrong-endpoint:endpoint=10,every=3"});
    NpReception reception(simulator, 192000);
    reception.start();
    reception.add(14200000);
    reception.listen(0, 2.5);
    const json stats = simulator.end();
    library().pumpUntil([] { return false; }, 100ms);
    EXPECT_GT(stats["faults"]["duplicate"], 5);
    EXPECT_GT(stats["faults"]["wrong-endpoint"], 300);
    EXPECT_EQ(reception.sequenceErrors, stats["faults"]["duplicate"]);
}

TEST(SimulatedNpRadio, ARestartedRadioIsHeardAfterANewStart) {
    NpSimulator simulator(kCarrier);
    NpReception reception(simulator, 192000);
    reception.start();
    reception.add(14200000);
    ASSERT_GT(shareAt(reception.listen(0, 1), 1000), 0.9);
    simulator.kill();
    simulator.begin();
    library().pumpUntil([] { return false; }, 500ms);
    EXPECT_TRUE(reception.listen(0, 0.5, 500ms).empty()) << "without microphone packets nothing goes out";
    EXPECT_EQ(reception.sequenceErrors, 0);
    Radio_stop(reception.radio());
    Radio_start(reception.radio());
    reception.listen(0, 0.5);
    EXPECT_GT(shareAt(reception.listen(0, 1), 1000), 0.98);
    EXPECT_EQ(reception.sequenceErrors, 1) << "the new radio counts from 0";
}

TEST(SimulatedNpRadio, RetunesGoOutWithinATurnOfTheMicrophone) {
    NpSimulator simulator(kCarrier);
    NpReception reception(simulator, 48000);
    reception.start();
    reception.add(14200000);
    reception.listen(0, 0.5);
    std::vector<std::pair<long long, std::int64_t>> moves;
    void* const vtrx = reception.transceivers[0]->object().get();
    for (int i = 0; i < 20; ++i) {
        const long long vfo = 3000000 + 1000000LL * i;
        moves.emplace_back(vfo, utcNs());
        vtrx_setvfo(vtrx, vfo);
        library().pumpUntil([] { return false; },
                            std::chrono::milliseconds(83 + 7 * i)); // no multiple of a turn
    }
    std::vector<double> milliseconds;
    for (const auto& [vfo, asked] : moves) {
        const auto word =
            static_cast<std::uint32_t>(std::llround(static_cast<double>(vfo) * 4294967296.0 / 122880000.0));
        const auto trace = simulator.trace();
        const auto told = std::find_if(trace.begin(), trace.end(), [&](const json& packet) {
            return packet["packet"] == "high_priority" && packet["fields"]["receiver_words"][0] == word;
        });
        ASSERT_NE(told, trace.end()) << vfo;
        milliseconds.push_back(1e-6 * static_cast<double>(told->at("time_ns").get<std::int64_t>() - asked));
    }
    std::sort(milliseconds.begin(), milliseconds.end());
    double sum = 0;
    for (const double x : milliseconds)
        sum += x;
    std::printf("retune: %.1f ms at least, %.1f on average, %.1f at most\n", milliseconds.front(),
                sum / static_cast<double>(milliseconds.size()), milliseconds.back());
    // 32 microphone packets last 42.7 ms; the machine may be busy
    EXPECT_LT(milliseconds[milliseconds.size() / 2], 1000);
}

} // namespace ferrow
