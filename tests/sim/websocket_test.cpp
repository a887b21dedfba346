// The proxy's server against a client of its own: texts, messages, tuning, faults.
#include "sim/websocket/proxy_server.hpp"

#include "sim/scene/build_sky.hpp"
#include "sim/websocket/message.hpp"
#include "sim/websocket/strikes.hpp"

#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/websocket.hpp>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <map>
#include <nlohmann/json.hpp>
#include <numbers>

namespace ferrow::sim::proxy {
namespace {

using boost::asio::ip::tcp;
using nlohmann::json;

std::shared_ptr<const Sky> carriers() {
    return buildSky(parseScene(R"({"noise_floor": null, "stations": [
        {"kind": "carrier", "frequency": 7001500, "level": -20},
        {"kind": "carrier", "frequency": 14000000, "level": -40},
        {"kind": "carrier", "frequency": 14097600, "level": -30},
        {"kind": "carrier", "frequency": 145003000, "level": -20}]})",
                               ""))
        .sky;
}

ServerSettings anyPort(std::vector<std::string> faults = {}) {
    ServerSettings settings;
    settings.port = 0;
    for (const std::string& fault : faults)
        settings.faults.push_back(parseFault(fault));
    return settings;
}

struct Message {
    bool text = false;
    std::string bytes;
    double number(std::size_t at) const {
        double value = 0;
        std::memcpy(&value, bytes.data() + at, sizeof value);
        return value;
    }
    double frequency() const { return number(5); }
    std::vector<std::complex<double>> samples() const {
        std::vector<std::complex<double>> all;
        for (std::size_t at = 17; at < bytes.size(); at += 16)
            all.emplace_back(number(at), number(at + 8));
        return all;
    }
};

class TestClient {
public:
    explicit TestClient(const Server& server, const std::string& target = "/iq") : socket_(io_) {
        const std::string url = server.url();
        const auto colon = url.rfind(':');
        const int port = std::stoi(url.substr(colon + 1));
        socket_.next_layer().connect(
            {boost::asio::ip::make_address("127.0.0.1"), static_cast<std::uint16_t>(port)});
        socket_.handshake("127.0.0.1", target);
    }
    void send(const std::string& text) {
        socket_.text(true);
        socket_.write(boost::asio::buffer(text));
    }
    Message read() {
        boost::beast::flat_buffer buffer;
        socket_.read(buffer);
        return {socket_.got_text(), boost::beast::buffers_to_string(buffer.data())};
    }
    // The next message with samples.
    Message block() {
        for (;;) {
            Message message = read();
            if (!message.text && message.bytes.size() == 8209 && message.bytes[0] == 3)
                return message;
        }
    }
    // Adds and subscribes; the server's number.
    int subscribe(int id = 0) {
        send(R"({"cmd":"addReceiver","ID":)" + std::to_string(id) + "}");
        const Message answer = read();
        EXPECT_TRUE(answer.text);
        const int number = json::parse(answer.bytes).at("ID");
        EXPECT_EQ(answer.bytes, R"({"cmd":"addReceiverResponse","ID":)" + std::to_string(number) + "}");
        send(R"({"cmd":"subscribeToIQ","RxID":)" + std::to_string(number) + R"(,"Enable":true})");
        return number;
    }
    // Tunes, and reads on until samples of that frequency come.
    Message tune(int number, long long frequency) {
        send(R"({"cmd":"setFrequency","ID":)" + std::to_string(number) + R"(,"Frequency":)" +
             std::to_string(frequency) + "}");
        for (int i = 0; i < 300; ++i)
            if (Message message = block(); message.frequency() == static_cast<double>(frequency))
                return message;
        ADD_FAILURE() << "never tuned";
        return {};
    }
    void close() { socket_.close(boost::beast::websocket::close_code::normal); }

private:
    boost::asio::io_context io_;
    boost::beast::websocket::stream<tcp::socket> socket_;
};

// Amplitude at a frequency of I + jQ, Hz.
double amplitudeAt(const std::vector<std::complex<double>>& samples, double frequency) {
    std::complex<double> sum = 0;
    for (std::size_t i = 0; i < samples.size(); ++i)
        sum +=
            samples[i] * std::polar(1.0, -2 * std::numbers::pi * frequency * static_cast<double>(i) / 48000);
    return std::abs(sum) / static_cast<double>(samples.size());
}

