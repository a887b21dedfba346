#include "tests/host/program.hpp"

#include "host/sound_file.hpp"
#include "tests/host/temporary.hpp"

#include <nlohmann/json.hpp>

using namespace ferrow::test;

TEST(HostProgram, HelpIsEverywhere) {
    EXPECT_EQ(runFerrow({"--help"}).code, 0);
    for (const char* command : {"discover", "devices", "listen", "ft8", "talk", "tune", "denoise", "demo"}) {
        const Outcome help = runFerrow({command, "--help"});
        EXPECT_EQ(help.code, 0) << command;
        EXPECT_NE(help.output.find("Usage"), std::string::npos) << command;
        EXPECT_NE(runFerrow({"--help"}).output.find(command), std::string::npos);
    }
}

TEST(HostProgram, WrongCommandLinesEndWithTwo) {
    const std::vector<std::vector<std::string>> wrong = {
        {},
        {"no-such-command"},
        {"discover", "--timeout", "soon"},
        {"discover", "--timeout", "-1"},
        {"discover", "not-an-address"},
        {"discover", "--no-broadcast"},
        {"listen"},
        {"listen", "--radio", "127.61.1.1"},
        {"listen", "--tune", "14.2M:usb"},
        {"listen", "--radio", "127.61.1.1", "--tune", "14.2Q:usb"},
        {"listen", "--radio", "127.61.1.1", "--tune", "14.2M:xyz"},
        {"listen", "--radio", "127.61.1.1", "--tune", "14.2M:usb[9:8]"},
        {"listen", "--radio", "nowhere", "--tune", "14.2M:usb"},
        {"listen", "--radio", "127.61.1.1", "--tune", "14.2M:usb", "--rate", "50"},
        {"listen", "--radio", "127.61.1.1", "--tune", "14.2M:usb", "--device", "loud"},
        {"listen", "--radio", "127.61.1.1", "--tune", "14.2M:usb", "--duration", "-3"},
        {"listen", "--radio", "127.61.1.1", "--tune", "14.2M:usb", "--gain", "much"},
        {"listen", "--radio", "127.61.1.1", "--tune", "14.2M:usb", "--nr", "101"},
        {"listen", "--radio", "127.61.1.1", "--tune", "14.2M:usb", "--nr", "much"},
        {"ft8"},
        {"ft8", "--radio", "127.61.1.1"},
        {"ft8", "--radio", "127.61.1.1", "--band", "11m"},
        {"ft8", "--radio", "127.61.1.1", "--band", "160m", "--ft4"},
        {"ft8", "--radio", "127.61.1.1", "a.wav"},
        {"ft8", "--radio", "127.61.1.1", "--dial", "14.O74M"},
        {"ft8", "--radio", "127.61.1.1", "--band", "20m", "--slot", "odd"},
        {"ft8", "--radio", "127.61.1.1", "--band", "20m", "--send", "THIS IS FAR TOO LONG"},
        {"ft8", "--radio", "127.61.1.1", "--band", "20m", "--send", "CQ K1ABC FN42", "--slot", "third"},
        {"ft8", "--radio", "127.61.1.1", "--band", "20m", "--send", "CQ K1ABC FN42", "--freq", "4000"},
        {"ft8", "--radio", "127.61.1.1", "--band", "20m", "--send", "CQ K1ABC FN42", "--drive", "256"},
        {"ft8", "--radio", "127.61.1.1", "--band", "20m", "--band", "40m", "--send", "CQ K1ABC FN42"},
        {"ft8", "--send", "CQ K1ABC FN42", "a.wav"},
        {"tune", "--radio", "127.61.1.1"},
        {"tune", "--radio", "127.61.1.1", "--frequency", "14,2M"},
        {"tune", "--radio", "127.61.1.1", "--frequency", "14.2M", "--seconds", "0"},
        {"tune", "--radio", "127.61.1.1", "--frequency", "14.2M", "--watchdog", "0"},
        {"talk", "--radio", "127.61.1.1"},
        {"talk", "--radio", "127.61.1.1", "--tune", "14.2M:psk", "--ptt", "1"},
        {"talk", "--radio", "127.61.1.1", "--tune", "14.03M:cw", "--ptt", "1"},
        {"talk", "--radio", "127.61.1.1", "--tune", "29.6M:fm", "--ptt", "1", "--deviation", "75000"},
        {"talk", "--radio", "127.61.1.1", "--tune", "14.2M:usb", "--vox", "--ptt", "1"},
        {"talk", "--radio", "127.61.1.1", "--tune", "14.2M:usb", "--json"},
        {"talk", "--radio", "127.61.1.1", "--tune", "14.2M:usb", "--ptt", "1", "--microphone", "loud"},
        {"talk", "--radio", "127.61.1.1", "--tune", "14.2M:usb", "--wav", "a.wav", "--microphone", "1"},
        {"listen", "--radio", "wss://127.0.0.1/iq", "--tune", "14.2M:usb"},
        {"listen", "--radio", "foo://127.0.0.1", "--tune", "14.2M:usb"},
        {"listen", "--radio", "ws://127.0.0.1/iq?name=x", "--tune", "14.2M:usb"},
        {"listen", "--radio", "ws://127.0.0.1/iq", "--tune", "14.2M:usb", "--rate", "192"},
        {"listen", "--radio", "ws://127.0.0.1/iq", "--tune", "14.2M:usb", "--gain", "10"},
        {"listen", "--radio", "sdrplay://", "--tune", "14.2M:usb", "--rate", "192"},
        {"listen", "--radio", "hpsdr2://127.61.1.1", "--tune", "14.2M:usb", "--rate", "2000"},
        {"listen", "--radio", "hpsdr://127.61.1.1", "--tune", "14.2M:usb", "--rate", "768"},
        {"tune", "--radio", "sdrplay://", "--frequency", "14.2M"},
        {"talk", "--radio", "ws://127.0.0.1/iq", "--tune", "14.2M:usb", "--ptt", "1"},
        {"send", "--radio", "hpsdr2://127.61.1.1", "--mode", "cw", "--tune", "14.03M", "CQ"},
        {"ft8", "--radio", "sdrplay://", "--band", "20m", "--send", "CQ K1ABC FN42"},
        {"demo", "--loud"},
    };
    for (const auto& arguments : wrong) {
        const Outcome outcome = runFerrow(arguments);
        EXPECT_EQ(outcome.code, 2) << ::testing::PrintToString(arguments) << outcome.output;
        EXPECT_FALSE(outcome.output.empty());
    }
}

