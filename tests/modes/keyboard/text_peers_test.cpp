// What the modes send, read by independent programs, and the other way round.

#include "modes/cw_mod_demod.hpp"
#include "modes/rtty_mod_demod.hpp"
#include "tests/modes/mode_fixture.hpp"
#include "tests/modes/keyboard/text_peers.hpp"

namespace ferrow {
namespace {

using test::Signal;

class TextPeers : public test::ModeTest {};

TEST_F(TextPeers, MultimonReadsSentMorse) {
    if (!test::hasProgram("multimon-ng"))
        GTEST_SKIP() << "multimon-ng is not installed";
    const auto mode = use<cwModDemod>();
    mode->QueueText("PARIS PARIS PARIS THE QUICK BROWN FOX 0123456789", 0);
    const std::string heard = test::multimonMorse(pull(*mode, 48000 * 45), 20);
    EXPECT_NE(heard.find("THE QUICK BROWN FOX 0123456789"), std::string::npos) << heard;
}

TEST_F(TextPeers, MinimodemReadsSentTeletype) {
    if (!test::hasProgram("minimodem"))
        GTEST_SKIP() << "minimodem is not installed";
    const auto mode = use<RTTYModDemod>();
    mode->QueueText("RYRYRY THE QUICK BROWN FOX", 0);
    const std::string heard = test::minimodemTeletype(pull(*mode, 48000 * 8), 2170, 2000);
    EXPECT_NE(heard.find("THE QUICK BROWN FOX"), std::string::npos) << heard;
}

TEST_F(TextPeers, TeletypeOfMinimodemIsRead) {
    if (!test::hasProgram("minimodem"))
        GTEST_SKIP() << "minimodem is not installed";
    const auto mode = use<RTTYModDemod>();
    const Signal signal = test::minimodemSends("RYRYRYRYRY THE QUICK BROWN FOX RY", 2000, 2170);
    ASSERT_GT(signal.size(), 48000u);
    mode->rxFreq.set(2000);
    testing::internal::CaptureStdout();
    hear(*mode, signal);
    const std::string heard = testing::internal::GetCapturedStdout();
    EXPECT_NE(heard.find("THE QUICK BROWN FOX"), std::string::npos) << heard;
}

} // namespace
} // namespace ferrow
