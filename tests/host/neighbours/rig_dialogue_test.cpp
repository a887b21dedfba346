// Every command of rig control, as lines.
#include "host/neighbours/rig_dialogue.hpp"
#include "tests/host/neighbours/fake_rig.hpp"

#include <gtest/gtest.h>

using namespace ferrow;

namespace {

struct RigDialogueOf : testing::Test {
    test::FakeRig rig;
    RigDialogue dialogue{rig};

    std::string ask(std::string_view line) { return dialogue.answer(line); }
};

} // namespace

TEST_F(RigDialogueOf, FrequencyIsReadAndSet) {
    EXPECT_EQ(ask("f"), "14074000\n");
    EXPECT_EQ(ask("F 14250000"), "RPRT 0\n");
    EXPECT_EQ(ask("\\get_freq"), "14250000\n");
    EXPECT_EQ(ask("\\set_freq 7074000.4"), "RPRT 0\n") << "a fraction of a hertz is rounded";
    EXPECT_EQ(ask("f"), "7074000\n");
    EXPECT_EQ(ask("F14200000"), "RPRT 0\n") << "no space between";
    EXPECT_EQ(ask("  F \t 14250000.000000 \r"), "RPRT 0\n");
    EXPECT_EQ(rig.frequency(Vfo::A), 14'250'000);
    EXPECT_EQ(rig.frequency(Vfo::B), 7'030'000);
}

TEST_F(RigDialogueOf, FrequencyOutOfRangeOrNoneIsABadArgument) {
    for (const char* line :
         {"F", "F abc", "F 99999", "F 54000001", "F -14074000", "F nan", "F inf", "F 1e400", "F 14000000x",
          "F 14000000 7000000", "F VFOC 14000000", "F VFOB", "F 1e308", "\\set_freq", "F 0x10000000"})
        EXPECT_EQ(ask(line), "RPRT -1\n") << line;
    EXPECT_EQ(rig.frequency(Vfo::A), 14'074'000);
    EXPECT_EQ(ask("F 100000"), "RPRT 0\n");
    EXPECT_EQ(ask("F 54000000"), "RPRT 0\n");
}

TEST_F(RigDialogueOf, ModeIsReadAndSet) {
    EXPECT_EQ(ask("m"), "USB\n2400\n");
    EXPECT_EQ(ask("M LSB 1800"), "RPRT 0\n");
    EXPECT_EQ(ask("\\get_mode"), "LSB\n1800\n");
    EXPECT_EQ(ask("M CW 0"), "RPRT 0\n");
    EXPECT_EQ(ask("m"), "CW\n500\n") << "0 is the usual passband";
    EXPECT_EQ(ask("\\set_mode PKTUSB -1"), "RPRT 0\n");
    EXPECT_EQ(ask("m"), "PKTUSB\n500\n") << "-1 leaves it";
    EXPECT_EQ(ask("M ?"), "USB LSB CW AM PKTUSB \nRPRT 0\n");
    for (const char* line :
         {"M", "M USB", "M usb 0", "M WFM 0", "M FOO 0", "M USB abc", "M USB 2400 3", "M USB 99999999999"})
        EXPECT_EQ(ask(line), "RPRT -1\n") << line;
    EXPECT_EQ(ask("m"), "PKTUSB\n500\n");
}

TEST_F(RigDialogueOf, AVfoMayStandInFrontOfTheArguments) {
    EXPECT_EQ(ask("f VFOB"), "7030000\n");
    EXPECT_EQ(ask("f Sub"), "7030000\n");
    EXPECT_EQ(ask("f currVFO"), "14074000\n");
    EXPECT_EQ(ask("m VFOB"), "CW\n500\n");
    EXPECT_EQ(ask("F VFOB 7031000"), "RPRT 0\n");
    EXPECT_EQ(rig.frequency(Vfo::B), 7'031'000);
    EXPECT_EQ(ask("M Main LSB 0"), "RPRT 0\n");
    EXPECT_EQ(rig.mode(Vfo::A).name, "LSB");
    EXPECT_EQ(ask("l VFOA STRENGTH"), "-23\n");
    EXPECT_EQ(ask("t VFOA"), "0\n");
    EXPECT_EQ(ask("T VFOA 1"), "RPRT 0\n");
    EXPECT_TRUE(rig.ptt());
    EXPECT_EQ(ask("f VFOX"), "RPRT -1\n");
    EXPECT_EQ(ask("fm"), "RPRT -1\n");
    EXPECT_EQ(ask("f VFOA VFOB"), "RPRT -1\n");
}

