#include "radios/transport/comms_loop.hpp"

#include "radios/transport/datagram_socket.hpp"
#include "tests/radios/log_capture.hpp"
#include "tests/radios/udp_peer.hpp"

#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace ferrow {
namespace {

using test::LogCapture;
using test::UdpPeer;
using Clock = std::chrono::steady_clock;

struct Hooks {
    int realtimeError = 0;
    std::function<void(int, long long)> onPost = [](int, long long) {};
    std::vector<std::string> dumps;

    int enterRealtime() { return realtimeError; }
    void post(int slot, long long time) { onPost(slot, time); }
    void dump(const char* where, const char* what) { dumps.push_back(std::string(where) + " " + what); }
};

// A socket of scripted results, which ends the loop behind the last of them.
struct ScriptedSocket {
    CommsState& state;
    std::vector<int> script; // −2: raise
    std::size_t at = 0;
    bool raiseOnRelease = false;
    bool raiseOnSend = false;
    int sendResult = 0;
    std::vector<int> released{}, sent{}, batches{};

    int receive(int maxResults) {
        batches.push_back(maxResults);
        if (at + 1 >= script.size())
            state.exit = true;
        const int slot = script[at++];
        if (slot == -2)
            throw 5;
        return slot;
    }
    void release(int slot) {
        released.push_back(slot);
        if (raiseOnRelease)
            throw std::runtime_error("release");
    }
    int send(int slot) {
        sent.push_back(slot);
        if (raiseOnSend)
            throw std::runtime_error("send");
        return sendResult;
    }
};

TEST(CommsLoop, OneSendARoundAndEveryReleaseOfTheRing) {
    CommsState state;
    ScriptedSocket socket{state, {-1, -1, -1}};
    for (int i = 0; i < 3; ++i)
        state.sendRing.push(10 + i);
    for (int i = 0; i < 5; ++i)
        state.releaseRing.push(20 + i);
    Hooks hooks;
    state.batch = 8;
    rxCommsLoopRIO(socket, state, hooks);
    EXPECT_EQ(socket.sent, (std::vector<int>{10, 11, 12}));
    EXPECT_EQ(socket.released, (std::vector<int>{20, 21, 22, 23, 24}));
    EXPECT_EQ(socket.batches, (std::vector<int>{8, 8, 8}));
    EXPECT_EQ(state.sentPackets, 3u);
    EXPECT_EQ(state.receivedPackets, 0u);
}

TEST(CommsLoop, WhatIsQueuedAtTheEndIsStillSent) {
    CommsState state;
    ScriptedSocket socket{state, {-1}};
    for (int i = 0; i < 3; ++i)
        state.sendRing.push(i);
    Hooks hooks;
    rxCommsLoopRIO(socket, state, hooks);
    EXPECT_EQ(socket.sent, (std::vector<int>{0, 1, 2}));
}

TEST(CommsLoop, PacketsGoToTheRadioWhileRunningWithTheirTime) {
    CommsState state;
    state.running = true;
    ScriptedSocket socket{state, {4, 5, -1}};
    Hooks hooks;
    std::vector<int> posted;
    const long long before = wallClock100ns();
    hooks.onPost = [&](int slot, long long time) {
        posted.push_back(slot);
        EXPECT_GE(time, before);
        EXPECT_LE(time, wallClock100ns());
    };
    rxCommsLoopRIO(socket, state, hooks);
    EXPECT_EQ(posted, (std::vector<int>{4, 5}));
    EXPECT_TRUE(socket.released.empty()) << "the slot is the radio's until it pushes it on the release ring";
    EXPECT_EQ(state.receivedPackets, 2u);
    EXPECT_GT(before, 17000000000000000LL) << "units of 100 ns since 1970";
}

TEST(CommsLoop, ASendThatFailsCountsAndOneThatRaisesDoesNot) {
    CommsState state;
    ScriptedSocket failing{state, {-1}};
    failing.sendResult = -1;
    state.sendRing.push(1);
    Hooks hooks;
    rxCommsLoopRIO(failing, state, hooks);
    EXPECT_EQ(state.sentPackets, 1u);

    CommsState other;
    ScriptedSocket raising{other, {-1}};
    raising.raiseOnSend = true;
    other.sendRing.push(1);
    rxCommsLoopRIO(raising, other, hooks);
    EXPECT_EQ(other.sentPackets, 0u);
}

TEST(CommsLoop, ExceptionsOfTheStepsAreLoggedAndTheLoopGoesOn) {
    CommsState state;
    ScriptedSocket socket{state, {-2, -2, 3}};
    socket.raiseOnRelease = true;
    socket.raiseOnSend = true;
    state.releaseRing.push(1);
    state.sendRing.push(2);
    state.running = true;
    Hooks hooks;
    int posted = 0;
    hooks.onPost = [&](int, long long) { ++posted; };
    LogCapture log;
    rxCommsLoopRIO(socket, state, hooks);
    EXPECT_EQ(log.exactly("error", "rxCommsLoopRIO rx"), 2);
    EXPECT_EQ(log.exactly("error", "rxCommsLoopRIO release rx "), 1);
    EXPECT_EQ(log.exactly("error", "rxCommsLoopRIO send"), 1);
    EXPECT_EQ(posted, 1);
}

TEST(CommsLoop, ExceptionsOfTheRoundAreLoggedAndTheLoopGoesOn) {
    CommsState state;
    ScriptedSocket socket{state, {1, 2, 3}};
    state.running = true;
    Hooks hooks;
    int posted = 0;
    hooks.onPost = [&](int slot, long long) {
        ++posted;
        if (slot == 1)
            throw std::runtime_error("no room");
        if (slot == 2)
            throw 7;
    };
    LogCapture log;
    rxCommsLoopRIO(socket, state, hooks);
    EXPECT_EQ(log.exactly("trace", "rxCommsLoopRIOx no room"), 1);
    EXPECT_EQ(log.exactly("error", "rxCommsLoopRIO ??"), 1);
    EXPECT_EQ(hooks.dumps, (std::vector<std::string>{"rxCommsLoopRIO ??"}));
    EXPECT_EQ(posted, 3);
}

TEST(CommsLoop, WithoutRealTimePriorityItRunsAndSaysSo) {
    CommsState state;
    ScriptedSocket socket{state, {-1}};
    Hooks hooks;
    hooks.realtimeError = 1;
    LogCapture log;
    rxCommsLoopRIO(socket, state, hooks);
    EXPECT_EQ(log.exactly("trace", "sothreadPool::worker() setmm priority failed 1"), 1);
    EXPECT_EQ(socket.batches.size(), 1u);
}

// The loop on a real socket in a thread of its own.
struct Running {
    UdpPeer peer{"127.0.0.7"};
    DatagramSocket socket;
    CommsState state;
    Hooks hooks;
    std::thread thread;

