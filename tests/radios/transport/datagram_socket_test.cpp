#include "radios/transport/datagram_socket.hpp"

#include "tests/radios/log_capture.hpp"
#include "tests/radios/udp_peer.hpp"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <regex>
#include <set>
#include <sys/resource.h>
#include <thread>

namespace ferrow {
namespace {

using test::LogCapture;
using test::UdpPeer;
using Clock = std::chrono::steady_clock;

double millisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

std::vector<std::uint8_t> numbered(int number, std::size_t size = 1032) {
    std::vector<std::uint8_t> packet(size);
    for (std::size_t i = 0; i < size; ++i)
        packet[i] = static_cast<std::uint8_t>(number + static_cast<int>(i));
    return packet;
}

// A socket connected to a peer that knows its port.
struct Connected {
    UdpPeer peer{"127.0.0.2"};
    DatagramSocket socket;
    int result;

    explicit Connected(int slots = 128) {
        socket.remotePort = peer.port();
        result = socket.openConnected(peer.address(), slots);
    }
    void fromRadio(const std::vector<std::uint8_t>& packet) { peer.sendTo(socket.localPort(), packet); }
    // Skips the calls that found nothing.
    int next(int maxResults = 1, int calls = 50) {
        for (int i = 0; i < calls; ++i) {
            const int slot = socket.receive(maxResults);
            if (slot >= 0)
                return slot;
        }
        return -1;
    }
};

TEST(DatagramSocket, PortOfTheRadioIs1024) {
    EXPECT_EQ(DatagramSocket().remotePort, 1024);
}

TEST(DatagramSocket, ConnectedModeLayout) {
    Connected link(128 * 3);
    ASSERT_EQ(link.result, 0);
    ASSERT_EQ(link.socket.receiveSlots().size(), 384u);
    ASSERT_EQ(link.socket.transmitSlots().size(), 128u);
    EXPECT_TRUE(link.socket.receiveAddresses().empty());
    EXPECT_TRUE(link.socket.transmitAddresses().empty());
    for (int i = 0; i < 384; ++i) {
        const SlotDescriptor& slot = link.socket.receiveSlots()[static_cast<std::size_t>(i)];
        ASSERT_EQ(slot.offset, 1032u * static_cast<unsigned>(i));
        ASSERT_EQ(slot.length, 1032u);
        ASSERT_EQ(static_cast<int>(slot.kind), 0);
        ASSERT_EQ(slot.index, i);
    }
    for (int i = 0; i < 128; ++i) {
        const SlotDescriptor& slot = link.socket.transmitSlots()[static_cast<std::size_t>(i)];
        ASSERT_EQ(slot.offset, 1032u * static_cast<unsigned>(384 + i));
        ASSERT_EQ(static_cast<int>(slot.kind), 1);
        ASSERT_EQ(slot.index, i);
    }
    EXPECT_GE(link.socket.regionSize(), 1032u * 512u);
    EXPECT_EQ(link.socket.regionSize() % 4096, 0u);
    EXPECT_EQ(link.socket.resultCapacity(), 384u);
    for (int i = 0; i < 384; ++i)
        ASSERT_TRUE(
            std::all_of(link.socket.rxData(i), link.socket.rxData(i) + 1032, [](int b) { return b == 0; }));
}

TEST(DatagramSocket, OpenModeLayoutHasAnAddressRecordBehindEachSlot) {
    DatagramSocket socket;
    ASSERT_EQ(socket.openUnconnected(htonl(INADDR_LOOPBACK)), 0);
    ASSERT_EQ(socket.receiveSlots().size(), 256u);
    ASSERT_EQ(socket.receiveAddresses().size(), 256u);
    ASSERT_EQ(socket.transmitSlots().size(), 128u);
    ASSERT_EQ(socket.transmitAddresses().size(), 128u);
    EXPECT_EQ(socket.resultCapacity(), 256u);
    for (unsigned i = 0; i < 256; ++i) {
        ASSERT_EQ(socket.receiveSlots()[i].offset, i * 2076u);
        ASSERT_EQ(socket.receiveSlots()[i].length, 2048u);
        ASSERT_EQ(static_cast<int>(socket.receiveSlots()[i].kind), 0);
        ASSERT_EQ(socket.receiveAddresses()[i].offset, i * 2076u + 2048u);
        ASSERT_EQ(socket.receiveAddresses()[i].length, 28u);
        ASSERT_EQ(static_cast<int>(socket.receiveAddresses()[i].kind), 3);
    }
    for (unsigned i = 0; i < 128; ++i) {
        ASSERT_EQ(socket.transmitSlots()[i].offset, (256 + i) * 2076u);
        ASSERT_EQ(static_cast<int>(socket.transmitSlots()[i].kind), 1);
        ASSERT_EQ(socket.transmitAddresses()[i].offset, (256 + i) * 2076u + 2048u);
        ASSERT_EQ(static_cast<int>(socket.transmitAddresses()[i].kind), 2);
        ASSERT_EQ(socket.transmitAddresses()[i].index, static_cast<int>(i));
    }
    EXPECT_GE(socket.regionSize(), 384u * 2076u);
}

TEST(DatagramSocket, ReceiveBufferIsEnlarged) {
    int before = 0;
    socklen_t length = sizeof before;
    const int plain = socket(AF_INET, SOCK_DGRAM, 0);
    getsockopt(plain, SOL_SOCKET, SO_RCVBUF, &before, &length);
    close(plain);
    Connected link;
    EXPECT_GE(link.socket.receiveBufferSize(), before);
    EXPECT_GT(link.socket.receiveBufferSize(), 0);
}

TEST(DatagramSocket, PacketsComeOutInOrderAndInPlace) {
    Connected link(16);
    for (int i = 0; i < 10; ++i)
        link.fromRadio(numbered(i));
    for (int i = 0; i < 10; ++i) {
        const int slot = link.next(4);
        EXPECT_EQ(slot, i) << "posted slots are filled in order";
        const auto expected = numbered(i);
        EXPECT_EQ(std::memcmp(link.socket.rxData(slot), expected.data(), 1032), 0);
    }
    EXPECT_EQ(link.socket.outstandingSlots(), 10);
    EXPECT_EQ(link.socket.outstandingPeakSlots(), 10);
    // Released in another order, they are filled in that order behind the six that were never used.
    for (const int slot : {7, 3, 9})
        link.socket.release(slot);
    EXPECT_EQ(link.socket.outstandingSlots(), 7);
    EXPECT_EQ(link.socket.outstandingPeakSlots(), 10);
    for (int i = 0; i < 9; ++i)
        link.fromRadio(numbered(50 + i));
    for (const int expected : {10, 11, 12, 13, 14, 15, 7, 3, 9})
        EXPECT_EQ(link.next(16), expected);
}

TEST(DatagramSocket, AllocateSendOf1033InConnectedModeGivesMinus2AndLogs) {
    Connected link;
    LogCapture log;
    EXPECT_EQ(link.socket.allocateSend(1033), -2);
    EXPECT_EQ(log.exactly("trace", "RIOSend buffer too long 1033 1032"), 1);
    EXPECT_GE(link.socket.allocateSend(1032), 0);
    EXPECT_EQ(log.count("too long"), 1);
}

TEST(DatagramSocket, TransmitSlotsAreHandedOutInStrictRotation) {
    Connected link;
    const int first = link.socket.allocateSend(64);
    EXPECT_EQ(first, 1);
    for (int i = 1; i < 300; ++i)
        ASSERT_EQ(link.socket.allocateSend(64), (first + i) % 128);
    EXPECT_EQ(link.socket.transmitSlots()[5].length, 64u);
}

TEST(DatagramSocket, SendTransmitsTheSlotAtItsLength) {
    Connected link;
    for (const int length : {64, 1032, 1, 0}) {
        const int slot = link.socket.allocateSend(length);
        const auto packet = numbered(length, static_cast<std::size_t>(length));
        std::copy(packet.begin(), packet.end(), link.socket.txData(slot));
        EXPECT_EQ(link.socket.send(slot), 0);
        const auto got = link.peer.receive();
        ASSERT_TRUE(got);
        EXPECT_EQ(*got, packet);
        EXPECT_EQ(link.peer.lastPort(), link.socket.localPort());
    }
}

TEST(DatagramSocket, ReceiveAfter10msWithoutTrafficReturnsMinus1) {
    Connected link;
    for (int i = 0; i < 5; ++i) {
        const auto start = Clock::now();
        EXPECT_EQ(link.socket.receive(8), -1);
        const double took = millisecondsSince(start);
        EXPECT_GE(took, 9.0);
        EXPECT_LT(took, 200.0);
    }
}

TEST(DatagramSocket, ACompletedSendInTheResultsNeverSurfaces) {
    Connected link;
    for (int i = 0; i < 40; ++i)
        ASSERT_EQ(link.socket.send(link.socket.allocateSend(64)), 0);
    // Forty finished sends stand before the packet; only the packet is given out.
    link.fromRadio(numbered(3));
    EXPECT_EQ(link.next(1), 0);
    EXPECT_EQ(link.socket.receive(16), -1);
    EXPECT_EQ(link.socket.outstandingSlots(), 1);
    // With a batch that holds both kinds.
    link.socket.send(link.socket.allocateSend(64));
    link.fromRadio(numbered(4));
    link.fromRadio(numbered(5));
    EXPECT_EQ(link.next(16), 1);
    EXPECT_EQ(link.next(16), 2);
    EXPECT_EQ(link.socket.receive(16), -1);
}

TEST(DatagramSocket, MoreSendsThanSlotsWithoutAReceiveDoNoHarm) {
    Connected link;
    for (int i = 0; i < 400; ++i)
        ASSERT_EQ(link.socket.send(link.socket.allocateSend(64)), 0);
    link.fromRadio(numbered(3));
    EXPECT_EQ(link.next(1), 0);
}

TEST(DatagramSocket, MaxResultsAboveTheCapacityIsCutToTheCapacity) {
    Connected link(6);
    for (int i = 0; i < 6; ++i)
        link.fromRadio(numbered(i));
    EXPECT_EQ(link.next(1000), 0);
    EXPECT_EQ(link.socket.lastBatch(), 6u);
    for (int i = 1; i < 6; ++i)
        EXPECT_EQ(link.next(1000), i);
    // Sends count against it as well.
    for (int i = 0; i < 6; ++i)
        link.socket.release(i);
    for (int i = 0; i < 4; ++i)
        link.socket.send(link.socket.allocateSend(64));
    for (int i = 0; i < 6; ++i)
        link.fromRadio(numbered(i));
    EXPECT_EQ(link.next(1000), 0);
    EXPECT_EQ(link.socket.lastBatch(), 6u) << "four sends and two packets";
}

TEST(DatagramSocket, MaxResults1DequeuesOneAtATime) {
    Connected link;
    for (int i = 0; i < 5; ++i)
        link.fromRadio(numbered(i));
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(link.next(1), i);
        EXPECT_EQ(link.socket.lastBatch(), 1u);
    }
}

// Ten thousand packets a second: the thread wakes for several at a time, and gives them out one by one.
TEST(DatagramSocket, ADenseStreamComesWholeAndInOrderAndInGathers) {
    Connected link;
    constexpr int kPackets = 6000;
    std::atomic<bool> ended{false};
    std::thread radio([&] {
        auto next = Clock::now();
        for (int i = 0; i < kPackets; ++i) {
            std::vector<std::uint8_t> packet(1032);
            packet[0] = static_cast<std::uint8_t>(i >> 8);
            packet[1] = static_cast<std::uint8_t>(i);
            link.fromRadio(packet);
            next += std::chrono::microseconds(100);
            std::this_thread::sleep_until(next);
        }
        ended = true;
    });
    int expected = 0, wrong = 0;
    rusage before{}, after{};
    getrusage(RUSAGE_THREAD, &before);
    const auto begun = Clock::now();
    while (expected < kPackets && (!ended || millisecondsSince(begun) < 30000)) {
        const int slot = link.socket.receive(1);
        if (slot < 0)
            continue;
        EXPECT_EQ(link.socket.lastBatch(), 1u);
        const std::uint8_t* data = link.socket.rxData(slot);
        wrong += (data[0] << 8 | data[1]) != expected;
        ++expected;
        link.socket.release(slot);
    }
    getrusage(RUSAGE_THREAD, &after);
    radio.join();
    EXPECT_EQ(expected, kPackets);
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(link.socket.outstandingPeakSlots(), 1);
    // Two to three thousand sleeps a second would do; one a packet would be 6000.
    EXPECT_LT(after.ru_nvcsw - before.ru_nvcsw, kPackets / 2);
}

TEST(DatagramSocket, MaxResultsBelow1CountsAs1) {
    Connected link;
    link.fromRadio(numbered(1));
    EXPECT_EQ(link.next(0), 0);
    link.fromRadio(numbered(2));
    EXPECT_EQ(link.next(-5), 1);
}

TEST(DatagramSocket, AConnectThatFailsAtBringUpGivesMinus6AndALaterConnectMakesItUsable) {
    for (const std::uint32_t bad : {0u, 0xFFFFFFFFu}) {
        UdpPeer peer("127.0.0.3");
        DatagramSocket socket;
        socket.remotePort = peer.port();
        LogCapture log;
        EXPECT_EQ(socket.openConnected(bad, 32), -6);
        EXPECT_EQ(log.count("[trace] create rio failed "), 1);
        const std::regex told("create rio failed \\d+ " + std::to_string(bad) + "\n");
        EXPECT_TRUE(std::regex_search(log.text(), told)) << log.text();
        EXPECT_EQ(socket.receive(1), -1);
        ASSERT_EQ(socket.connect(peer.address()), 0);
        const int out = socket.allocateSend(64);
        ASSERT_GE(out, 0);
        EXPECT_EQ(socket.send(out), 0);
        EXPECT_TRUE(peer.receive());
        peer.reply(numbered(9));
        int slot = -1;
        for (int i = 0; i < 50 && slot < 0; ++i)
            slot = socket.receive(1);
        EXPECT_EQ(slot, 0);
        EXPECT_EQ(socket.rxData(slot)[1], 10);
    }
}

TEST(DatagramSocket, AShortDatagramLeavesNothingOfAnEarlierPacketInItsSlot) {
    Connected link(1);
    std::vector<std::uint8_t> full(1032, 0xAA);
    for (const std::size_t size :
         {std::size_t{1031}, std::size_t{100}, std::size_t{8}, std::size_t{1}, std::size_t{0}}) {
        link.fromRadio(full);
        ASSERT_EQ(link.next(), 0);
        EXPECT_EQ(link.socket.rxData(0)[1031], 0xAA);
        link.socket.release(0);
        link.fromRadio(std::vector<std::uint8_t>(size, 0x55));
        ASSERT_EQ(link.next(), 0);
        const std::uint8_t* data = link.socket.rxData(0);
        EXPECT_TRUE(std::all_of(data, data + size, [](int b) { return b == 0x55; }));
        EXPECT_TRUE(std::all_of(data + size, data + 1032, [](int b) { return b == 0; }));
        link.socket.release(0);
    }
}

TEST(DatagramSocket, ALongDatagramIsCutAndTouchesNoOtherSlot) {
    Connected link(2);
    link.fromRadio(std::vector<std::uint8_t>(1500, 0x33));
    ASSERT_EQ(link.next(), 0);
    EXPECT_EQ(link.socket.rxData(0)[1031], 0x33);
    EXPECT_EQ(link.socket.rxData(1)[0], 0);
}

TEST(DatagramSocket, InConnectedModeAForeignSenderIsNotHeard) {
    Connected link;
    UdpPeer foreign("127.0.0.4");
    UdpPeer otherPort("127.0.0.2");
    foreign.sendTo(link.socket.localPort(), numbered(1));
    otherPort.sendTo(link.socket.localPort(), numbered(2));
    link.fromRadio(numbered(3));
    const int slot = link.next(8);
    ASSERT_EQ(slot, 0);
    EXPECT_EQ(link.socket.rxData(0)[0], 3);
    EXPECT_EQ(link.socket.receive(8), -1);
}

TEST(DatagramSocket, OpenModeTellsTheSourcePortAndSendsToAnyPort) {
    UdpPeer one, two;
    DatagramSocket socket;
    ASSERT_EQ(socket.openUnconnected(htonl(INADDR_LOOPBACK)), 0);
    two.sendTo(socket.localPort(), numbered(7, 1444));
    int slot = -1;
    for (int i = 0; i < 50 && slot < 0; ++i)
        slot = socket.receive(8);
    ASSERT_EQ(slot, 0);
    EXPECT_EQ(socket.sourcePort(slot), two.port());
    const auto expected = numbered(7, 1444);
    EXPECT_EQ(std::memcmp(socket.rxData(slot), expected.data(), 1444), 0);
    for (UdpPeer* peer : {&one, &two}) {
        const int out = socket.allocateSend(2048);
        std::memset(socket.txData(out), out, 60);
        EXPECT_EQ(socket.sendTo(out, peer->port(), 60), 0);
        const auto got = peer->receive();
        ASSERT_TRUE(got);
        EXPECT_EQ(*got, std::vector<std::uint8_t>(60, static_cast<std::uint8_t>(out)));
        const std::uint8_t* record = socket.txData(out) + 2048;
        EXPECT_EQ(record[0], 2);
        EXPECT_EQ(record[1], 0);
        EXPECT_EQ(record[2] << 8 | record[3], peer->port());
        EXPECT_EQ(record[4], 127);
        EXPECT_EQ(record[7], 1);
        EXPECT_TRUE(std::all_of(record + 8, record + 28, [](int b) { return b == 0; }));
        EXPECT_EQ(socket.transmitSlots()[static_cast<std::size_t>(out)].length, 60u);
    }
    EXPECT_EQ(socket.allocateSend(2049), -2);
}

TEST(DatagramSocket, APeerThatIsNotThereNeitherSpinsNorFloodsTheLog) {
    DatagramSocket socket;
    {
        UdpPeer gone("127.0.0.5");
        socket.remotePort = gone.port();
        ASSERT_EQ(socket.openConnected(gone.address(), 8), 0);
    }
    LogCapture log;
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(socket.send(socket.allocateSend(64)), 0);
    const auto start = Clock::now();
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(socket.receive(4), -1);
    EXPECT_GE(millisecondsSince(start), 80.0) << "the calls wait instead of spinning";
    EXPECT_EQ(log.count("RIO"), 0);
}

TEST(DatagramSocket, APacketBehindAnIcmpAnswerIsNotLost) {
    DatagramSocket socket;
    std::uint16_t port = 0;
    {
        UdpPeer gone("127.0.0.6");
        port = socket.remotePort = gone.port();
        ASSERT_EQ(socket.openConnected(gone.address(), 8), 0);
    }
    socket.send(socket.allocateSend(64));
    UdpPeer peer("127.0.0.6", port);
    const int out = socket.allocateSend(10);
    EXPECT_EQ(socket.send(out), 0);
    EXPECT_TRUE(peer.receive()) << "the pending error must not swallow the next packet";
    peer.sendTo(socket.localPort(), numbered(1));
    int slot = -1;
    for (int i = 0; i < 20 && slot < 0; ++i)
        slot = socket.receive(1);
    EXPECT_EQ(slot, 0);
}

TEST(DatagramSocket, WithEverySlotHandedOutTheCallsWaitAndTheSystemKeepsThePackets) {
    Connected link(2);
    for (int i = 0; i < 5; ++i)
        link.fromRadio(numbered(i));
    EXPECT_EQ(link.next(8), 0);
    EXPECT_EQ(link.next(8), 1);
    const auto start = Clock::now();
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(link.socket.receive(8), -1);
    EXPECT_GE(millisecondsSince(start), 8.0);
    link.socket.release(1);
    EXPECT_EQ(link.next(8), 1);
    EXPECT_EQ(link.socket.rxData(1)[0], 2);
}

TEST(DatagramSocket, AReleaseThatCannotBePostedIsLogged) {
    Connected link(4);
    LogCapture log;
    link.socket.release(0);
    link.socket.release(-1);
    link.socket.release(4);
    EXPECT_EQ(log.count("[error] RIOReceive1 "), 3);
    DatagramSocket open;
    open.openUnconnected(htonl(INADDR_LOOPBACK));
    open.release(256);
    EXPECT_EQ(log.count("[error] RIOReceive2 "), 1);
}

TEST(DatagramSocket, ARegionThatCannotBeHadGivesMinus3) {
    LogCapture log;
    DatagramSocket socket;
    EXPECT_EQ(socket.openConnected(htonl(INADDR_LOOPBACK), 1 << 23), -3);
    EXPECT_EQ(log.exactly("error", "rio alloc failure"), 1);
    EXPECT_EQ(log.count("[error] RIORegisterBuffer "), 1);
    EXPECT_EQ(socket.receive(8), -1);
    EXPECT_EQ(socket.allocateSend(64), -2);
    EXPECT_EQ(socket.send(1), -1);
    EXPECT_EQ(log.count("[error] RIOSend err "), 1);
}

TEST(DatagramSocket, WithoutASocketTheBringUpGoesOnAndReportsTheCompletionQueue) {
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    LogCapture log;
    rlimit none = before;
    none.rlim_cur = 0;
    DatagramSocket connected, open;
    setrlimit(RLIMIT_NOFILE, &none);
    const int first = connected.openConnected(htonl(INADDR_LOOPBACK), 8);
    const int second = open.openUnconnected(htonl(INADDR_LOOPBACK));
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_EQ(first, -1);
    EXPECT_EQ(second, -1);
    EXPECT_EQ(log.count("[error] Rio Invalid socket " + std::to_string(EMFILE)), 2);
    EXPECT_EQ(log.exactly("error", "setsockopt "), 2);
    EXPECT_EQ(log.exactly("error", "setsockopt 2 "), 2);
    EXPECT_EQ(log.exactly("error", "setsockopt 3"), 2);
    EXPECT_EQ(log.count("[error] Rio Bind Failure "), 2);
    EXPECT_EQ(log.count("[trace] create rio failed "), 1);
    EXPECT_EQ(log.count("[error] rio queue create failed "), 1);
    EXPECT_EQ(log.count("[error] RIOCreateCompletionQueue "), 1);
    const auto start = Clock::now();
    EXPECT_EQ(connected.receive(1), -1);
    EXPECT_GE(millisecondsSince(start), 8.0);
    EXPECT_EQ(connected.allocateSend(64), -2);
}

TEST(DatagramSocket, ABurstAtFullRateLosesNothing) {
    Connected link(128);
    constexpr int kPackets = 3000;
    std::vector<std::uint8_t> packet(1032);
    int next = 0;
    int held[64];
    int holding = 0;
    for (int i = 0; i < kPackets; ++i) {
        packet[0] = static_cast<std::uint8_t>(i >> 8);
        packet[1] = static_cast<std::uint8_t>(i);
        link.fromRadio(packet);
        if (i % 50 != 49)
            continue;
        for (int k = 0; k < 50; ++k, ++next) {
            const int slot = link.next(8);
            ASSERT_GE(slot, 0);
            ASSERT_EQ(link.socket.rxData(slot)[0] << 8 | link.socket.rxData(slot)[1], next);
            held[holding++] = slot;
            if (holding == 64) {
                for (const int old : held)
                    link.socket.release(old);
                holding = 0;
            }
        }
    }
    EXPECT_EQ(next, kPackets);
    EXPECT_EQ(link.socket.outstandingPeakSlots(), 64);
}

} // namespace
} // namespace ferrow
