#include "radios/wsproxy/proxy_messages.hpp"
#include "radios/wsproxy/proxy_uri.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

namespace ferrow {
namespace {

void expectUri(std::string_view uri, const ProxyUri& wanted) {
    const ProxyUri got = parseUri(uri);
    EXPECT_EQ(got.protocol, wanted.protocol) << uri;
    EXPECT_EQ(got.host, wanted.host) << uri;
    EXPECT_EQ(got.port, wanted.port) << uri;
    EXPECT_EQ(got.path, wanted.path) << uri;
    EXPECT_EQ(got.query, wanted.query) << uri;
}

TEST(ProxyUriTest, FiveParts) {
    expectUri("ws://radio.example:8073/iq/1?key=a:b/c",
              {"ws", "radio.example", "8073", "/iq/1", "?key=a:b/c"});
    expectUri("wss://h:1/", {"wss", "h", "1", "/", ""});
}

TEST(ProxyUriTest, WithoutAPortTheServiceIsEmpty) {
    expectUri("ws://h/iq", {"ws", "h", "", "/iq", ""});
    expectUri("h", {"", "h", "", "", ""});
}

TEST(ProxyUriTest, WithoutAPathTheTargetIsEmpty) {
    expectUri("ws://h:8073", {"ws", "h", "8073", "", ""});
    expectUri("ws://h:8073?x", {"ws", "h", "8073", "", "?x"});
}

TEST(ProxyUriTest, WithoutAProtocolParsingStartsAtTheBeginning) {
    expectUri("h:8073/iq", {"", "h", "8073", "/iq", ""});
    expectUri("", {"", "", "", "", ""});
    expectUri("://", {"", "", "", "", ""});
    expectUri("a?b://c", {"", "a", "", "", "?b://c"});
}

TEST(ProxyMessages, TextsAreExact) {
    EXPECT_EQ(addReceiverMessage(7), R"({"cmd":"addReceiver","ID":7})");
    EXPECT_EQ(subscribeMessage(3), R"({"cmd":"subscribeToIQ","RxID":3,"Enable":true})");
    EXPECT_EQ(setFrequencyMessage(3, 14095600), R"({"cmd":"setFrequency","ID":3,"Frequency":14095600})");
}

TEST(ProxyMessages, OnlyTheAnswerCounts) {
    EXPECT_EQ(addedReceiver(R"({"cmd":"addReceiverResponse","ID":12,"more":[1,2]})"), 12);
    EXPECT_EQ(addedReceiver(R"({"cmd":"hello"})"), std::nullopt);
    EXPECT_ANY_THROW(addedReceiver("no JSON"));
    EXPECT_ANY_THROW(addedReceiver(R"({"ID":12})"));
    EXPECT_ANY_THROW(addedReceiver(R"({"cmd":"addReceiverResponse"})"));
    EXPECT_ANY_THROW(addedReceiver(R"({"cmd":"addReceiverResponse","ID":"x"})"));
    EXPECT_ANY_THROW(addedReceiver(""));
}

TEST(ProxyMessages, DeepNestingIsRefusedBeforeItTakesTheStack) {
    EXPECT_ANY_THROW(addedReceiver(std::string(1000000, '[')));
    EXPECT_ANY_THROW(addedReceiver("{\"a\":" + std::string(1000000, '{')));
}

TEST(ProxyMessages, ABlockHasExactly8209BytesAndKind3) {
    std::vector<std::uint8_t> message(8209, 0);
    message[0] = 3;
    const double frequency = 7100000.5, re = 0.25, im = -0.5;
    std::memcpy(&message[5], &frequency, 8);
    std::memcpy(&message[17 + 16 * 511], &re, 8);
    std::memcpy(&message[25 + 16 * 511], &im, 8);
    const auto block = readProxyBlock(message);
    ASSERT_TRUE(block);
    EXPECT_EQ(block->frequency, frequency);
    EXPECT_EQ(block->samples.size(), 512u);
    EXPECT_EQ(block->samples[511], std::complex<float>(0.25f, -0.5f));
    EXPECT_EQ(block->samples[0], std::complex<float>());
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{8208}, std::size_t{8210}}) {
        std::vector<std::uint8_t> other(size, 3);
        EXPECT_FALSE(readProxyBlock(other)) << size;
    }
    message[0] = 2;
    EXPECT_FALSE(readProxyBlock(message));
}

TEST(ProxyMessages, RandomBytesAreReadOrRefused) {
    std::mt19937 random(5);
    for (int i = 0; i < 20000; ++i) {
        std::string text(random() % 60, ' ');
        for (char& c : text)
            c = "{}[]\",:cmdID0-1e\\u\n"[random() % 19];
        try {
            addedReceiver(text);
        } catch (const std::exception&) {
        }
        parseUri(text);
        std::vector<std::uint8_t> bytes(random() % 4 == 0 ? 8209 : random() % 100, 3);
        readProxyBlock(bytes);
    }
}

} // namespace
} // namespace ferrow