    explicit Running(int slots) {
        socket.remotePort = peer.port();
        EXPECT_EQ(socket.openConnected(peer.address(), slots), 0);
    }
    void go() {
        thread = std::thread([this] { rxCommsLoopRIO(socket, state, hooks); });
    }
    ~Running() {
        state.exit = true;
        if (thread.joinable())
            thread.join();
    }
    bool waitFor(const std::function<bool()>& done) {
        for (int i = 0; i < 2000 && !done(); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        return done();
    }
};

TEST(CommsLoop, ReceiveAfter10msWithoutTrafficReturnsMinus1WithTheSendRingStillServed) {
    Running link(8);
    link.go();
    // No packet ever comes from the peer, and yet each queued packet leaves within about 10 ms.
    for (int i = 0; i < 5; ++i) {
        const int slot = link.socket.allocateSend(64);
        ASSERT_TRUE(link.state.sendRing.push(slot));
        EXPECT_TRUE(link.peer.receive(500));
    }
    EXPECT_TRUE(link.waitFor([&] { return link.state.sentPackets == 5u; }));
    EXPECT_EQ(link.state.receivedPackets, 0u);
}

TEST(CommsLoop, AfterStopArrivingPacketsCycleThroughReceiveAndReleaseWithoutReachingTheRadio) {
    Running link(4);
    std::atomic<int> posted{0};
    link.hooks.onPost = [&](int slot, long long) {
        ++posted;
        link.state.releaseRing.push(slot);
    };
    link.go();
    const std::vector<std::uint8_t> packet(1032, 1);
    // Ten times as many as there are slots.
    for (unsigned i = 1; i <= 40; ++i) {
        link.peer.sendTo(link.socket.localPort(), packet);
        ASSERT_TRUE(link.waitFor([&] { return link.state.receivedPackets == i; }));
    }
    EXPECT_EQ(posted, 0);
    link.state.running = true;
    for (int i = 1; i <= 40; ++i) {
        link.peer.sendTo(link.socket.localPort(), packet);
        ASSERT_TRUE(link.waitFor([&] { return posted == i; }));
    }
    link.state.running = false;
    link.peer.sendTo(link.socket.localPort(), packet);
    EXPECT_TRUE(link.waitFor([&] { return link.state.receivedPackets == 81u; }));
    EXPECT_EQ(posted, 40);
    EXPECT_TRUE(link.waitFor([&] { return link.socket.outstandingSlots() == 0; }));
}

TEST(CommsLoop, EndsSoonAfterTheExitFlag) {
    Running link(4);
    link.go();
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    const auto start = Clock::now();
    link.state.exit = true;
    link.thread.join();
    EXPECT_LT(std::chrono::duration<double>(Clock::now() - start).count(), 0.2);
}

} // namespace
} // namespace ferrow
