// What the link says and does, to a real client.

#include "tests/modes/multi_psk/link_client.hpp"

#include <algorithm>
#include <random>

namespace ferrow {
namespace {

using test::framed;
using test::initBody;
using test::LinkClient;
using test::LinkTest;
using test::Samples;
using test::settle;
using test::waitFor;
using test::word;

std::int16_t pairAt(const std::string& body, std::size_t place) {
    std::int16_t value;
    std::memcpy(&value, body.data() + 12 + 2 * place, 2);
    return value;
}

TEST_F(LinkTest, AnswersTheHandshake) {
    use();
    LinkClient client = this->client();
    ASSERT_TRUE(client.send(framed("Pversion")));
    EXPECT_EQ(client.receive(13), std::string("\x09\0\0\0Pversion\0", 13));
    ASSERT_TRUE(client.send(framed("HWMPcapa")));
    const std::string answer = client.receive(56);
    EXPECT_EQ(answer.substr(0, 4), std::string("\x34\0\0\0", 4));
    EXPECT_EQ(answer.substr(4), "HWMPcapa\bFerrowRx\3" + std::string("1.0\5Hello\1") +
                                    "3\5"
                                    "48000\x0f"
                                    "24000..40000000" +
                                    std::string(1, '\0'));
    ASSERT_TRUE(client.send(framed("Received")));
    EXPECT_TRUE(client.nothingWaits());
    EXPECT_TRUE(mode->connected.value());
    EXPECT_FALSE(mode->sending.value());
}

TEST_F(LinkTest, PacketsMayComeInPiecesAndInHeaps) {
    use();
    LinkClient client = this->client();
    for (const char byte : framed("Pversion")) {
        ASSERT_TRUE(client.send(std::string(1, byte)));
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    EXPECT_EQ(client.receive(13).size(), 13u);
    std::string heap;
    for (int i = 0; i < 50; ++i)
        heap += framed("") + framed("short") + framed("Pversion");
    ASSERT_TRUE(client.send(heap));
    EXPECT_EQ(client.receive(50 * 13).size(), 50u * 13);
}

TEST_F(LinkTest, StreamsEachBlockAsOnePacket) {
    use();
    const auto client = stream();
    Samples block(512);
    for (std::size_t i = 0; i < 512; ++i)
        block[i] = {static_cast<float>(i) * 1e-6f, static_cast<float>(i) * -2e-6f};
    const buff<float> audio = receive(block);
    ASSERT_EQ(audio.size(), 512u);
    const std::string head = client->receive(16);
    EXPECT_EQ(head, std::string("\x0c\x08\0\0TXHWdata\0\x08\0\0", 16));
    const std::string data = client->receive(2048);
    ASSERT_EQ(data.size(), 2048u);
    for (std::size_t i = 0; i < 512; ++i) {
        EXPECT_EQ(audio[i], block[i].real());
        EXPECT_NEAR(pairAt(std::string(12, ' ') + data, 2 * i), -40.0 * static_cast<double>(i), 1);
        EXPECT_NEAR(pairAt(std::string(12, ' ') + data, 2 * i + 1), 20.0 * static_cast<double>(i), 1);
    }
    receive(Samples(100, 0.0f)); // any size
    EXPECT_EQ(client->packet().size(), 12u + 400);
}

TEST_F(LinkTest, StreamsWhatTheTransceiverReceives) {
    use();
    const auto client = stream();
    for (int i = 0; i < 8; ++i)
        feed(*t, test::Carrier(500, 48000, 1e-3).next(512), kTuned, 48000);
    double power = 0;
    for (int i = 0; i < 8; ++i) {
        const std::string body = client->packet();
        ASSERT_EQ(body.size(), 12u + 2048);
        for (std::size_t n = 0; n < 512; ++n)
            power = std::max(power, std::hypot(pairAt(body, 2 * n), pairAt(body, 2 * n + 1)));
    }
    EXPECT_NEAR(power, 20000, 2000); // 1e-3 at the first gain
}

TEST_F(LinkTest, PlaysTheRealPartWithoutAClientToo) {
    use();
    const buff<float> audio = receive(Samples(512, {0.25f, 0.75f}));
    ASSERT_EQ(audio.size(), 512u);
    EXPECT_EQ(*std::min_element(audio.begin(), audio.end()), 0.25f);
    EXPECT_EQ(*std::max_element(audio.begin(), audio.end()), 0.25f);
}

TEST_F(LinkTest, TransmitsNothing) {
    use();
    const Samples in(512, {0.5f, 0.5f}), out(512, {0.125f, 0.0f});
    mode->modulate(in, out);
    EXPECT_EQ(out[0], std::complex<float>(0.125f, 0));
    EXPECT_EQ(out[511], std::complex<float>(0.125f, 0));
}

TEST_F(LinkTest, GainStaysLowForAsLongAsTheObjectLives) {
    use();
    auto client = stream();
    receive(Samples(512, {0, 0.5f}));
    EXPECT_EQ(pairAt(client->packet(), 0), 32000);
    receive(Samples(512, {0, 0.25f}));
    EXPECT_EQ(pairAt(client->packet(), 0), 16000);
    // Not even a new client gets more.
    client->close();
    ASSERT_TRUE(waitFor([&] { return !mode->connected.value(); }));
    client = stream();
    for (int i = 0; i < 50; ++i)
        receive(Samples(512, {0, 1e-3f}));
    for (int i = 0; i < 50; ++i)
        EXPECT_EQ(pairAt(client->packet(), 0), 64);
}

TEST_F(LinkTest, AnInitOf17BytesIsIgnoredAndOneOf18OrMoreWorks) {
    use();
    const auto client = connect();
    ASSERT_TRUE(client->send(framed(initBody(7040000, 17))));
    ASSERT_TRUE(client->heard());
    EXPECT_EQ(vfo(), kTuned);
    EXPECT_FALSE(mode->sending.value());
    ASSERT_TRUE(client->send(framed(initBody(7040000, 18))));
    ASSERT_TRUE(client->heard());
    EXPECT_EQ(vfo(), 7040000);
    EXPECT_TRUE(mode->sending.value());
    ASSERT_TRUE(client->send(framed("Bug_on_P") + framed(initBody(7041000, 100))));
    ASSERT_TRUE(client->heard());
    EXPECT_EQ(vfo(), 7041000);
    EXPECT_TRUE(mode->sending.value());
}

TEST_F(LinkTest, SetHwloTunesAndLeavesSendingAlone) {
    use();
    auto client = connect();
    ASSERT_TRUE(client->send(framed("Set_HWLO" + word(7035000))));
    ASSERT_TRUE(client->heard());
    EXPECT_EQ(vfo(), 7035000);
    EXPECT_FALSE(mode->sending.value());
    ASSERT_TRUE(client->send(framed("Set_HWLO" + word(7036000).substr(0, 3))));
    ASSERT_TRUE(client->heard());
    EXPECT_EQ(vfo(), 7035000);
    client->close();
    ASSERT_TRUE(waitFor([&] { return !mode->connected.value(); }));
    client = stream();
    ASSERT_TRUE(client->send(framed("Set_HWLO" + word(7036000))));
    ASSERT_TRUE(client->heard());
    EXPECT_EQ(vfo(), 7036000);
    EXPECT_TRUE(mode->sending.value());
}

TEST_F(LinkTest, ATuningOfTheClientIsPublishedAndNotToldBack) {
    static std::atomic<long long> told;
    told = 0;
    use();
    t->vfo.bind([](long long hertz) { told = hertz; }, t.get());
    const auto client = stream();
    ASSERT_TRUE(client->send(framed("Set_HWLO" + word(3580000))));
    ASSERT_TRUE(client->heard());
    EXPECT_EQ(vfo(), 3580000);
    EXPECT_TRUE(client->nothingWaits());
    pumpUpdates();
    EXPECT_EQ(told, 3580000);
}

TEST_F(LinkTest, ATuningOfTheHostIsToldWhileSending) {
    use();
    const auto client = connect();
    on(*t, [&] { t->vfo.setFromHost(10140000); });
    EXPECT_TRUE(client->nothingWaits());
    ASSERT_TRUE(client->send(framed(initBody(10140000))));
    ASSERT_TRUE(client->heard());
    on(*t, [&] { t->vfo.setFromHost(10141000); });
    EXPECT_EQ(client->receive(16), std::string("\x0c\0\0\0Set_HWLO", 12) + word(10141000));
    ASSERT_TRUE(client->send(framed("Bug_on_P")));
    ASSERT_TRUE(client->heard());
    on(*t, [&] { t->vfo.setFromHost(10142000); });
    EXPECT_TRUE(client->nothingWaits());
}

TEST_F(LinkTest, BugOnPEndsTheStream) {
    use();
    const auto client = stream();
    receive(Samples(512, 0.0f));
    EXPECT_EQ(client->packet().size(), 2060u);
    ASSERT_TRUE(client->send(framed("Bug_on_P")));
    ASSERT_TRUE(client->heard());
    EXPECT_FALSE(mode->sending.value());
    receive(Samples(512, 0.0f));
    EXPECT_TRUE(client->nothingWaits());
}

TEST_F(LinkTest, ATransceiverThatHasAnotherModeByNowIsNotTuned) {
    use();
    const auto client = connect();
    on(*t, [&] { t->setModulation(nullptr); });
    ASSERT_TRUE(client->send(framed(initBody(7040000))));
    ASSERT_TRUE(client->heard());
    EXPECT_EQ(vfo(), kTuned);
    EXPECT_TRUE(mode->sending.value());
}

TEST_F(LinkTest, TheTransceiverThatHasTheModeIsTheOneThatCounts) {
    use();
    auto second = addVtrx(kTuned);
    on(*second, [&] { second->setModulation(mode); });
    const auto client = stream();
    on(*t, [&] { t->vfo.setFromHost(7050000); });
    EXPECT_TRUE(client->nothingWaits());
    ASSERT_TRUE(client->send(framed("Set_HWLO" + word(7040000))));
    ASSERT_TRUE(client->heard());
    EXPECT_EQ(vfo(), 7050000);
    settle(second->context());
    EXPECT_EQ(second->vfo.value(), 7040000);
}

TEST_F(LinkTest, ALengthAbove128IsClampedAndTheRestReadAsTheNextHeader) {
    use();
    const auto client = connect();
    // 268 bytes are announced. The first 128 are a body, the next four a header.
    std::string body = "Received";
    body.resize(128, 'x');
    ASSERT_TRUE(client->send(std::string("\x0c\1\0\0", 4) + body + framed("Pversion")));
    EXPECT_EQ(client->receive(13), std::string("\x09\0\0\0Pversion\0", 13));
    EXPECT_TRUE(runtime.logged("[fc] [error] tcp bad len\n"));
    EXPECT_TRUE(client->heard());
}

TEST_F(LinkTest, ANegativeLengthIsClamped) {
    use();
    const auto client = connect();
    std::string body = "Pversion";
    body.resize(128, 'x');
    ASSERT_TRUE(client->send(std::string("\x80\0\0\0", 4) + body));
    EXPECT_EQ(client->receive(13).size(), 13u);
    EXPECT_TRUE(runtime.logged("[fc] [error] tcp bad len\n"));
    EXPECT_TRUE(client->heard());
}

// Half of them with a tag that means something, while blocks stream and the client listens.
TEST_F(LinkTest, TenThousandRandomFrames) {
    use();
    const auto client = connect();
    std::atomic<bool> done{false};
    std::thread chain([&] {
        while (!done) {
            receive(Samples(512, {1e-3f, 1e-3f}));
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
    });
    std::thread listener([&] {
        while (!client->packet().empty()) {
        }
    });
    const std::string tags[] = {"Pversion", "HWMPcapa", "InitHWMP", "Set_HWLO", "Received", "Bug_on_P"};
    std::mt19937 random(20);
    for (int i = 0; i < 10000; ++i) {
        std::string body(random() % 128, '\0');
        for (char& byte : body)
            byte = static_cast<char>(random() & 255);
        if (random() % 2 == 0)
            body.replace(0, 8, tags[random() % 6]);
        if (body.size() > 127)
            body.resize(127);
        ASSERT_TRUE(client->send(framed(body)));
    }
    ASSERT_TRUE(client->send(framed(initBody(5351234))));
    EXPECT_TRUE(waitFor([&] { return vfo() == 5351234; }, 30));
    EXPECT_TRUE(mode->connected.value());
    EXPECT_TRUE(mode->sending.value());
    done = true;
    chain.join();
    client->shutDown();
    listener.join();
    client->close();
    EXPECT_TRUE(waitFor([&] { return !mode->connected.value(); }));
    EXPECT_TRUE(connect()->heard());
}

// No frames at all: lengths of all kinds, cut anywhere.
TEST_F(LinkTest, RandomBytesLeaveTheLinkUsable) {
    use();
    std::mt19937 random(21);
    for (int round = 0; round < 20; ++round) {
        auto client = this->client();
        std::string bytes(random() % 20000, '\0');
        for (char& byte : bytes)
            byte = static_cast<char>(random() >> (random() & 7) & 255);
        client.send(bytes);
        if (round % 2 == 0)
            client.abort();
    }
    EXPECT_TRUE(connect()->heard());
}

} // namespace
} // namespace ferrow
