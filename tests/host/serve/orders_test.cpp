// What listeners may ask for, text by text.
#include "host/serve/orders.hpp"

#include <gtest/gtest.h>

using namespace ferrow;
using namespace ferrow::serve;

namespace {

template <typename T>
T order(std::string_view text) {
    const auto read = readOrder(text);
    if (const auto* error = std::get_if<OrderError>(&read)) {
        ADD_FAILURE() << text << ": " << error->text;
        return {};
    }
    const T* found = std::get_if<T>(&std::get<Order>(read));
    EXPECT_NE(found, nullptr) << text;
    return found ? *found : T{};
}

OrderError refused(std::string_view text) {
    const auto read = readOrder(text);
    const auto* error = std::get_if<OrderError>(&read);
    EXPECT_NE(error, nullptr) << text;
    return error ? *error : OrderError{};
}

} // namespace

TEST(Orders, AreRead) {
    const auto add = order<AddOrder>(R"({"do":"add","frequency":14074000,"mode":"ft8","more":[1,2]})");
    EXPECT_EQ(add.frequency, 14074000);
    EXPECT_EQ(add.mode, "ft8");
    EXPECT_EQ(order<RemoveOrder>(R"({"do":"remove","id":3})").id, 3);
    const auto view = order<ViewOrder>(R"({"do":"view","id":1,"zoom":8,"offset":-1500,"bins":512,"rate":12.5})");
    EXPECT_EQ(view.zoom, 8);
    EXPECT_EQ(view.offset, -1500);
    EXPECT_EQ(view.bins, 512);
    EXPECT_EQ(view.rate, 12.5);
    EXPECT_FALSE(order<ViewOrder>(R"({"do":"view","id":1})").zoom.has_value());
    EXPECT_EQ(order<AudioOrder>(R"({"do":"audio","format":"opus"})").format, AudioFormat::Opus);
    EXPECT_EQ(order<AudioOrder>(R"({"do":"audio","format":"pcm"})").format, AudioFormat::Pcm);
    EXPECT_EQ(order<AudioOrder>(R"({"do":"audio","format":"off"})").format, AudioFormat::Off);
    EXPECT_EQ(order<PingOrder>(R"({"do":"ping","t":1790000000123})").t.dump(), "1790000000123");
    EXPECT_TRUE(order<KeyOrder>(R"({"do":"key","id":1,"on":true})").on);
    EXPECT_FALSE(order<TuneOrder>(R"({"do":"tune","id":1,"on":false})").on);
    EXPECT_EQ(order<SendOrder>(R"({"do":"send","id":1,"text":"CQ CQ"})").text, "CQ CQ");
    order<StopOrder>(R"({"do":"stop"})");
    const auto ft8 = order<Ft8Order>(
        R"({"do":"ft8","id":2,"message":"CQ K1ABC FN42","frequency":1500,"parity":"even","times":3})");
    EXPECT_EQ(ft8.message, "CQ K1ABC FN42");
    EXPECT_EQ(ft8.frequency, 1500);
    EXPECT_EQ(ft8.parity, SlotParity::Even);
    EXPECT_EQ(ft8.times, 3);
    const auto log = order<LogOrder>(
        R"({"do":"log","call":"K1ABC","grid":"FN42","sent":"-10","received":"-05","mode":"FT8","frequency":14074000})");
    EXPECT_EQ(log.call, "K1ABC");
    EXPECT_EQ(log.received, "-05");
    EXPECT_EQ(log.frequency, 14074000);
}

TEST(Orders, ASetChangesWhatItNames) {
    const auto all = order<SetOrder>(
        R"({"do":"set","id":1,"frequency":7100000,"mode":"lsb","low":-2800,"high":-200,"agc":"off","gain":30,
            "squelch":-90.5,"nr":80,"volume":0.25,"mute":true,"marker":1200})");
    EXPECT_EQ(all.frequency, 7100000);
    EXPECT_EQ(all.mode, "lsb");
    EXPECT_EQ(all.low, -2800);
    EXPECT_EQ(all.high, -200);
    EXPECT_EQ(all.agc, Agc::Off);
    EXPECT_EQ(all.gain, 30);
    EXPECT_EQ(all.squelch.value(), -90.5);
    EXPECT_EQ(all.nr.value(), 80);
    EXPECT_EQ(all.volume, 0.25);
    EXPECT_EQ(all.mute, true);
    EXPECT_EQ(all.marker, 1200);
    const auto none = order<SetOrder>(R"({"do":"set","id":1})");
    EXPECT_FALSE(none.frequency || none.mode || none.low || none.high || none.agc || none.gain || none.squelch ||
                 none.nr || none.volume || none.mute || none.marker);
    const auto off = order<SetOrder>(R"({"do":"set","id":1,"squelch":null,"nr":null})");
    ASSERT_TRUE(off.squelch && off.nr);
    EXPECT_FALSE(off.squelch->has_value());
    EXPECT_FALSE(off.nr->has_value());
}