TEST_F(RigDialogueOf, TheVfoOptionIsTheClients) {
    EXPECT_EQ(ask("\\chk_vfo"), "0\n");
    EXPECT_EQ(ask("\\set_vfo_opt 1"), "RPRT 0\n");
    EXPECT_EQ(ask("\\chk_vfo"), "1\n");
    EXPECT_EQ(ask("+\\chk_vfo"), "chk_vfo:\nChkVFO: 1\nRPRT 0\n");
    EXPECT_EQ(RigDialogue(rig).answer("\\chk_vfo"), "0\n");
    EXPECT_EQ(ask("\\set_vfo_opt 2"), "RPRT -1\n");
    EXPECT_EQ(ask("\\set_vfo_opt"), "RPRT -1\n");
    EXPECT_EQ(ask("\\set_vfo_opt 0"), "RPRT 0\n");
    EXPECT_EQ(ask("\\chk_vfo"), "0\n");
}

TEST_F(RigDialogueOf, VfosAreExchanged) {
    EXPECT_EQ(ask("v"), "VFOA\n");
    EXPECT_EQ(ask("V VFOB"), "RPRT 0\n");
    EXPECT_EQ(ask("\\get_vfo"), "VFOB\n");
    EXPECT_EQ(ask("f"), "7030000\n");
    EXPECT_EQ(ask("V currVFO"), "RPRT 0\n");
    EXPECT_EQ(ask("v"), "VFOB\n");
    EXPECT_EQ(ask("\\set_vfo Main"), "RPRT 0\n");
    EXPECT_EQ(ask("v"), "VFOA\n");
    EXPECT_EQ(ask("V ?"), "VFOA VFOB currVFO \nRPRT 0\n");
    EXPECT_EQ(ask("V VFOC"), "RPRT -1\n");
    EXPECT_EQ(ask("V MEM"), "RPRT -1\n");
    EXPECT_EQ(ask("V"), "RPRT -1\n");
}

TEST_F(RigDialogueOf, SplitHasItsFrequencyAndMode) {
    EXPECT_EQ(ask("s"), "0\nVFOA\n");
    EXPECT_EQ(ask("i"), "14074000\n") << "without split the transmitter goes along";
    EXPECT_EQ(ask("x"), "USB\n2400\n");
    EXPECT_EQ(ask("I 14200000"), "RPRT -9\n");
    EXPECT_EQ(ask("X USB 0"), "RPRT -9\n");
    EXPECT_EQ(ask("S 1 VFOB"), "RPRT 0\n");
    EXPECT_EQ(ask("\\get_split_vfo"), "1\nVFOB\n");
    EXPECT_EQ(ask("I 14079000"), "RPRT 0\n");
    EXPECT_EQ(ask("X PKTUSB 3000"), "RPRT 0\n");
    EXPECT_EQ(ask("i"), "14079000\n");
    EXPECT_EQ(ask("\\get_split_mode"), "PKTUSB\n3000\n");
    EXPECT_EQ(ask("f TX"), "14079000\n");
    EXPECT_EQ(ask("f"), "14074000\n");
    EXPECT_EQ(ask("I VFOA 14078000"), "RPRT 0\n") << "the VFO in front is the one that is received";
    EXPECT_EQ(rig.frequency(Vfo::B), 14'078'000);
    EXPECT_EQ(ask("I 1"), "RPRT -1\n");
    EXPECT_EQ(ask("X FOO 0"), "RPRT -1\n");
    EXPECT_EQ(ask("S VFOA 0 VFOA"), "RPRT 0\n");
    EXPECT_EQ(ask("s VFOA"), "0\nVFOA\n");
    for (const char* line : {"S", "S 1", "S 2 VFOB", "S 1 VFOX", "S 1 VFOA", "S 0 nowhere", "S x VFOB"})
        EXPECT_EQ(ask(line), "RPRT -1\n") << line;
    EXPECT_FALSE(rig.split());
}

TEST_F(RigDialogueOf, TheKeyIsPressedAndReleased) {
    EXPECT_EQ(ask("t"), "0\n");
    for (const char* on : {"T 1", "T 2", "\\set_ptt 3"}) {
        EXPECT_EQ(ask(on), "RPRT 0\n");
        EXPECT_EQ(ask("\\get_ptt"), "1\n") << on;
        EXPECT_EQ(ask("T 0"), "RPRT 0\n");
        EXPECT_FALSE(rig.ptt());
    }
    for (const char* line : {"T", "T 4", "T -1", "T x", "T 1 1", "T 1x"})
        EXPECT_EQ(ask(line), "RPRT -1\n") << line;
    EXPECT_FALSE(rig.ptt());
}

