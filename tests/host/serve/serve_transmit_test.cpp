// Who may transmit through ferrow serve, for how long, and what then is on the air.
#include "tests/host/on_air.hpp"
#include "tests/host/serve/serve_client.hpp"

#include <cmath>
#include <numbers>

using namespace ferrow::test;
using namespace std::chrono_literals;

namespace {

bool onAirAt(RecordingRadio& radio, std::uint32_t frequency) {
    for (int i = 0; i < 500; ++i) {
        for (const TxRow& row : radio.rows())
            if (row.event == "data" && row.ptt && row.txFrequency == frequency)
                return true;
        std::this_thread::sleep_for(20ms);
    }
    return false;
}

const std::vector<std::string> kTransmit = {"--transmit", "--rate", "48"};

double utcSeconds() {
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

bool keyed(ServeListener& listener, bool on) {
    return listener.next("transmit", [on](const json& t) { return t.at("keyed") == on; }).is_object();
}

// UTC of the last packet with ptt.
double lastKeyed(const TxRecord& record) {
    double last = 0;
    for (const TxRow& row : record.packets())
        if (row.ptt)
            last = 1e-9 * static_cast<double>(row.timeNs);
    return last;
}

// Keeps a key by pings, as the page does.
class Pinging {
public:
    explicit Pinging(ServeListener& listener)
        : thread_([&listener](const std::stop_token& stop) {
              while (!stop.stop_requested()) {
                  listener.send({{"do", "ping"}, {"t", 1}});
                  std::this_thread::sleep_for(100ms);
              }
          }) {}

private:
    std::jthread thread_;
};

double levelAt(const TxRecord& record, std::size_t begin, std::size_t end, double frequency) {
    std::complex<double> sum = 0;
    for (std::size_t i = begin; i < end; ++i)
        sum += std::complex<double>(record.samples[i]) *
               std::polar(1.0, -2 * std::numbers::pi * frequency * static_cast<double>(i) / 48000);
    return std::abs(sum) / static_cast<double>(end - begin);
}

} // namespace

TEST(ServeTransmit, ACarrierComesAndGoes) {
    RecordingRadio radio("127.63.2.1", {"--tx-all"});
    Serving serving("127.63.2.1", kTransmit);
    ServeListener listener(serving), other(serving);
    EXPECT_EQ(listener.next("hello").at("transmit").at("allowed"), true);
    const int id = listener.add(14200000, "usb");
    const int foreign = other.add(14100000, "usb");
    {
        const json error = other.ask({{"do", "tune"}, {"id", id}, {"on", true}}, "error");
        EXPECT_EQ(error.at("about"), "tune") << "another's transceiver";
    }
    listener.send({{"do", "tune"}, {"id", id}, {"on", true}});
    {
        const Pinging alive(listener);
        ASSERT_TRUE(keyed(listener, true));
        const json told = other.next("transmit", [](const json& t) { return t.at("keyed") == true; });
        EXPECT_EQ(told.at("mine"), false);
        EXPECT_TRUE(told.at("owner").is_number());
        bool same = false;
        for (int i = 0; i < 200 && !same; ++i) { // it is renewed a few times a second
            same = serving.status().at("transmit").at("owner") == told.at("owner");
            std::this_thread::sleep_for(20ms);
        }
        EXPECT_TRUE(same);
        // One at a time.
        const json error = other.ask({{"do", "tune"}, {"id", foreign}, {"on", true}}, "error");
        EXPECT_EQ(error.at("about"), "tune");
        ASSERT_TRUE(radio.keyedFor(400));
    }
    listener.send({{"do", "tune"}, {"id", id}, {"on", false}});
    ASSERT_TRUE(keyed(listener, false));
    // Now the other may.
    other.send({{"do", "tune"}, {"id", foreign}, {"on", true}});
    ASSERT_TRUE(keyed(other, true));
    EXPECT_TRUE(onAirAt(radio, 14100000));
    other.send({{"do", "stop"}});
    ASSERT_TRUE(keyed(other, false));
    EXPECT_EQ(serving.end().code, 0);
    const TxRecord record = radio.finish();
    const auto presses = pressesOf(record);
    std::set<std::uint32_t> frequencies;
    for (const Press& press : presses)
        frequencies.insert(static_cast<std::uint32_t>(press.packets.back().txFrequency));
    EXPECT_EQ(frequencies, (std::set<std::uint32_t>{14200000, 14100000}));
    ASSERT_FALSE(presses.empty());
    EXPECT_NEAR(std::abs(record.samples[presses[0].begin + 20000]), 0.99 * 32766, 2);
    EXPECT_FALSE(record.rows.back().onAir);
}

// Who says nothing for a second has lost the key.
TEST(ServeTransmit, SilenceLosesTheKey) {
    RecordingRadio radio("127.63.2.2");
    Serving serving("127.63.2.2", kTransmit);
    ServeListener listener(serving);
    const int id = listener.add(14200000, "usb");
    listener.send({{"do", "tune"}, {"id", id}, {"on", true}});
    ASSERT_TRUE(keyed(listener, true));
    {
        const Pinging alive(listener);
        std::this_thread::sleep_for(2s);
    }
    listener.ask({{"do", "ping"}, {"t", 1}}, "pong");
    const double last = utcSeconds();
    EXPECT_EQ(listener.next("error").at("about"), "tune");
    ASSERT_TRUE(keyed(listener, false));
    serving.end();
    const double off = lastKeyed(radio.finish());
    EXPECT_GT(off, last + 0.8);
    EXPECT_LT(off, last + 1.5);
}

TEST(ServeTransmit, ALostConnectionLosesTheKey) {
    RecordingRadio radio("127.63.2.3");
    Serving serving("127.63.2.3", kTransmit);
    double cut = 0;
    {
        ServeListener listener(serving);
        const int id = listener.add(14200000, "usb");
        listener.send({{"do", "tune"}, {"id", id}, {"on", true}});
        ASSERT_TRUE(keyed(listener, true));
        ASSERT_TRUE(radio.keyedFor(20));
        listener.send({{"do", "ping"}, {"t", 1}});
        cut = utcSeconds();
        listener.cut();
    }
    for (int i = 0; i < 500 && serving.status().at("transmit").at("keyed") == true; ++i)
        std::this_thread::sleep_for(10ms);
    EXPECT_EQ(serving.status().at("transmit").at("keyed"), false);
    EXPECT_TRUE(serving.status().at("transmit").at("owner").is_null());
    serving.end();
    const double off = lastKeyed(radio.finish());
    EXPECT_GT(off, 0);
    EXPECT_LT(off, cut + 1);
}

TEST(ServeTransmit, ARemovedTransceiverIsOffTheAir) {
    RecordingRadio radio("127.63.2.4");
    Serving serving("127.63.2.4", kTransmit);
    ServeListener listener(serving);
    const int id = listener.add(14200000, "usb");
    const Pinging alive(listener);
    listener.send({{"do", "tune"}, {"id", id}, {"on", true}});
    ASSERT_TRUE(keyed(listener, true));
    EXPECT_EQ(listener.ask({{"do", "remove"}, {"id", id}}, "removed").at("id"), id);
    EXPECT_TRUE(serving.waitMetric("ferrow_keyed", 0));
    const int next = listener.add(14200000, "cw");
    listener.send({{"do", "send"}, {"id", next}, {"text", "TEST TEST TEST TEST"}});
    ASSERT_TRUE(keyed(listener, true));
    // Another mode ends it too.
    listener.send({{"do", "set"}, {"id", next}, {"mode", "usb"}});
    ASSERT_TRUE(keyed(listener, false));
    EXPECT_EQ(serving.end().code, 0);
}

TEST(ServeTransmit, ATextGoesOutAndEndsByItself) {
    RecordingRadio radio("127.63.2.5");
    Serving serving("127.63.2.5", kTransmit);
    ServeListener listener(serving);
    const int id = listener.add(14030000, "cw");
    const Pinging alive(listener);
    EXPECT_EQ(listener.ask({{"do", "send"}, {"id", id}, {"text", "E\u00c4"}}, "error").at("about"), "send");
    listener.send({{"do", "send"}, {"id", id}, {"text", "TEST"}});
    ASSERT_TRUE(keyed(listener, true));
    ASSERT_TRUE(keyed(listener, false));
    std::string sent;
    for (const json& text : listener.texts())
        if (text.at("is") == "sent")
            sent += text.at("text").get<std::string>();
    EXPECT_EQ(sent, "TEST");
    // What was stopped does not come out with the next text.
    listener.send({{"do", "send"}, {"id", id}, {"text", "EEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEE"}});
    ASSERT_TRUE(keyed(listener, true));
    listener.next("sent");
    listener.send({{"do", "stop"}});
    ASSERT_TRUE(keyed(listener, false));
    listener.ask({{"do", "ping"}, {"t", 7}}, "pong");
    const std::size_t before = listener.texts().size();
    listener.send({{"do", "send"}, {"id", id}, {"text", "T"}});
    ASSERT_TRUE(keyed(listener, true));
    ASSERT_TRUE(keyed(listener, false));
    sent.clear();
    const auto texts = listener.texts();
    for (std::size_t i = before; i < texts.size(); ++i)
        if (texts[i].at("is") == "sent")
            sent += texts[i].at("text").get<std::string>();
    EXPECT_EQ(sent, "T");
    EXPECT_EQ(serving.end().code, 0);
}

TEST(ServeTransmit, AVoiceOfTheListenerIsOnTheAir) {
    RecordingRadio radio("127.63.2.6");
    Serving serving("127.63.2.6", kTransmit);
    ServeListener listener(serving);
    const int id = listener.add(14200000, "usb");
    listener.send({{"do", "key"}, {"id", id}, {"on", true}});
    // A tone of 1200 Hz, half of full scale, in pieces of 20 ms.
    const auto began = Clock::now();
    for (std::uint32_t n = 0; n < 100; ++n) {
        std::vector<std::uint8_t> bytes(ferrow::serve::kMicrophoneHead + 2 * 960);
        bytes[0] = 3;
        bytes[1] = static_cast<std::uint8_t>(id);
        std::memcpy(&bytes[4], &n, sizeof n);
        for (std::uint32_t i = 0; i < 960; ++i) {
            const double phase = 2 * std::numbers::pi * 1200 * (n * 960.0 + i) / 48000;
            const auto sample = static_cast<std::int16_t>(16384 * std::sin(phase));
            std::memcpy(&bytes[ferrow::serve::kMicrophoneHead + 2 * i], &sample, sizeof sample);
        }
        ASSERT_TRUE(listener.sendBinary(bytes));
        std::this_thread::sleep_until(began + 20ms * (n + 1));
    }
    listener.send({{"do", "key"}, {"id", id}, {"on", false}});
    ASSERT_TRUE(keyed(listener, true));
    ASSERT_TRUE(keyed(listener, false));
    // It receives again as before.
    listener.send({{"do", "audio"}, {"format", "pcm"}});
    EXPECT_TRUE(listener.waitAudio(id, 20));
    EXPECT_EQ(serving.end().code, 0);
    const TxRecord record = radio.finish();
    const auto presses = pressesOf(record);
    ASSERT_FALSE(presses.empty());
    const Press& press = presses[0];
    ASSERT_GT(press.end - press.begin, 60000U);
    const std::size_t begin = press.begin + 30000, end = begin + 24000;
    const double wanted = levelAt(record, begin, end, 1200), mirror = levelAt(record, begin, end, -1200);
    const double both = std::max(wanted, mirror), none = std::min(wanted, mirror);
    EXPECT_NEAR(both / 32767, 0.35, 0.05);
    EXPECT_LT(20 * std::log10((none + 1e-9) / both), -40);
}

TEST(ServeTransmit, AStraightKeyKeysTheCarrier) {
    RecordingRadio radio("127.63.2.7");
    Serving serving("127.63.2.7", kTransmit);
    ServeListener listener(serving);
    const int id = listener.add(14030000, "cw");
    const Pinging alive(listener);
    for (int i = 0; i < 3; ++i) {
        listener.send({{"do", "key"}, {"id", id}, {"on", true}});
        std::this_thread::sleep_for(100ms);
        listener.send({{"do", "key"}, {"id", id}, {"on", false}});
        std::this_thread::sleep_for(60ms);
    }
    ASSERT_TRUE(keyed(listener, false));
    for (const json& text : listener.texts())
        EXPECT_NE(text.at("is"), "error") << text;
    EXPECT_EQ(serving.end().code, 0);
    const TxRecord record = radio.finish();
    int elements = 0;
    bool on = false;
    for (std::size_t i = 0; i < record.samples.size(); ++i) {
        const double level = std::abs(record.samples[i]);
        if (!on && level > 20000)
            ++elements;
        if (level > 20000 || level < 2000)
            on = level > 20000;
    }
    EXPECT_EQ(elements, 3);
}

TEST(ServeTransmit, ATransmissionHasItsLimit) {
    RecordingRadio radio("127.63.2.8");
    Serving serving("127.63.2.8", {"--transmit", "--rate", "48", "--limit", "1.5"});
    ServeListener listener(serving);
    const int id = listener.add(14200000, "usb");
    const Pinging alive(listener);
    const auto began = Clock::now();
    listener.send({{"do", "tune"}, {"id", id}, {"on", true}});
    ASSERT_TRUE(keyed(listener, true));
    EXPECT_EQ(listener.next("error").at("about"), "tune");
    ASSERT_TRUE(keyed(listener, false));
    EXPECT_GT(Clock::now() - began, 1400ms);
}

TEST(ServeTransmit, NothingIsSentWithoutAWatchdog) {
    RecordingRadio radio("127.63.2.9");
    Serving serving("127.63.2.9", kTransmit);
    ServeListener listener(serving);
    const int id = listener.add(14200000, "usb");
    const Pinging alive(listener);
    listener.send({{"do", "tune"}, {"id", id}, {"on", true}});
    ASSERT_TRUE(keyed(listener, true));
    const std::string process = std::to_string(serving.process().pid());
    std::ifstream file("/proc/" + process + "/task/" + process + "/children");
    pid_t guard = 0;
    ASSERT_TRUE(file >> guard);
    kill(guard, SIGKILL);
    const json told = listener.next("transmit", [](const json& t) { return t.at("allowed") == false; });
    ASSERT_TRUE(told.is_object());
    EXPECT_EQ(listener.ask({{"do", "tune"}, {"id", id}, {"on", true}}, "error").at("about"), "tune");
    // It goes on receiving: the radio that had to be stopped is started again.
    listener.send({{"do", "audio"}, {"format", "pcm"}});
    EXPECT_TRUE(listener.waitAudio(id, 20));
    EXPECT_EQ(serving.end().code, 0);
    EXPECT_FALSE(radio.finish().rows.back().onAir);
}
