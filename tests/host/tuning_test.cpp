#include "host/failure.hpp"
#include "host/frequency.hpp"
#include "host/ft8_bands.hpp"
#include "host/tuning.hpp"

#include <gtest/gtest.h>

using namespace ferrow;

TEST(Frequency, IsReadInAllItsForms) {
    EXPECT_EQ(parseFrequency("14.2M"), 14200000);
    EXPECT_EQ(parseFrequency("14.200M"), 14200000);
    EXPECT_EQ(parseFrequency("14.2MHz"), 14200000);
    EXPECT_EQ(parseFrequency("14200k"), 14200000);
    EXPECT_EQ(parseFrequency("14200.5kHz"), 14200500);
    EXPECT_EQ(parseFrequency("14200000"), 14200000);
    EXPECT_EQ(parseFrequency("14200001Hz"), 14200001);
    EXPECT_EQ(parseFrequency("7.0475M"), 7047500);
    EXPECT_EQ(parseFrequency("1k"), 1000);
    EXPECT_EQ(parseFrequency("4294967295"), 4294967295LL);
}

TEST(Frequency, NonsenseIsRefused) {
    for (const char* text : {"", "M", "Hz", "abc", "14.2 M", "14,2M", "14.2MM", "-14.2M", "0", "999", "1e7",
                             "14.2Mx", "4294967296", "9999G", "nan", "inf", "14.2000001M", "0x100000"})
        EXPECT_THROW(parseFrequency(text), UsageError) << text;
}

TEST(Frequency, IsShown) {
    EXPECT_EQ(showFrequency(14200000), "14.200.000");
    EXPECT_EQ(showFrequency(7047500), "7.047.500");
    EXPECT_EQ(showMegahertz(14074000), "14.074");
    EXPECT_EQ(showMegahertz(7e6), "7");
}

TEST(TuningText, ModesHaveTheirFilters) {
    const Tuning usb = parseTuning("14.200M:usb");
    EXPECT_EQ(usb.frequency, 14200000);
    EXPECT_EQ(usb.vfo(), 14200000);
    EXPECT_EQ(usb.mode, Mode::Usb);
    EXPECT_EQ(usb.low, 300);
    EXPECT_EQ(usb.high, 2700);
    const Tuning lsb = parseTuning("7.1M:lsb");
    EXPECT_EQ(lsb.low, -2700);
    EXPECT_EQ(lsb.high, -300);
    const Tuning am = parseTuning("7.215M:am");
    EXPECT_EQ(am.low, -4500);
    EXPECT_EQ(am.high, 4500);
    const Tuning fm = parseTuning("29.6M:fm");
    EXPECT_EQ(fm.mode, Mode::Fm);
    EXPECT_EQ(fm.low, -6000);
    EXPECT_EQ(fm.high, 6000);
}

TEST(TuningText, CwStandsAPitchBelow) {
    const Tuning cw = parseTuning("14030k:cw");
    EXPECT_EQ(cw.vfo(), 14030000 - kCwPitch);
    EXPECT_EQ(cw.low, 350);
    EXPECT_EQ(cw.high, 850);
}

TEST(TuningText, WithoutAModeTheBandDecides) {
    EXPECT_EQ(parseTuning("7.1M").mode, Mode::Lsb);
    EXPECT_EQ(parseTuning("14.2M").mode, Mode::Usb);
}

TEST(TuningText, AFilterMayBeGiven) {
    const Tuning usb = parseTuning("14.2M:usb[200:2900]");
    EXPECT_EQ(usb.low, 200);
    EXPECT_EQ(usb.high, 2900);
    const Tuning lsb = parseTuning("7.1M:lsb[200:2900]");
    EXPECT_EQ(lsb.low, -2900);
    EXPECT_EQ(lsb.high, -200);
    const Tuning below = parseTuning("7.1M:lsb[-2900:-200]");
    EXPECT_EQ(below.low, -2900);
    EXPECT_EQ(below.high, -200);
    const Tuning am = parseTuning("7.1M:am[-3000:3000]");
    EXPECT_EQ(am.low, -3000);
    EXPECT_EQ(am.high, 3000);
}

TEST(TuningText, NonsenseIsRefused) {
    for (const char* text :
         {"", ":usb", "14.2M:", "14.2M:wfm", "14.2M:USB", "14.2M:usb[", "14.2M:usb[]", "14.2M:usb[300]",
          "14.2M:usb[300:2700", "14.2M:usb[2700:300]", "14.2M:usb[300:310]", "14.2M:usb[a:b]",
          "14.2M:usb[300:30000]", "14.2M:am[-99999:0]", "14.2M:usb[300:2700]x", "14.2M[300:2700]"})
        EXPECT_THROW(parseTuning(text), UsageError) << text;
}

TEST(TuningText, NamesItsFile) {
    EXPECT_EQ(parseTuning("14.2M:usb").slug(), "14200000_usb");
}

TEST(Ft8Bands, HaveTheirDials) {
    EXPECT_EQ(dialFrequency("20m", SlotMode::Ft8), 14074000);
    EXPECT_EQ(dialFrequency("20m", SlotMode::Ft4), 14080000);
    EXPECT_EQ(dialFrequency("40m", SlotMode::Ft4), 7047500);
    EXPECT_THROW(dialFrequency("11m", SlotMode::Ft8), UsageError);
    EXPECT_THROW(dialFrequency("160m", SlotMode::Ft4), UsageError);
}

TEST(Ft8Bands, RecordingsEndBeforeTheNextPeriod) {
    for (const SlotMode mode : {SlotMode::Ft8, SlotMode::Ft4}) {
        const SlotFormat& format = formatOf(mode);
        EXPECT_EQ(format.samples, format.periodMs * 12);
        const double recorded = (format.samples - format.padding) / 12000.0;
        EXPECT_GT(recorded, kCustomaryStart + format.airTime + 1) << "a late frame is whole";
        EXPECT_LT(recorded, format.periodMs / 1000.0 - 0.2) << "and the next period is not missed";
    }
}