TEST(Orders, BadOnesAreAnsweredWithTheirName) {
    for (const char* text :
         {"", "x", "[]", "\"do\"", "{}", R"({"do":1})", R"({"do":"ping","t":1)", "{\"do\":\"stop\",\"x\":\"\xff\"}"})
        EXPECT_EQ(refused(text).about, "") << text;
    struct Row {
        const char* about;
        const char* text;
    };
    for (const Row& row : {
             Row{"nonsense", R"({"do":"nonsense"})"},
             Row{"add", R"({"do":"add","frequency":14074000})"},
             Row{"add", R"({"do":"add","frequency":14074000,"mode":"xyz"})"},
             Row{"add", R"({"do":"add","frequency":-1,"mode":"usb"})"},
             Row{"add", R"({"do":"add","frequency":1e30,"mode":"usb"})"},
             Row{"add", R"({"do":"add","frequency":14074000.5,"mode":"usb"})"},
             Row{"add", R"({"do":"add","frequency":"14074000","mode":"usb"})"},
             Row{"remove", R"({"do":"remove"})"},
             Row{"remove", R"({"do":"remove","id":0})"},
             Row{"remove", R"({"do":"remove","id":256})"},
             Row{"remove", R"({"do":"remove","id":1e99})"},
             Row{"set", R"({"do":"set","id":1,"low":300,"high":300})"},
             Row{"set", R"({"do":"set","id":1,"low":-20001})"},
             Row{"set", R"({"do":"set","id":1,"agc":"quick"})"},
             Row{"set", R"({"do":"set","id":1,"gain":161})"},
             Row{"set", R"({"do":"set","id":1,"volume":1.01})"},
             Row{"set", R"({"do":"set","id":1,"mute":1})"},
             Row{"set", R"({"do":"set","id":1,"nr":-1})"},
             Row{"set", R"({"do":"set","id":1,"squelch":"no"})"},
             Row{"set", R"({"do":"set","id":1,"marker":5000})"},
             Row{"set", R"({"do":"set","id":1,"frequency":null})"},
             Row{"view", R"({"do":"view","id":1,"zoom":3})"},
             Row{"view", R"({"do":"view","id":1,"zoom":1024})"},
             Row{"view", R"({"do":"view","id":1,"zoom":0})"},
             Row{"view", R"({"do":"view","id":1,"bins":32})"},
             Row{"view", R"({"do":"view","id":1,"bins":100})"},
             Row{"view", R"({"do":"view","id":1,"rate":61})"},
             Row{"audio", R"({"do":"audio","format":"mp3"})"},
             Row{"ping", R"({"do":"ping"})"},
             Row{"ping", R"({"do":"ping","t":"x"})"},
             Row{"key", R"({"do":"key","id":1})"},
             Row{"key", R"({"do":"key","id":1,"on":"yes"})"},
             Row{"send", R"({"do":"send","id":1,"text":""})"},
             Row{"send", R"({"do":"send","id":1,"text":7})"},
             Row{"ft8", R"({"do":"ft8","id":1,"message":"CQ K1ABC FN42","parity":"third"})"},
             Row{"ft8", R"({"do":"ft8","id":1,"message":"CQ K1ABC FN42","frequency":50})"},
             Row{"ft8", R"({"do":"ft8","id":1,"message":"CQ K1ABC FN42","times":0})"},
             Row{"log", R"({"do":"log"})"},
         }) {
        const OrderError error = refused(row.text);
        EXPECT_EQ(error.about, row.about) << row.text;
        EXPECT_FALSE(error.text.empty());
    }
    EXPECT_EQ(refused(R"({"do":"send","id":1,"text":")" + std::string(1001, 'a') + "\"}").about, "send");
}

// As deep as a message may be long.
TEST(Orders, DeepNestingIsRefused) {
    EXPECT_EQ(refused(std::string(16384, '[')).about, "");
    EXPECT_EQ(refused(R"({"do":"stop","x":)" + std::string(8000, '[') + std::string(8000, ']') + "").about, "");
    order<StopOrder>(R"({"do":"stop","x":)" + std::string(8000, '[') + std::string(8000, ']') + "}");
}
