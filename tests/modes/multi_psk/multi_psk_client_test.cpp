// Clients that come and go, ports that are taken, and the end of the object.

#include "core/async/handle.hpp"
#include "tests/modes/multi_psk/link_client.hpp"

#include <chrono>

namespace ferrow {
namespace {

using test::framed;
using test::initBody;
using test::LinkClient;
using test::LinkTest;
using test::placeOf;
using test::Samples;
using test::settle;
using test::waitFor;

// Seconds that `what` takes.
template <class What>
double timeOf(What what) {
    const auto begin = std::chrono::steady_clock::now();
    what();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

// A port that something else listens on.
class Occupied {
public:
    Occupied(const std::string& address, int port)
        : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in place = placeOf(address, port);
        EXPECT_EQ(::bind(socket_, reinterpret_cast<const sockaddr*>(&place), sizeof place), 0);
        EXPECT_EQ(::listen(socket_, 1), 0);
        socklen_t size = sizeof place;
        ::getsockname(socket_, reinterpret_cast<sockaddr*>(&place), &size);
        port_ = ntohs(place.sin_port);
    }
    ~Occupied() { ::close(socket_); }
    int port() const { return port_; }

private:
    int socket_, port_;
};

class LinkClientTest : public LinkTest {
protected:
    bool logged(const std::string& words) {
        return waitFor([&] { return runtime.logged(words); }, 2);
    }

