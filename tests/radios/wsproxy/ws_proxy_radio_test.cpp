#include "radios/wsproxy/ws_proxy_radio.hpp"
#include "tests/radios/hpsdr/radio_bench.hpp"
#include "tests/radios/wsproxy/proxy_server.hpp"

#include <boost/beast/version.hpp>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace ferrow {
namespace {

using test::ProxyServer;

class WsProxy : public testing::Test {
protected:
    WsProxy() {
        test::startRuntime();
        radio = std::make_shared<WsProxyRadio>(rootSyncTask);
        on([this] {
            radio->URI.setFromHost(server.uri());
            radio->RemoteID.setFromHost(4);
        });
    }

    void on(std::function<void()> work) { test::onContext(radio, std::move(work)); }
    void start() {
        on([this] { radio->start(); });
    }
    void stop() {
        on([this] { radio->stop(); });
    }
    bool eventually(const std::function<bool()>& condition) {
        return ProxyServer::eventually([&] {
            bool holds = false;
            on([&] { holds = condition(); });
            return holds;
        });
    }
    void connect() {
        start();
        ASSERT_TRUE(server.waitFor(1));
    }
    // A start waits for the end of the connection before it.
    void waitForTheEnd() {
        stop();
        on([this] { radio->URI.setFromHost("ws://127.0.0.1:1/"); });
        start();
    }
    // Everything that the radio has said, once its connections have ended.
    std::string said() {
        waitForTheEnd();
        radio.reset(); // ends the last one too
        return testing::internal::GetCapturedStdout();
    }