TEST(HostProgram, ARadioThatDoesNotAnswerEndsWithOne) {
    for (const auto& arguments :
         {std::vector<std::string>{"listen", "--radio", "127.61.1.2", "--tune", "14.2M:usb"},
          {"ft8", "--radio", "127.61.1.2", "--band", "20m"},
          {"tune", "--radio", "127.61.1.2", "--frequency", "14.2M"},
          {"talk", "--radio", "127.61.1.2", "--tune", "14.2M:usb", "--ptt", "1"}}) {
        const Outcome outcome = runFerrow(arguments);
        EXPECT_EQ(outcome.code, 1);
        EXPECT_NE(outcome.output.find("no radio answers at 127.61.1.2"), std::string::npos) << outcome.output;
    }
}

TEST(HostProgram, BadPathsEndWithOne) {
    const Outcome wav =
        runFerrow({"listen", "--radio", "127.61.1.3", "--tune", "14.2M:usb", "--wav", "/proc/no/such"});
    EXPECT_EQ(wav.code, 1);
    EXPECT_NE(wav.output.find("/proc/no/such"), std::string::npos) << wav.output;
    EXPECT_EQ(runFerrow({"ft8", "--radio", "127.61.1.3", "--band", "20m", "--keep", "/proc/no/such"}).code,
              1);
    EXPECT_EQ(runFerrow({"devices", "--log", "/proc/no/such/log"}).code, 1);
    const Outcome file = runFerrow({"ft8", "/no/such/file.wav"});
    EXPECT_EQ(file.code, 1);
    EXPECT_NE(file.output.find("/no/such/file.wav"), std::string::npos) << file.output;
}

TEST(HostProgram, DevicesAreJson) {
    const Outcome outcome = runFerrow({"devices", "--json"});
    EXPECT_EQ(outcome.code, 0);
    const auto json = nlohmann::json::parse(outcome.output);
    EXPECT_EQ(json.at("outputs").at(0).at("label"), "None");
    EXPECT_EQ(json.at("outputs").at(0).at("value"), -1);
    EXPECT_EQ(json.at("inputs").at(0).at("value"), 0);
}

TEST(HostProgram, DiscoveryWithoutAnAnswerIsAnEmptyList) {
    const Outcome outcome =
        runFerrow({"discover", "--no-broadcast", "127.61.1.4", "--timeout", "0.1", "--json"});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.output, "[]\n");
}

TEST(HostProgram, OneBadFileDoesNotStopTheOthers) {
    const TemporaryFolder folder;
    ferrow::WavWriter(folder.file("260301_120015.wav"), 12000).write(std::vector<float>(180000));
    const Outcome outcome = runFerrow({"ft8", "/no/such.wav", folder.file("260301_120015.wav")});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_NE(outcome.output.find("260301_120015.wav: 0 decoded"), std::string::npos) << outcome.output;
}
