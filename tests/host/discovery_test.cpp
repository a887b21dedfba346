#include "host/discovery.hpp"
#include "host/failure.hpp"

#include <arpa/inet.h>
#include <atomic>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

using namespace ferrow;
using namespace std::chrono_literals;
using Bytes = std::vector<std::uint8_t>;

namespace {

Bytes reply(std::uint8_t status = 2) {
    Bytes bytes(60);
    const std::uint8_t head[] = {0xEF, 0xFE, status, 0x00, 0x1C, 0xC0, 0xA2, 0x12, 0x34, 73, 6};
    std::copy(std::begin(head), std::end(head), bytes.begin());
    bytes[0x13] = 10;
    bytes[0x15] = 4;
    return bytes;
}

// Answers every datagram on an address of the loopback network with the same datagrams.
class Responder {
public:
    Responder(const std::string& address, std::vector<Bytes> answers)
        : answers_(std::move(answers)), socket_(socket(AF_INET, SOCK_DGRAM, 0)) {
        sockaddr_in own{};
        own.sin_family = AF_INET;
        own.sin_port = htons(kRadioPort);
        inet_pton(AF_INET, address.c_str(), &own.sin_addr);
        EXPECT_EQ(bind(socket_, reinterpret_cast<sockaddr*>(&own), sizeof own), 0) << address;
        thread_ = std::thread([this] { serve(); });
    }
    ~Responder() {
        quit_ = true;
        thread_.join();
        close(socket_);
    }

    std::atomic<int> asked{0}, wrong{0};

private:
    void serve() {
        while (!quit_) {
            pollfd waiting{socket_, POLLIN, 0};
            if (poll(&waiting, 1, 20) <= 0)
                continue;
            std::uint8_t request[128] = {};
            sockaddr_in from{};
            socklen_t length = sizeof from;
            const auto size =
                recvfrom(socket_, request, sizeof request, 0, reinterpret_cast<sockaddr*>(&from), &length);
            if (size != 63 || request[0] != 0xEF || request[1] != 0xFE || request[2] != 2)
                ++wrong;
            for (const Bytes& answer : answers_)
                sendto(socket_, answer.data(), answer.size(), 0, reinterpret_cast<sockaddr*>(&from), length);
            ++asked;
        }
    }

    std::vector<Bytes> answers_;
    int socket_;
    std::atomic<bool> quit_{false};
    std::thread thread_;
};

} // namespace

TEST(DiscoveryReply, TellsOfTheRadio) {
    const auto radio = readDiscoveryReply(reply(), "192.168.1.20");
    ASSERT_TRUE(radio);
    EXPECT_EQ(radio->address, "192.168.1.20");
    EXPECT_EQ(radio->macText(), "00:1c:c0:a2:12:34");
    EXPECT_EQ(radio->board, 6);
    EXPECT_STREQ(radio->boardName(), "Hermes-Lite 2");
    EXPECT_EQ(radio->firmwareText(), "73.4");
    EXPECT_EQ(radio->receivers, 10);
    EXPECT_FALSE(radio->running);
    EXPECT_TRUE(readDiscoveryReply(reply(3), "")->running);
}

TEST(DiscoveryReply, OldAndOtherBoardsCountTheirOwnReceivers) {
    Bytes old = reply();
    old[9] = 29;
    EXPECT_FALSE(readDiscoveryReply(old, "")->hermesLite2());
    EXPECT_EQ(readDiscoveryReply(old, "")->receivers, 4) << "the count is the newer board's";
    Bytes orion = reply();
    orion[10] = 5;
    EXPECT_STREQ(readDiscoveryReply(orion, "")->boardName(), "Orion");
    EXPECT_EQ(readDiscoveryReply(orion, "")->receivers, 7);
    EXPECT_EQ(readDiscoveryReply(orion, "")->firmwareText(), "73");
    Bytes strange = reply();
    strange[10] = 99;
    EXPECT_STREQ(readDiscoveryReply(strange, "")->boardName(), "unknown");
    EXPECT_EQ(readDiscoveryReply(strange, "")->receivers, 1);
    Bytes many = reply();
    many[0x13] = 200;
    EXPECT_EQ(readDiscoveryReply(many, "")->receivers, 12);
}

TEST(DiscoveryReply, ForeignAndShortDatagramsAreNone) {
    EXPECT_FALSE(readDiscoveryReply({}, ""));
    for (std::size_t size = 0; size < 11; ++size) {
        const Bytes whole = reply();
        EXPECT_FALSE(readDiscoveryReply({whole.data(), size}, "")) << size;
    }
    EXPECT_TRUE(readDiscoveryReply({reply().data(), 11}, ""));
    for (const std::size_t place : {0U, 1U, 2U}) {
        Bytes wrong = reply();
        wrong[place] = 0x55;
        EXPECT_FALSE(readDiscoveryReply(wrong, "")) << place;
    }
}

namespace {

Bytes reply2(std::uint8_t status = 2) {
    Bytes bytes(60);
    const std::uint8_t head[] = {0, 0, 0, 0, status, 0x00, 0x1C, 0xC0, 0xA2, 0x12, 0x34, 3, 38, 21};
    std::copy(std::begin(head), std::end(head), bytes.begin());
    bytes[20] = 5;
    return bytes;
}

} // namespace