TEST_F(RigDialogueOf, WhatTheRadioRefusesHasItsNumber) {
    const std::pair<RigAnswer, const char*> expected[] = {{RigAnswer::BadArgument, "RPRT -1\n"},
                                                          {RigAnswer::NotSupported, "RPRT -11\n"},
                                                          {RigAnswer::NotAllowed, "RPRT -9\n"},
                                                          {RigAnswer::Failed, "RPRT -6\n"}};
    for (const auto& [answer, text] : expected) {
        rig.answer = answer;
        for (const char* line : {"T 1", "F 7000000", "M USB 0", "V VFOB", "S 0 VFOA"})
            EXPECT_EQ(ask(line), text) << line;
    }
    EXPECT_EQ(ask("+T 1"), "set_ptt: 1\nRPRT -6\n");
}

TEST_F(RigDialogueOf, StrengthIsTheOnlyLevel) {
    EXPECT_EQ(ask("l STRENGTH"), "-23\n");
    rig.level = 19.6;
    EXPECT_EQ(ask("\\get_level STRENGTH"), "20\n");
    EXPECT_EQ(ask("l ?"), "STRENGTH \n");
    rig.level.reset();
    EXPECT_EQ(ask("l STRENGTH"), "RPRT -11\n");
    EXPECT_EQ(ask("l RFPOWER"), "RPRT -11\n");
    EXPECT_EQ(ask("l"), "RPRT -1\n");
    EXPECT_EQ(ask("L RFPOWER 0.5"), "RPRT -11\n");
    EXPECT_EQ(ask("L STRENGTH 3"), "RPRT -11\n");
    EXPECT_EQ(ask("L ?"), "\nRPRT 0\n");
    EXPECT_EQ(ask("L"), "RPRT -1\n");
}

TEST_F(RigDialogueOf, StateInfoAndVfoInfo) {
    EXPECT_EQ(ask("\\get_powerstat"), "1\n");
    EXPECT_EQ(ask("\x88"), "1\n");
    rig.power = false;
    EXPECT_EQ(ask("\\get_powerstat"), "0\n");
    EXPECT_EQ(ask("_"), "a radio in memory\n");
    EXPECT_EQ(ask("\\get_info"), "a radio in memory\n");
    EXPECT_EQ(ask("\\get_vfo_info VFOB"), "7030000\nCW\n500\n0\n0\n");
    EXPECT_EQ(ask("\xf3 VFOA"), "14074000\nUSB\n2400\n0\n0\n");
    EXPECT_EQ(ask("+\\get_vfo_info VFOB"),
              "get_vfo_info: VFOB\nFreq: 7030000\nMode: CW\nWidth: 500\nSplit: 0\nSatMode: 0\nRPRT 0\n");
    EXPECT_EQ(ask("\\get_vfo_info VFOX"), "RPRT -1\n");
    EXPECT_EQ(ask("\\get_vfo_info"), "RPRT -1\n");
    EXPECT_EQ(ask("\\get_lock_mode"), "0\n");
}

TEST_F(RigDialogueOf, StateForOldAndNewClients) {
    const std::string old = ask("\\dump_state");
    EXPECT_EQ(old, "1\n2\n1\n"
                   "100000.000000 54000000.000000 0x80f -1 -1 0x3 0x1\n0 0 0 0 0 0 0\n"
                   "100000.000000 54000000.000000 0x80f 0 0 0x3 0x1\n0 0 0 0 0 0 0\n"
                   "0x80f 1\n0 0\n"
                   "0x4 2400\n0x8 2400\n0x2 500\n0x1 9000\n0x800 3000\n0 0\n"
                   "0\n0\n0\n0\n0\n0\n"
                   "0x0\n0x0\n0x40000000\n0x0\n0x0\n0x0\n");
    ask("\\chk_vfo");
    const std::string both = ask("\\dump_state");
    ASSERT_EQ(both.substr(0, old.size()), old);
    EXPECT_NE(both.find("\nptt_type=0x1\n"), std::string::npos);
    EXPECT_TRUE(both.ends_with("\ndone\n"));
}