TEST(WebsocketServer, SendsBlocksOfTheReceiversFrequency) {
    const Server server(anyPort(), carriers());
    TestClient client(server);
    const int number = client.subscribe(5);
    EXPECT_EQ(client.block().frequency(), 14095600.0) << "before anything was tuned";
    Message first = client.tune(number, 7000000);
    ASSERT_EQ(first.bytes.size(), 8209U);
    std::uint32_t told = 0;
    std::memcpy(&told, first.bytes.data() + 1, 4);
    EXPECT_EQ(told, static_cast<std::uint32_t>(number));
    // Above the centre turns backwards. 512 samples are 16 periods of 1500 Hz.
    std::vector<std::complex<double>> all = client.block().samples();
    ASSERT_EQ(all.size(), 512U);
    EXPECT_NEAR(amplitudeAt(all, -1500), 0.1, 1e-5);
    EXPECT_LT(amplitudeAt(all, 1500), 1e-6);
    // Blocks follow each other without a break.
    for (int i = 0; i < 9; ++i) {
        const auto more = client.block().samples();
        all.insert(all.end(), more.begin(), more.end());
    }
    EXPECT_NEAR(amplitudeAt(all, -1500), 0.1, 1e-5);
    client.tune(number, 145000000);
    EXPECT_NEAR(amplitudeAt(client.block().samples(), -3000), 0.1, 1e-5) << "nothing is folded";
    EXPECT_EQ(client.tune(number, 14000000).frequency(), 14000000.0);
    EXPECT_NEAR(amplitudeAt(client.block().samples(), 0), 0.01, 1e-6);
}

TEST(WebsocketServer, ServesSeveralClientsEachAtItsOwnFrequency) {
    const Server server(anyPort(), carriers());
    TestClient one(server), two(server);
    const int first = one.subscribe(), second = two.subscribe();
    EXPECT_NE(first, second);
    one.tune(first, 7000000);
    two.tune(second, 14000000);
    EXPECT_NEAR(amplitudeAt(one.block().samples(), -1500), 0.1, 1e-5);
    EXPECT_NEAR(amplitudeAt(two.block().samples(), 0), 0.01, 1e-6);
    // Neither tunes the other's.
    two.send(R"({"cmd":"setFrequency","ID":)" + std::to_string(first) + R"(,"Frequency":1})");
    two.tune(second, 14000001);
    EXPECT_EQ(one.block().frequency(), 7000000.0);
    one.close();
    EXPECT_EQ(two.tune(second, 14000002).frequency(), 14000002.0) << "goes on";
    const json stats = server.statistics();
    EXPECT_EQ(stats.at("connections"), 2);
    EXPECT_EQ(stats.at("in").at("add_receiver"), 2);
    EXPECT_EQ(stats.at("in").at("foreign"), 1);
    EXPECT_EQ(stats.at("in").at("closed"), 1);
    EXPECT_EQ(stats.at("clients").size(), 1U);
}

TEST(WebsocketServer, WhatIsNoWishIsCountedAndDoesNoHarm) {
    const Server server(anyPort(), carriers());
    TestClient client(server);
    const std::vector<std::string> strange = {"",
                                              "no JSON",
                                              "[]",
                                              "{}",
                                              R"({"cmd":1})",
                                              R"({"cmd":"hello"})",
                                              R"({"cmd":"addReceiver"})",
                                              R"({"cmd":"addReceiver","ID":"x"})",
                                              R"({"cmd":"subscribeToIQ","RxID":99,"Enable":true})",
                                              R"({"cmd":"setFrequency","ID":99,"Frequency":1})",
                                              std::string(2000, '[')};
    for (const std::string& text : strange)
        client.send(text);
    const int number = client.subscribe();
    client.send(R"({"cmd":"setFrequency","ID":)" + std::to_string(number) + R"(,"Frequency":-1})");
    client.send(R"({"cmd":"setFrequency","ID":)" + std::to_string(number) + R"(,"Frequency":1e300})");
    EXPECT_EQ(client.tune(number, 7000000).frequency(), 7000000.0);
    EXPECT_EQ(server.statistics().at("in").at("foreign"), static_cast<int>(strange.size()) + 2);
}

TEST(WebsocketServer, UnsubscribedIsSilentAndSubscribedAgainGoesOn) {
    const Server server(anyPort(), carriers());
    TestClient client(server);
    const int number = client.subscribe();
    client.block();
    client.send(R"({"cmd":"subscribeToIQ","RxID":)" + std::to_string(number) + R"(,"Enable":false})");
    client.send(R"({"cmd":"addReceiver","ID":1})");
    while (!client.read().text) { // what was on its way
    }
    client.send(R"({"cmd":"addReceiver","ID":2})");
    EXPECT_TRUE(client.read().text) << "nothing in between";
    client.send(R"({"cmd":"subscribeToIQ","RxID":)" + std::to_string(number) + R"(,"Enable":true})");
    EXPECT_EQ(client.block().frequency(), 14095600.0);
}