TEST(DiscoveryReply, TellsOfARadioOfTheSecondProtocol) {
    const auto radio = readDiscoveryReply(reply2(), "192.168.1.20");
    ASSERT_TRUE(radio);
    EXPECT_EQ(radio->kind, RadioKind::HpsdrNp);
    EXPECT_EQ(radio->url(), "hpsdr2://192.168.1.20");
    EXPECT_EQ(radio->macText(), "00:1c:c0:a2:12:34");
    EXPECT_STREQ(radio->boardName(), "Angelia");
    EXPECT_EQ(radio->firmwareText(), "21");
    EXPECT_EQ(radio->receivers, 5);
    EXPECT_FALSE(radio->running);
    EXPECT_TRUE(readDiscoveryReply(reply2(3), "")->running);
    for (std::size_t size = 0; size < 21; ++size) {
        const Bytes whole = reply2();
        EXPECT_FALSE(readDiscoveryReply({whole.data(), size}, "")) << size;
    }
    for (const std::size_t place : {1U, 2U, 3U, 4U}) {
        Bytes wrong = reply2();
        wrong[place] = 0x55;
        EXPECT_FALSE(readDiscoveryReply(wrong, "")) << place;
    }
}

TEST(DiscoveryReply, TheSecondQuestionIsATwoBehindASequenceNumberOf0) {
    const auto request = discoveryRequest2();
    ASSERT_EQ(request.size(), 60U);
    for (std::size_t i = 0; i < request.size(); ++i)
        EXPECT_EQ(request[i], i == 4 ? 2 : 0) << i;
}

TEST(Discovery, ARadioOfTheOtherProtocolIsToldApart) {
    const Responder radio("127.61.0.5", {reply2()});
    EXPECT_EQ(findRadio({RadioKind::HpsdrNp, "127.61.0.5"}).kind, RadioKind::HpsdrNp);
    try {
        findRadio({RadioKind::Hpsdr, "127.61.0.5"}, 300ms);
        FAIL() << "it does not speak the first";
    } catch (const Failure& failure) {
        EXPECT_NE(std::string(failure.what()).find("--radio hpsdr2://127.61.0.5"), std::string::npos)
            << failure.what();
    }
    const auto both = discoverRadios({{"127.61.0.5"}, false, 300ms});
    ASSERT_EQ(both.size(), 1U);
    EXPECT_EQ(both[0].kind, RadioKind::HpsdrNp);
}

TEST(Discovery, OtherKindsAreNotAskedOnTheNetwork) {
    EXPECT_EQ(findRadio({RadioKind::SdrPlay, "F0002"}).address, "F0002");
    EXPECT_EQ(findRadio({RadioKind::WsProxy, "ws://h:1/", 3}).remoteId, 3);
}

TEST(Discovery, FindsARadioAtAnAddress) {
    const Responder radio("127.61.0.1", {reply()});
    const auto found = findRadio({RadioKind::Hpsdr, "127.61.0.1"});
    EXPECT_EQ(found.address, "127.61.0.1");
    EXPECT_EQ(radio.wrong, 0);
}

TEST(Discovery, ListsEachRadioOnceAndByAddress) {
    const Responder second("127.61.0.10", {reply(3)}), first("127.61.0.9", {reply(), reply()});
    const auto began = std::chrono::steady_clock::now();
    const auto found = discoverRadios({{"127.61.0.10", "127.61.0.9"}, true, 600ms});
    EXPECT_GE(std::chrono::steady_clock::now() - began, 600ms);
    std::vector<std::string> addresses;
    for (const auto& radio : found)
        if (radio.address.starts_with("127.61.0."))
            addresses.push_back(radio.address);
    EXPECT_EQ(addresses, (std::vector<std::string>{"127.61.0.9", "127.61.0.10"}));
    EXPECT_GE(first.asked, 2) << "asked again, since datagrams get lost";
}

TEST(Discovery, EndsEarlyWhenAllWhoWereAskedHaveAnswered) {
    const Responder radio("127.61.0.2", {reply()});
    const auto began = std::chrono::steady_clock::now();
    EXPECT_EQ(discoverRadios({{"127.61.0.2"}, false, 10s}).size(), 1U);
    EXPECT_LT(std::chrono::steady_clock::now() - began, 5s);
}

TEST(Discovery, ForeignDatagramsAreNoRadio) {
    Bytes wrong = reply();
    wrong[1] = 0xFF;
    const Responder foreign("127.61.0.3", {{}, {1}, wrong, Bytes(1500, 0xEF)});
    EXPECT_TRUE(discoverRadios({{"127.61.0.3"}, false, 400ms}).empty());
    EXPECT_GE(foreign.asked, 1);
}

TEST(Discovery, SilenceIsAFailure) {
    EXPECT_THROW(findRadio({RadioKind::Hpsdr, "127.61.0.4"}, 200ms), Failure);
}

TEST(Discovery, AddressesAreIpv4) {
    for (const char* text : {"", "radio", "1.2.3", "1.2.3.4.5", "256.1.1.1", "::1", "1.2.3.4 "})
        EXPECT_THROW(findRadio({RadioKind::Hpsdr, text}, 100ms), UsageError) << text;
}