    // Drops every reference to the mode, and waits until it is gone.
    double endOfMode() {
        const std::weak_ptr<MultiPskModDemod> watched = mode;
        return timeOf([&] {
            on(*t, [&] { t->setModulation(nullptr); });
            mode.reset();
            EXPECT_TRUE(waitFor([&] { return watched.expired(); }));
        });
    }
};

TEST_F(LinkClientTest, ASecondInstanceWithTheSamePortTakesTheNextAndSaysSo) {
    static std::atomic<int> told;
    told = 0;
    use();
    EXPECT_EQ(mode->port.value(), 50001);
    auto second = std::make_shared<MultiPskModDemod>(rootSyncTask);
    second->port.bind([](int port) { told = port; }, second.get());
    auto other = listen(kTuned, second);
    settle(rootSyncTask);
    EXPECT_EQ(second->port.value(), 50002);
    pumpUpdates();
    EXPECT_EQ(told, 50002);
    EXPECT_TRUE(LinkClient(address, 50002).heard());
    EXPECT_TRUE(LinkClient(address, 50001).heard());
    // What the first one leaves is free again.
    endOfMode();
    use();
    EXPECT_EQ(mode->port.value(), 50001);
    EXPECT_TRUE(LinkClient(address, 50001).heard());
}

TEST_F(LinkClientTest, APortThatStaysIsNotTold) {
    static std::atomic<int> calls;
    calls = 0;
    use();
    mode->port.bind([](int) { ++calls; }, mode.get());
    pumpUpdates();
    EXPECT_EQ(calls, 0);
}

TEST_F(LinkClientTest, AClientIsLostAndComesBack) {
    use();
    auto client = stream();
    EXPECT_TRUE(mode->connected.value());
    client->close();
    EXPECT_TRUE(waitFor([&] { return !mode->connected.value(); }));
    EXPECT_TRUE(mode->sending.value());
    EXPECT_TRUE(runtime.logged("[fc] [error] tcp read err\n"));
    for (int i = 0; i < 10; ++i)
        receive(Samples(512, 0.0f)); // into the void
    client = connect();
    EXPECT_TRUE(waitFor([&] { return mode->connected.value(); }));
    // What was asked for before still holds, and begins with a whole packet.
    receive(Samples(512, {0, 1e-4f}));
    const std::string body = client->packet();
    EXPECT_EQ(body.substr(0, 8), "TXHWdata");
    EXPECT_EQ(body.size(), 2060u);
}

TEST_F(LinkClientTest, AClientThatGoesWithinABodyIsLostToo) {
    use();
    auto client = connect();
    ASSERT_TRUE(client->send(framed("Pversion").substr(0, 9)));
    client->close();
    EXPECT_TRUE(waitFor([&] { return !mode->connected.value(); }));
    EXPECT_TRUE(runtime.logged("[fc] [error] tcp read err\n"));
    EXPECT_TRUE(runtime.logged("[fc] [error] read_data_err\n"));
    EXPECT_TRUE(connect()->heard());
}

TEST_F(LinkClientTest, AClientThatIsCutOffWhileTheStreamRuns) {
    use();
    for (int round = 0; round < 5; ++round) {
        auto client = stream();
        for (int i = 0; i < 20; ++i)
            receive(Samples(512, 0.0f));
        client->abort();
        for (int i = 0; i < 20; ++i)
            receive(Samples(512, 0.0f));
        EXPECT_TRUE(waitFor([&] { return !mode->connected.value(); }));
    }
    EXPECT_TRUE(connect()->heard());
}

TEST_F(LinkClientTest, ASecondClientWaitsUntilTheFirstHasGone) {
    use();
    auto first = connect();
    LinkClient second = client();
    ASSERT_TRUE(second.connected());
    ASSERT_TRUE(second.send(framed("Pversion")));
    EXPECT_TRUE(second.nothingWaits());
    EXPECT_TRUE(first->heard());
    first->close();
    EXPECT_EQ(second.receive(13).size(), 13u);
}

TEST_F(LinkClientTest, AClientThatDoesNotReadHoldsNobodyUp) {
    use();
    const auto client = stream();
    const Samples block(512, {1e-4f, 1e-4f});
    double slowest = 0;
    for (int i = 0; i < 6000; ++i) // 12 MB, more than any socket takes
        slowest = std::max(slowest, timeOf([&] { receive(block); }));
    EXPECT_LT(slowest, 0.5);
    // Its requests are obeyed all the same, and what it reads at last is whole.
    ASSERT_TRUE(client->send(framed("Bug_on_P")));
    EXPECT_TRUE(waitFor([&] { return !mode->sending.value(); }));
    int packets = 0;
    for (std::string body; !client->nothingWaits(200); ++packets) {
        body = client->packet();
        ASSERT_EQ(body.size(), 2060u);
        ASSERT_EQ(body.substr(0, 8), "TXHWdata");
    }
    EXPECT_GE(packets, asyncTcpIpPacketServer::kMostWaiting);
    EXPECT_LT(packets, 6000);
    EXPECT_TRUE(runtime.logged("packets dropped"));
    EXPECT_TRUE(client->heard());
}

TEST_F(LinkClientTest, TheObjectEndsAtOnceWhateverTheClientDoes) {
    use();
    EXPECT_LT(endOfMode(), 0.5) << "no client";

    use();
    auto client = stream();
    EXPECT_LT(endOfMode(), 0.5) << "streaming";
    EXPECT_TRUE(client->ended());

    use();
    client = connect();
    ASSERT_TRUE(client->send("\x20")); // within a header
    EXPECT_LT(endOfMode(), 0.5) << "half a header";
    EXPECT_TRUE(client->ended());

    use();
    client = stream();
    for (int i = 0; i < 6000; ++i)
        receive(Samples(512, 0.0f));
    EXPECT_LT(endOfMode(), 0.5) << "a client that does not read";

    use();
    EXPECT_EQ(mode->port.value(), 50001);
    EXPECT_TRUE(connect()->heard());
}

// Requests in flight hold references of their own. One object after the other, more than a queue takes
// threads.
TEST_F(LinkClientTest, TheObjectEndsAmidRequests) {
    for (int round = 0; round < 40; ++round) {
        use();
        LinkClient client = this->client();
        std::string heap;
        for (int i = 0; i < 2000; ++i)
            heap += framed("Received");
        client.send(framed("Pversion"));
        EXPECT_EQ(client.receive(13).size(), 13u);
        std::thread talker([&] { client.send(heap); });
        EXPECT_LT(endOfMode(), 0.5);
        talker.join();
    }
}

TEST_F(LinkClientTest, AnObjectThatNeverStartedEndsToo) {
    mode = std::make_shared<MultiPskModDemod>(rootSyncTask);
    EXPECT_LT(timeOf([&] { mode.reset(); }), 0.1);
}

TEST_F(LinkClientTest, APortThatCannotBeOpenedLeavesTheModeInert) {
    const Occupied occupied(address, 0);
    use(occupied.port());
    EXPECT_TRUE(runtime.logged("[fc] [error] listen err Address already in use"));
    mode->sending.setFromHost(true);
    EXPECT_EQ(receive(Samples(512, {0.5f, 0})).size(), 512u);
    EXPECT_FALSE(mode->connected.value());
    EXPECT_LT(endOfMode(), 0.5);
}

TEST_F(LinkClientTest, APortOutsideOfTheRangeLeavesTheModeInert) {
    for (const int bad : {0, -5, 65536, 2147483647}) {
        use(bad);
        EXPECT_EQ(mode->port.value(), bad);
        EXPECT_TRUE(runtime.logged("listen err no port from " + std::to_string(bad) + " on"));
        EXPECT_EQ(receive(Samples(512, {0.5f, 0})).size(), 512u);
        EXPECT_LT(endOfMode(), 0.5);
    }
}

TEST_F(LinkClientTest, AnotherStartKeepsClientAndPortUnlessThePortIsAnother) {
    use();
    const auto client = connect();
    on(*t, [&] { t->setModulation(mode); });
    settle(rootSyncTask);
    EXPECT_TRUE(client->heard());
    EXPECT_EQ(mode->port.value(), 50001);
    on(*mode, [&] { mode->port.setFromHost(50011); });
    EXPECT_TRUE(client->heard());
    on(*t, [&] { t->setModulation(mode); });
    settle(rootSyncTask);
    EXPECT_TRUE(client->ended());
    EXPECT_TRUE(waitFor([&] { return !mode->connected.value(); }));
    EXPECT_TRUE(connect()->heard());
    EXPECT_FALSE(LinkClient(address, 50001).connected());
}

TEST_F(LinkClientTest, ThePortIsTriedAgainByTheNextStart) {
    int port;
    {
        const Occupied occupied(address, 0);
        port = occupied.port();
        use(port);
        EXPECT_FALSE(LinkClient(address, 1).connected());
    }
    on(*t, [&] { t->setModulation(mode); });
    settle(rootSyncTask);
    EXPECT_EQ(mode->port.value(), port);
    EXPECT_TRUE(connect()->heard());
}

TEST_F(LinkClientTest, ListensOnLoopbackOnlyUnlessTheEnvironmentAsks) {
    unsetenv("FERROW_MULTIPSK_ADDRESS");
    EXPECT_EQ(MultiPskModDemod::listenAddress(), "127.0.0.1");
    int free;
    { free = Occupied("127.0.0.1", 0).port(); }
    use(free);
    EXPECT_TRUE(LinkClient("127.0.0.1", free).heard());
    EXPECT_FALSE(LinkClient(address, free).connected());
    endOfMode();
    setenv("FERROW_MULTIPSK_ADDRESS", "0.0.0.0", 1);
    use(free);
    EXPECT_TRUE(LinkClient("127.0.0.1", free).heard());
    EXPECT_TRUE(waitFor([&] { return !mode->connected.value(); }));
    EXPECT_TRUE(LinkClient(address, free).heard());
}

TEST_F(LinkClientTest, AnAddressThatIsNoneLeavesTheModeInert) {
    setenv("FERROW_MULTIPSK_ADDRESS", "localhost.example", 1);
    use();
    EXPECT_TRUE(runtime.logged("[fc] [error] listen err "));
    EXPECT_EQ(receive(Samples(512, {0.5f, 0})).size(), 512u);
}

TEST_F(LinkClientTest, ListensOnAnAddressOfTheNewerKind) {
    const int socket = ::socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in6 place{};
    place.sin6_family = AF_INET6;
    place.sin6_addr = in6addr_loopback;
    if (socket < 0 || ::bind(socket, reinterpret_cast<const sockaddr*>(&place), sizeof place) != 0)
        GTEST_SKIP() << "this system has no IPv6 loopback";
    socklen_t size = sizeof place;
    ::getsockname(socket, reinterpret_cast<sockaddr*>(&place), &size);
    ::close(socket);
    setenv("FERROW_MULTIPSK_ADDRESS", "::1", 1);
    use(ntohs(place.sin6_port));
    const int client = ::socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(::connect(client, reinterpret_cast<const sockaddr*>(&place), sizeof place), 0);
    EXPECT_TRUE(waitFor([&] { return mode->connected.value(); }));
    ::close(client);
}

} // namespace
} // namespace ferrow