TEST(WebsocketServer, AnotherPathIsDeclined) {
    const Server server(anyPort(), carriers());
    EXPECT_THROW(TestClient(server, "/other"), boost::system::system_error);
    TestClient client(server, "/iq?id=3");
    client.subscribe();
    EXPECT_EQ(server.statistics().at("in").at("refused"), 1);
}

TEST(WebsocketServer, FaultsStrikeMessages) {
    const Server server(anyPort({"garbage:every=3", "wrong-endpoint:every=10", "short:every=7,bytes=100"}),
                        carriers());
    TestClient client(server);
    client.subscribe();
    std::map<std::size_t, int> sizes;
    int texts = 0, kindTwo = 0;
    for (int i = 0; i < 200; ++i) {
        const Message message = client.read();
        if (message.text) {
            ++texts;
            EXPECT_FALSE(json::accept(message.bytes));
            continue;
        }
        ++sizes[message.bytes.size()];
        kindTwo += message.bytes[0] == 2;
    }
    EXPECT_GT(sizes[8208], 10);
    EXPECT_GT(sizes[8210], 10);
    EXPECT_GT(sizes[100], 3);
    EXPECT_GT(kindTwo, 10);
    EXPECT_GT(texts, 3);
    EXPECT_EQ(sizes.size(), 4U);
}

TEST(WebsocketServer, ARestartCutsAllAndServesAgain) {
    const Server server(anyPort({"restart:every=5"}), carriers());
    TestClient client(server);
    client.subscribe();
    EXPECT_THROW(
        {
            for (int i = 0; i < 100; ++i)
                client.read();
        },
        boost::system::system_error);
    TestClient again(server);
    again.subscribe();
    EXPECT_EQ(again.block().bytes.size(), 8209U);
}

TEST(WebsocketStrikes, StallDuplicateAndLoss) {
    const auto strikes = [](const char* fault, std::int64_t message, double seconds, std::int64_t now) {
        return Strikes({parseFault(fault)}, 1).next(message, seconds, now);
    };
    EXPECT_EQ(strikes("loss:every=2", 1, 0, 0).copies, 0);
    EXPECT_EQ(strikes("loss:every=2", 2, 0, 0).copies, 1);
    EXPECT_EQ(strikes("duplicate:start=1", 0, 0.5, 0).copies, 1);
    EXPECT_EQ(strikes("duplicate:start=1", 0, 1.5, 0).copies, 2);
    const auto late = strikes("jitter:ms=50", 0, 0, 1000).dueNs;
    EXPECT_GE(late, 1000);
    EXPECT_LE(late, 50'001'000);
    Strikes stall({parseFault("stall:start=1,ms=100")}, 1);
    EXPECT_EQ(stall.next(0, 0.5, 0).dueNs, 0);
    EXPECT_EQ(stall.next(1, 1.0, 1'000'000).dueNs, 101'000'000);
    EXPECT_EQ(stall.next(2, 1.1, 50'000'000).dueNs, 101'000'000) << "and those behind it";
    EXPECT_EQ(stall.next(3, 1.2, 102'000'000).dueNs, 0) << "once";
    Strikes gap({parseFault("stall:start=1,ms=100,drop=1")}, 1);
    EXPECT_EQ(gap.next(1, 1.0, 1'000'000).copies, 0);
    EXPECT_EQ(gap.next(2, 1.2, 102'000'000).copies, 1);
    EXPECT_THROW(checkFaults({parseFault("reorder")}), std::invalid_argument);
}

TEST(WebsocketPlace, IsHostPortAndPath) {
    const auto parsed = [](const std::string& text) {
        ServerSettings settings;
        parsePlace(text, settings);
        return settings.host + " " + std::to_string(settings.port) + " " + settings.path;
    };
    EXPECT_EQ(parsed("127.0.0.2"), "127.0.0.2 4810 /iq");
    EXPECT_EQ(parsed("127.0.0.2:99"), "127.0.0.2 99 /iq");
    EXPECT_EQ(parsed("127.0.0.2:0/a/b"), "127.0.0.2 0 /a/b");
    EXPECT_EQ(parsed("127.0.0.2/"), "127.0.0.2 4810 /");
    for (const char* wrong :
         {"", "host", "1.2.3", "127.0.0.1:", "127.0.0.1:x", "127.0.0.1:65536", "127.0.0.1:-1"})
        EXPECT_THROW(parsed(wrong), std::invalid_argument) << wrong;
    ServerSettings settings = anyPort();
    const Server first(settings, carriers());
    settings.port = std::stoi(first.url().substr(first.url().rfind(':') + 1));
    EXPECT_THROW(Server(settings, carriers()), std::runtime_error) << "taken";
}

} // namespace
} // namespace ferrow::sim::proxy
