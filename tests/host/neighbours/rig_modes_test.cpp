// Modes of rig control to filters and back, and the rig that one transceiver is.
#include "host/neighbours/listen_rig.hpp"
#include "host/neighbours/rig_modes.hpp"

#include <gtest/gtest.h>

using namespace ferrow;

namespace {

void expectFilter(const RigMode& mode, const char* before, int low, int high) {
    const auto tuning = tuningIn(mode, parseTuning(before));
    ASSERT_TRUE(tuning) << mode.name;
    EXPECT_EQ(tuning->low, low) << mode.name << ' ' << mode.passband;
    EXPECT_EQ(tuning->high, high) << mode.name << ' ' << mode.passband;
    EXPECT_EQ(tuning->frequency, parseTuning(before).frequency);
}

} // namespace

TEST(RigModes, HaveFilters) {
    expectFilter({"USB", 0}, "14.2M:am", 300, 2700);
    expectFilter({"USB", 1800}, "14.2M:am", 300, 2100);
    expectFilter({"LSB", 1800}, "14.2M:am", -2100, -300);
    expectFilter({"PKTUSB", 3000}, "14.2M:usb", 300, 3300);
    expectFilter({"CW", 200}, "14.2M:usb", 500, 700);
    expectFilter({"AM", 6000}, "14.2M:usb", -3000, 3000);
    expectFilter({"FM", 0}, "14.2M:usb", -6000, 6000);
    expectFilter({"LSB", -1}, "14.2M:cw", -800, -300); // as wide as it was
    expectFilter({"USB", 20000}, "14.2M:usb", 0, 20000);
    for (const RigMode& mode :
         {RigMode{"FOO", 0}, RigMode{"usb", 0}, RigMode{"USB", 10}, RigMode{"USB", 50000},
          RigMode{"AM", 2147483647}, RigMode{"AM", 40002}, RigMode{"", 0}})
        EXPECT_FALSE(tuningIn(mode, parseTuning("14.2M:usb"))) << mode.name << ' ' << mode.passband;
}

TEST(RigModes, ComeBackAsTheyWere) {
    for (const RigMode& mode : rigModes()) {
        const auto tuning = tuningIn(mode, parseTuning("7.1M"));
        ASSERT_TRUE(tuning) << mode.name;
        EXPECT_EQ(rigModeOf(*tuning).passband, mode.passband) << mode.name;
        if (!mode.name.starts_with("PKT")) {
            EXPECT_EQ(rigModeOf(*tuning).name, mode.name);
        }
    }
}

TEST(ListenRig, HasOneVfoAndNoKey) {
    Tuning tuning = parseTuning("14.2M:usb");
    std::string tuned;
    std::optional<double> level;
    ListenRig rig(tuning, {"a test", [&](bool newMode) { tuned += newMode ? "mode;" : "frequency;"; },
                           [&] { return level; }, -73});
    EXPECT_EQ(rig.setFrequency(Vfo::A, 7'100'000), RigAnswer::Done);
    EXPECT_EQ(tuning.frequency, 7'100'000);
    EXPECT_EQ(rig.setMode(Vfo::A, {"PKTUSB", 0}), RigAnswer::Done);
    EXPECT_EQ(rig.mode(Vfo::A), (RigMode{"PKTUSB", 2400})) << "by the name that it was set with";
    EXPECT_EQ(tuned, "frequency;mode;");
    EXPECT_EQ(rig.setMode(Vfo::A, {"USB", 50'000}), RigAnswer::BadArgument);
    EXPECT_EQ(rig.setFrequency(Vfo::B, 7'000'000), RigAnswer::NotSupported);
    EXPECT_EQ(rig.setMode(Vfo::B, {"USB", 0}), RigAnswer::NotSupported);
    EXPECT_EQ(rig.setVfo(Vfo::B), RigAnswer::NotSupported);
    EXPECT_EQ(rig.setVfo(Vfo::A), RigAnswer::Done);
    EXPECT_EQ(rig.setSplit(Vfo::B), RigAnswer::NotSupported);
    EXPECT_EQ(rig.setPtt(true), RigAnswer::NotAllowed);
    EXPECT_EQ(rig.setPtt(false), RigAnswer::Done);
    EXPECT_FALSE(rig.ptt());
    EXPECT_EQ(tuned, "frequency;mode;") << "nothing else has been touched";
    EXPECT_FALSE(rig.strength());
    level = -85;
    EXPECT_EQ(rig.strength(), -12);
}
