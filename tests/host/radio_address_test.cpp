#include "host/failure.hpp"
#include "host/radio_options.hpp"

#include <gtest/gtest.h>

using namespace ferrow;

TEST(RadioAddress, EachKindHasItsForm) {
    struct Row {
        const char* text;
        RadioKind kind;
        const char* place;
        int id;
        const char* url;
    };
    const Row rows[] = {
        {"192.168.1.20", RadioKind::Hpsdr, "192.168.1.20", 0, "hpsdr://192.168.1.20"},
        {"hpsdr://192.168.1.20", RadioKind::Hpsdr, "192.168.1.20", 0, "hpsdr://192.168.1.20"},
        {"hpsdr2://10.0.0.1", RadioKind::HpsdrNp, "10.0.0.1", 0, "hpsdr2://10.0.0.1"},
        {"sdrplay://F0002", RadioKind::SdrPlay, "F0002", 0, "sdrplay://F0002"},
        {"sdrplay://", RadioKind::SdrPlay, "", 0, "sdrplay://"},
        {"ws://radio.example:4810/iq", RadioKind::WsProxy, "ws://radio.example:4810/iq", 0,
         "ws://radio.example:4810/iq"},
        {"ws://127.0.0.1:4810/a/b?id=7", RadioKind::WsProxy, "ws://127.0.0.1:4810/a/b", 7,
         "ws://127.0.0.1:4810/a/b?id=7"},
        {"ws://h", RadioKind::WsProxy, "ws://h:80/", 0, "ws://h:80/"},
        {"ws://h:9?id=0", RadioKind::WsProxy, "ws://h:9/", 0, "ws://h:9/"},
    };
    for (const Row& row : rows) {
        const RadioAddress address = parseRadioAddress(row.text);
        EXPECT_EQ(address.kind, row.kind) << row.text;
        EXPECT_EQ(address.place, row.place) << row.text;
        EXPECT_EQ(address.remoteId, row.id) << row.text;
        EXPECT_EQ(address.url(), row.url) << row.text;
        EXPECT_EQ(parseRadioAddress(address.url()).url(), row.url) << "there and back";
    }
}

TEST(RadioAddress, WhatCannotBeReadIsAMistakeOfTheUser) {
    for (const char* text : {"",
                             "radio",
                             "1.2.3",
                             "256.1.1.1",
                             "::1",
                             "hpsdr://",
                             "hpsdr://radio",
                             "hpsdr://1.2.3.4:1024",
                             "hpsdr2://x",
                             "sdrplay://a b",
                             "sdrplay://a/b",
                             "sdrplay://a?b",
                             "ws://",
                             "ws:///iq",
                             "ws://h:0/",
                             "ws://h:65536/",
                             "ws://h:port/",
                             "ws://h:/",
                             "ws://[::1]:80/",
                             "ws://u@h/",
                             "ws://h/a b",
                             "ws://h?",
                             "ws://h?id",
                             "ws://h?id=",
                             "ws://h?id=-1",
                             "ws://h?id=1x",
                             "ws://h?id=1&x=2",
                             "wss://h/",
                             "foo://h",
                             "HPSDR://1.2.3.4"}) {
        if (std::string_view(text) == "ws://h?")
            continue; // an empty query is none
        EXPECT_THROW(parseRadioAddress(text), UsageError) << text;
    }
    const std::string tooLong = "sdrplay://" + std::string(64, 'x');
    EXPECT_THROW(parseRadioAddress(tooLong), UsageError);
}

TEST(RadioAddress, KindsKnowTheirRatesAndWhatTheyCannotDo) {
    const auto accepted = [](const char* radio, std::optional<int> rate, std::optional<int> gain, bool send) {
        RadioArguments arguments;
        arguments.radio = radio;
        arguments.rateKhz = rate;
        arguments.gain = gain;
        try {
            arguments.address(send);
            return true;
        } catch (const UsageError&) {
            return false;
        }
    };
    for (const int rate : {48, 96, 192, 384, 768, 1536, 2000, 6144, 8000, 10000, 50}) {
        const bool narrow = rate <= 384 && rate != 50;
        EXPECT_EQ(accepted("1.2.3.4", rate, {}, true), narrow) << rate;
        EXPECT_EQ(accepted("hpsdr2://1.2.3.4", rate, {}, false), narrow || rate == 768 || rate == 1536)
            << rate;
        EXPECT_EQ(accepted("sdrplay://", rate, {}, false), rate >= 768) << rate;
        EXPECT_EQ(accepted("ws://h/", rate, {}, false), rate == 48) << rate;
    }
    EXPECT_FALSE(accepted("hpsdr2://1.2.3.4", {}, {}, true));
    EXPECT_FALSE(accepted("sdrplay://", {}, {}, true));
    EXPECT_FALSE(accepted("ws://h/", {}, {}, true));
    EXPECT_FALSE(accepted("ws://h/", {}, 3, false));
    EXPECT_TRUE(accepted("sdrplay://", {}, 3, false));
    const std::pair<const char*, int> usual[] = {
        {"1.2.3.4", 192000}, {"hpsdr2://1.2.3.4", 192000}, {"sdrplay://", 768000}, {"ws://h/", 48000}};
    for (const auto& [radio, rate] : usual) {
        RadioArguments arguments;
        arguments.radio = radio;
        EXPECT_EQ(arguments.session().sampleRate, rate) << radio;
    }
}
