// What the digital modes read, as listeners of ferrow serve get it.
#include "tests/host/serve/serve_client.hpp"

#include <set>

using namespace ferrow::test;

namespace {

const char* const kScene = R"({"noise_floor": -140, "stations": [
  {"kind": "cw", "frequency": 14030000, "level": -60, "wpm": 25, "text": "CQ CQ DE K1ABC K1ABC", "gap": 1},
  {"kind": "psk", "frequency": 14070000, "level": -60, "text": "one one one de K1ABC\n", "offset": 1000, "gap": 0.5, "idle": 1},
  {"kind": "psk", "frequency": 14070000, "level": -60, "text": "two two two de W9XYZ\n", "offset": 2000, "gap": 0.5, "idle": 1},
  {"kind": "rtty", "frequency": 14081670, "level": -60, "text": "RYRYRY DE DL1ABC 599 599", "gap": 1}]})";

// Texts of a transceiver, one behind the other.
std::string readings(ServeListener& listener, int id) {
    std::string all;
    for (const json& text : listener.texts())
        if (text.at("is") == "text" && text.at("id") == id)
            all += text.at("text").get<std::string>();
    return all;
}

bool reads(ServeListener& listener, int id, const std::string& words) {
    for (int i = 0; i < 1200; ++i) {
        if (readings(listener, id).find(words) != std::string::npos)
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return false;
}

} // namespace

TEST(ServeText, KeyboardModesAreRead) {
    ServedRadio radio("127.63.3.1", kScene);
    Serving serving(radio.address(), {"--rate", "384"});
    ServeListener listener(serving);
    // The dial stands beside the signal: a click tunes, 500 Hz above the pitch.
    const int cw = listener.add(14029500, "cw");
    const json tuned = listener.ask({{"do", "set"}, {"id", cw}, {"marker", 1150}}, "transceiver");
    EXPECT_EQ(tuned.at("frequency"), 14030000);
    EXPECT_EQ(tuned.at("marker"), 650);
    const int rtty = listener.add(14080000, "rtty");
    const int psk = listener.add(14070000, "psk31");
    listener.send({{"do", "set"}, {"id", psk}, {"marker", 1000}});
    EXPECT_TRUE(reads(listener, cw, "k1abc")) << readings(listener, cw);
    EXPECT_TRUE(reads(listener, rtty, "DE DL1ABC 599")) << readings(listener, rtty);
    EXPECT_TRUE(reads(listener, psk, "one de K1ABC")) << readings(listener, psk);
    // The bank reads the other one too.
    const json labels = listener.next(
        "labels",
        [&](const json& message) {
            std::set<std::string> found;
            for (const json& label : message.at("labels"))
                for (const char* word : {"one", "two"})
                    if (std::abs(label.at("frequency").get<int>() - (word == std::string("one") ? 1000 : 2000)) < 15 &&
                        label.at("text").get<std::string>().find(word) != std::string::npos)
                        found.insert(word);
            return found.size() == 2;
        },
        std::chrono::seconds(60));
    EXPECT_TRUE(labels.is_object());
    listener.send({{"do", "set"}, {"id", psk}, {"marker", 2000}});
    EXPECT_TRUE(reads(listener, psk, "two de W9XYZ")) << readings(listener, psk);
    // Nothing of RTTY comes on the standard output.
    EXPECT_EQ(serving.end().output.find("DL1ABC"), std::string::npos);
}

TEST(ServeText, SlotsAreDecodedForAllWhoListen) {
    ServedRadio radio("127.63.3.2", R"({"noise_floor": -135, "stations": [
      {"kind": "ft8", "frequency": 14074000, "offset": 1000, "snr": 0, "message": "CQ K1ABC FN42"},
      {"kind": "ft8", "frequency": 14074000, "offset": 2000, "snr": -5, "message": "K1ABC W9XYZ -12"},
      {"kind": "ft4", "frequency": 14080000, "offset": 1200, "snr": 3, "message": "CQ DL1ABC JO62"}]})");
    Serving serving(radio.address());
    ServeListener first(serving), second(serving);
    const int a = first.add(14074000, "ft8"), b = second.add(14074000, "ft8"), c = second.add(14080000, "ft4");
    const auto decodes = [](ServeListener& listener, int id) {
        return listener.next(
            "decodes", [id](const json& d) { return d.at("id") == id && !d.at("lines").empty(); },
            std::chrono::seconds(60));
    };
    const json ft4 = decodes(second, c);
    ASSERT_TRUE(ft4.is_object());
    EXPECT_EQ(ft4.at("mode"), "ft4");
    EXPECT_EQ(ft4.at("lines").at(0).at("text"), "CQ DL1ABC JO62");
    const json one = decodes(first, a);
    ASSERT_TRUE(one.is_object());
    EXPECT_EQ(one.at("dial"), 14074000);
    EXPECT_EQ(one.at("sent"), false);
    const std::string slot = one.at("slot");
    EXPECT_TRUE(slot.ends_with("Z")) << slot;
    ASSERT_EQ(one.at("lines").size(), 2U) << one;
    const json& line = one.at("lines").at(0);
    EXPECT_EQ(line.at("text"), "CQ K1ABC FN42");
    EXPECT_NEAR(line.at("frequency").get<double>(), 1000, 4);
    EXPECT_NEAR(line.at("snr").get<double>(), 0, 3);
    EXPECT_NEAR(line.at("dt").get<double>(), 0, 0.3);
    EXPECT_EQ(line.at("time").get<std::string>().size(), 6U);
    json two;
    for (int i = 0; i < 1000 && two.is_null(); ++i) {
        for (const json& text : second.texts())
            if (text.at("is") == "decodes" && text.at("id") == b && text.at("slot") == slot)
                two = text;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    ASSERT_TRUE(two.is_object());
    EXPECT_EQ(two.at("lines"), one.at("lines"));
}