    ProxyServer server;
    std::shared_ptr<WsProxyRadio> radio;
};

TEST_F(WsProxy, AsksForTheReceiverAndSubscribes) {
    testing::internal::CaptureStdout();
    connect();
    server.sendText(R"({"cmd":"addReceiverResponse","ID":9})");
    ASSERT_TRUE(server.waitFor(2));
    EXPECT_EQ(server.received()[0], R"({"cmd":"addReceiver","ID":4})");
    EXPECT_EQ(server.received()[1], R"({"cmd":"subscribeToIQ","RxID":9,"Enable":true})");
    EXPECT_EQ(server.target, "/iq");
    EXPECT_EQ(server.host, "127.0.0.1:" + std::to_string(server.port));
    EXPECT_EQ(server.agent, BOOST_BEAST_VERSION_STRING);
    stop();
    server.sendText(R"({"cmd":"anything"})");
    EXPECT_TRUE(ProxyServer::eventually([&] { return server.closes == 1; })) << "closed with a word";
    radio.reset();
    const std::string said = testing::internal::GetCapturedStdout();
    std::size_t place = 0;
    for (const char* word : {"start ", "##ws connect", "##ws loop", "##ws closed"}) {
        place = said.find(word, place);
        EXPECT_NE(place, std::string::npos) << word << " in " << said;
    }
}

TEST_F(WsProxy, BlocksReachTheChunkAndSetTheFrequency) {
    connect();
    server.sendBinary(ProxyServer::block(7100000.75, 0.25, -0.5));
    ASSERT_TRUE(eventually([&] { return radio->hwReceivers[0].frequency == 7100000; }));
    // A block fills a whole chunk, which has been dealt out: look at it on its way to a transceiver.
    on([&] {
        ASSERT_EQ(radio->vtrxs.size(), 1u);
        EXPECT_EQ(radio->hwReceivers[0].fill, 0u);
        EXPECT_EQ(radio->hwReceivers[0].chunk.size(), 512u);
    });
    server.sendBinary(ProxyServer::block(7200000, 0.25, -0.5));
    EXPECT_TRUE(eventually([&] { return radio->hwReceivers[0].frequency == 7200000; }));
}

TEST_F(WsProxy, OtherSizesAndKindsAreDropped) {
    connect();
    for (const std::size_t size : {8208, 8210, 1, 0})
        server.sendBinary(ProxyServer::block(1, 0, 0, std::max<std::size_t>(size, 13)).substr(0, size));
    server.sendBinary(ProxyServer::block(2, 0, 0, 8209, 2));
    server.sendBinary(ProxyServer::block(7100000, 0, 0));
    ASSERT_TRUE(eventually([&] { return radio->hwReceivers[0].frequency == 7100000; }));
    EXPECT_EQ(server.connections, 1);
}

TEST_F(WsProxy, TuningBeforeTheAnswerHasReceiver0) {
    connect();
    on([&] {
        radio->hwReceivers[0].frequency = 7123456;
        radio->frequenciesChanged();
    });
    server.sendText(R"({"cmd":"hello"})"); // commands go out when a message has come
    ASSERT_TRUE(server.waitFor(3));
    EXPECT_EQ(server.received()[1], R"({"cmd":"setFrequency","ID":0,"Frequency":14095600})")
        << "of the first transceiver";
    EXPECT_EQ(server.received()[2], R"({"cmd":"setFrequency","ID":0,"Frequency":7123456})");
    server.sendText(R"({"cmd":"addReceiverResponse","ID":-1})");
    ASSERT_TRUE(server.waitFor(4));
    on([&] { radio->frequenciesChanged(); });
    server.sendText(R"({"cmd":"hello"})");
    server.sendText(R"({"cmd":"addReceiverResponse","ID":5})");
    ASSERT_TRUE(server.waitFor(5));
    EXPECT_EQ(server.received()[4], R"({"cmd":"subscribeToIQ","RxID":5,"Enable":true})")
        << "nothing is tuned without a receiver";
}

TEST_F(WsProxy, AFullCommandRingDropsInSilence) {
    connect();
    on([&] {
        for (int i = 0; i < 300; ++i)
            radio->frequenciesChanged();
    });
    server.sendText(R"({"cmd":"hello"})");
    ASSERT_TRUE(server.waitFor(129));
    // What else there were would come before the answer to this.
    server.sendText(R"({"cmd":"addReceiverResponse","ID":9})");
    ASSERT_TRUE(server.waitFor(130));
    EXPECT_EQ(server.received()[129], R"({"cmd":"subscribeToIQ","RxID":9,"Enable":true})")
        << "behind addReceiver and 128 commands";
}

TEST_F(WsProxy, AServerThatDiesLeavesSilenceAndStopAndStartConnectAgain) {
    testing::internal::CaptureStdout();
    connect();
    server.drop();
    ASSERT_TRUE(ProxyServer::eventually([&] { return !server.connected(); })) << "the server's side is gone";
    stop();
    start(); // waits for the end of the first connection
    ASSERT_TRUE(server.waitFor(2));
    EXPECT_EQ(server.connections, 2) << "no connection came by itself";
    EXPECT_EQ(server.received()[1], R"({"cmd":"addReceiver","ID":4})");
    server.sendBinary(ProxyServer::block(7100000, 0, 0));
    EXPECT_TRUE(eventually([&] { return radio->hwReceivers[0].frequency == 7100000; }));
    server.drop();
    const std::string words = said();
    EXPECT_NE(words.find("Error: "), std::string::npos) << words;
    EXPECT_EQ(words.find("##ws closed"), std::string::npos) << words;
}

TEST_F(WsProxy, ManyRestartsGoOnDeliveringSamples) {
    testing::internal::CaptureStdout();
    for (int i = 1; i <= 40; ++i) { // more than a queue has rings for threads
        start();
        ASSERT_TRUE(ProxyServer::eventually([&] { return server.connections == i; })) << i;
        server.sendBinary(ProxyServer::block(7000000 + i, 0, 0));
        ASSERT_TRUE(eventually([&] { return radio->hwReceivers[0].frequency == 7000000 + i; })) << i;
        stop();
        server.drop();
    }
    testing::internal::GetCapturedStdout();
}

TEST_F(WsProxy, BadTextEndsTheThreadWithAnError) {
    testing::internal::CaptureStdout();
    connect();
    server.sendText("no JSON");
    ASSERT_TRUE(ProxyServer::eventually([&] { return !server.connected(); })) << "the client has hung up";
    EXPECT_EQ(server.closes, 0) << "without a word";
    const std::string words = said();
    EXPECT_NE(words.find("Error: "), std::string::npos) << words;
    EXPECT_EQ(words.find("##ws closed"), std::string::npos) << words;
}

TEST_F(WsProxy, NobodyAtTheAddressIsAnErrorWithTheWordConnect) {
    testing::internal::CaptureStdout();
    on([&] { radio->URI.setFromHost("ws://127.0.0.1:1/"); });
    start();
    const std::string words = said();
    const auto error = words.find("Error: ");
    ASSERT_NE(error, std::string::npos) << words;
    EXPECT_NE(words.find("connect", error), std::string::npos) << words;
    EXPECT_EQ(words.find("##ws"), std::string::npos) << words;
    EXPECT_EQ(server.connections, 0);
}

TEST_F(WsProxy, StopWithASilentServerWaitsForOneMoreMessage) {
    connect();
    stop();
    EXPECT_TRUE(server.connected());
    EXPECT_EQ(server.closes, 0);
    server.sendBinary(ProxyServer::block(7100000, 0, 0));
    EXPECT_TRUE(ProxyServer::eventually([&] { return server.closes == 1; }));
    start();
    EXPECT_TRUE(server.waitFor(2));
}

TEST_F(WsProxy, ASecondStartIsLoggedAndHarmless) {
    connect();
    test::LogCapture log;
    start();
    EXPECT_EQ(log.exactly("error", "WsProxyRadio runs already"), 1);
    server.sendBinary(ProxyServer::block(7100000, 0, 0));
    EXPECT_TRUE(eventually([&] { return radio->hwReceivers[0].frequency == 7100000; }));
}

TEST_F(WsProxy, AFirstStartWithATransceiverFailsAndTheLibraryLives) {
    on([&] {
        radio->addVtrx(7100000, 0, 0);
        EXPECT_THROW(radio->start(), std::system_error);
        EXPECT_EQ(radio->vtrxs.size(), 1u);
    });
    EXPECT_EQ(server.connections, 0);
}

TEST_F(WsProxy, FrequenciesThatAreNoNumbersAreLoggedOnce) {
    connect();
    test::LogCapture log;
    for (const double bad : {std::nan(""), std::numeric_limits<double>::infinity(), 1e300})
        server.sendBinary(ProxyServer::block(bad, 0, 0));
    server.sendBinary(ProxyServer::block(7100000, 1e300, std::nan("")));
    EXPECT_TRUE(eventually([&] { return radio->hwReceivers[0].frequency == 7100000; }));
    EXPECT_EQ(log.count("WsProxyRadio has samples of the frequency"), 1);
}

TEST_F(WsProxy, ARadioThatGoesAwayCutsItsConnection) {
    connect();
    server.sendBinary(ProxyServer::block(7100000, 0, 0));
    ASSERT_TRUE(eventually([&] { return radio->hwReceivers[0].frequency == 7100000; }));
    EXPECT_TRUE(server.connected());
    const std::weak_ptr<WsProxyRadio> watched = radio;
    const auto began = std::chrono::steady_clock::now();
    radio.reset(); // with the server silent
    ASSERT_TRUE(ProxyServer::eventually([&] { return watched.expired(); }));
    ASSERT_TRUE(ProxyServer::eventually([&] { return !server.connected(); })) << "the server sees it go";
    EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(2));
    EXPECT_EQ(server.closes, 0) << "there is no time for a word";
    EXPECT_EQ(server.connections, 1);
}

TEST_F(WsProxy, ABlockIsHeardAtTheTunedFrequency) {
    connect();
    std::shared_ptr<vtrx> transceiver;
    on([&] {
        transceiver = radio->vtrxs[0];
        transceiver->vfo.setFromHost(7100000);
    });
    test::onContext(transceiver, [&] {
        transceiver->setModulation(std::make_shared<modDemod>(rootSyncTask));
        transceiver->start();
    });
    for (int i = 0; i < 60; ++i)
        server.sendBinary(ProxyServer::block(7100000, 0.5, 0));
    // A carrier at the centre: 10 log10(10 x 0.25).
    EXPECT_TRUE(ProxyServer::eventually([&] {
        return std::abs(transceiver->signalStrength.value() - 10 * std::log10(2.5)) < 0.01;
    })) << transceiver->signalStrength.value();
}

} // namespace
} // namespace ferrow