TEST_F(RigDialogueOf, TheExtendedProtocolNamesWhatItAnswers) {
    EXPECT_EQ(ask("+f"), "get_freq:\nFrequency: 14074000\nRPRT 0\n");
    EXPECT_EQ(ask("+\\get_mode"), "get_mode:\nMode: USB\nPassband: 2400\nRPRT 0\n");
    EXPECT_EQ(ask(";m"), "get_mode:;Mode: USB;Passband: 2400;RPRT 0\n");
    EXPECT_EQ(ask("|\\get_mode"), "get_mode:|Mode: USB|Passband: 2400|RPRT 0\n");
    EXPECT_EQ(ask(",M LSB 2400"), "set_mode: LSB 2400,RPRT 0\n");
    EXPECT_EQ(ask("+F VFOA 14251000"), "set_freq: VFOA 14251000\nRPRT 0\n");
    EXPECT_EQ(ask("+m VFOB"), "get_mode: VFOB\nMode: CW\nPassband: 500\nRPRT 0\n");
    EXPECT_EQ(ask("+s"), "get_split_vfo:\nSplit: 0\nTX VFO: VFOA\nRPRT 0\n");
    EXPECT_EQ(ask("+x"), "get_split_mode:\nTX Mode: LSB\nTX Passband: 2400\nRPRT 0\n");
    EXPECT_EQ(ask("+i"), "get_split_freq:\nTX Frequency: 14251000\nRPRT 0\n");
    EXPECT_EQ(ask("+v"), "get_vfo:\nVFO: VFOA\nRPRT 0\n");
    EXPECT_EQ(ask("+t"), "get_ptt:\nPTT: 0\nRPRT 0\n");
    EXPECT_EQ(ask("+l STRENGTH"), "get_level: STRENGTH\nLevel Value: -23\nRPRT 0\n");
    EXPECT_EQ(ask("+\\get_powerstat"), "get_powerstat:\nPower Status: 1\nRPRT 0\n");
    EXPECT_EQ(ask("+_"), "get_info:\nInfo: a radio in memory\nRPRT 0\n");
    EXPECT_EQ(ask("+ \t f"), "get_freq:\nFrequency: 14251000\nRPRT 0\n");
    EXPECT_EQ(ask("+\t"), ":\nRPRT -11\n");
    EXPECT_EQ(ask("+F abc"), "set_freq: abc\nRPRT -1\n");
    EXPECT_EQ(ask("+\\no_such"), "no_such:\nRPRT -11\n");
    EXPECT_EQ(ask("f"), "14251000\n") << "the next command is of the default protocol again";
}

TEST_F(RigDialogueOf, UnknownCommandsAreNotAvailable) {
    for (const char* line :
         {"\\no_such", "z", "zzz", "J 0", "\\set_rit 0", "1", "?", "+", "\\", "\\F 14000000", "\\halt",
          "get_freq", "AOS", "w FA;", "\\set_powerstat 0", "*", "y 1"}) {
        const std::string answer = ask(line);
        EXPECT_TRUE(answer.ends_with("RPRT -11\n") || answer.ends_with("RPRT -1\n"))
            << line << ": " << answer;
    }
    EXPECT_EQ(ask("\\no_such"), "RPRT -11\n");
    EXPECT_EQ(ask("\\set_rit 0"), "RPRT -11\n");
    EXPECT_EQ(ask("\\halt"), "RPRT -11\n");
    EXPECT_FALSE(dialogue.ended());
}

TEST_F(RigDialogueOf, EmptyLinesAndCommentsHaveNoAnswer) {
    EXPECT_EQ(ask(""), "");
    EXPECT_EQ(ask("\r"), "");
    EXPECT_EQ(ask("  \t "), "");
    EXPECT_EQ(ask("# F 7000000"), "");
    EXPECT_EQ(rig.frequency(Vfo::A), 14'074'000);
}

TEST_F(RigDialogueOf, WhatIsNoTextIsRefusedAndNotSentBack) {
    EXPECT_EQ(ask("F \x01\x02"), "RPRT -1\n");
    EXPECT_EQ(ask("+F \x1b[2J"), "set_freq:\nRPRT -1\n");
    EXPECT_EQ(ask("+\\\x1b[2J"), "?:\nRPRT -11\n");
    EXPECT_EQ(ask("\xff\xfb\x1f"), "RPRT -11\n");
    EXPECT_EQ(ask(std::string_view("f\0", 2)), "RPRT -1\n");
    EXPECT_EQ(ask(std::string_view("\0", 1)), "RPRT -11\n");
}

TEST_F(RigDialogueOf, GoodbyeEndsIt) {
    EXPECT_EQ(ask("q"), "RPRT 0\n");
    EXPECT_TRUE(dialogue.ended());
    RigDialogue other(rig);
    EXPECT_EQ(other.answer("Q"), "RPRT 0\n");
    EXPECT_TRUE(other.ended());
}
