// The exported functions of the keyboard modes reach what they name.

#include "core/async/handle.hpp"
#include "modes/chirp_mod_demod.hpp"
#include "modes/cw_mod_demod.hpp"
#include "modes/fsk_mod_demod.hpp"
#include "modes/hellschreiber_mod_demod.hpp"
#include "modes/rtty_mod_demod.hpp"
#include "tests/modes/mode_fixture.hpp"

#include <ferrowcore/ferrowcore.h>

namespace ferrow {
namespace {

std::string told;
void onText(const char* text) {
    told += text;
}
int arrays;
void onArray(void* values, double, double, int) {
    ++arrays;
    floatArray_delete(values);
}
double number;
void onNumber(double value) {
    number = value;
}

// A mode by its handle.
template <class Mode>
class Made {
public:
    explicit Made(void* made)
        : handle(made), mode(std::dynamic_pointer_cast<Mode>(*static_cast<Handle*>(made))) {}
    ~Made() { asyncObject_release(handle); }

    void* handle;
    std::shared_ptr<Mode> mode;
};

class KeyboardApi : public ::testing::Test {
protected:
    test::Runtime runtime;

    void SetUp() override {
        told.clear();
        arrays = 0;
    }

    static void pull(modDemod& mode, std::size_t count) {
        const test::Samples in(count, 0.0f), out(count, 0.0f);
        mode.modulate(in, out);
        pumpUpdates();
    }
};

TEST_F(KeyboardApi, Cw) {
    const Made<cwModDemod> cw(cwModDemod_create());
    ASSERT_TRUE(cw.mode);
    cwModDemod_setswHangTime(cw.handle, 321);
    cwModDemod_setdbg1(cw.handle, 1.5);
    cwModDemod_setdbg2(cw.handle, 2.5);
    cwModDemod_setfreq(cw.handle, 555);
    cwModDemod_setrxwpm(cw.handle, 17);
    cwModDemod_setsidetoneVolume(cw.handle, 0.5);
    cwModDemod_setwpm(cw.handle, 25);
    cwModDemod_bindsentChars(cw.handle, onText);
    cwModDemod_bindnewChars(cw.handle, onText);
    cwModDemod_bindrxwpm(cw.handle, onNumber);
    cwModDemod_bindnewDebug(cw.handle, onArray);
    cwModDemod_QueueText(cw.handle, "cq", 0);
    cwModDemod_QueueText(cw.handle, nullptr, 7);
    test::settle(rootSyncTask);
    EXPECT_EQ(cw.mode->swHangTime.value(), 321);
    EXPECT_EQ(cw.mode->dbg1.value(), 1.5);
    EXPECT_EQ(cw.mode->dbg2.value(), 2.5);
    EXPECT_EQ(cw.mode->freq.value(), 555);
    EXPECT_EQ(cw.mode->rxwpm.value(), 17);
    EXPECT_EQ(cw.mode->sidetoneVolume.value(), 0.5);
    EXPECT_EQ(cw.mode->wpm.value(), 25);
    pull(*cw.mode, 48000 * 3);
    EXPECT_EQ(told, "cq");
    cw.mode->demodulate(test::Samples(512, 0.0f));
    pumpUpdates();
    EXPECT_EQ(number, 45);
    cwModDemod_KeyDown(cw.handle);
    test::settle(rootSyncTask);
    const test::Samples in(512, 0.0f), out(512, 0.0f);
    cw.mode->modulate(in, out);
    EXPECT_NEAR(out[511].real(), 0.99, 1e-6);
    cwModDemod_KeyUp(cw.handle);
    test::settle(rootSyncTask);
    cw.mode->modulate(in, out);
    EXPECT_EQ(out[511].real(), 0);
}

TEST_F(KeyboardApi, Rtty) {
    const Made<RTTYModDemod> rtty(RTTYModDemod_create());
    ASSERT_TRUE(rtty.mode);
    RTTYModDemod_setdbg1(rtty.handle, 1.5f);
    RTTYModDemod_setdbg2(rtty.handle, 2.5f);
    RTTYModDemod_bindsentChars(rtty.handle, onText);
    RTTYModDemod_bindnewDebug(rtty.handle, onArray);
    RTTYModDemod_QueueText(rtty.handle, "RY", 0);
    test::settle(rootSyncTask);
    EXPECT_EQ(rtty.mode->dbg1.value(), 1.5f);
    EXPECT_EQ(rtty.mode->dbg2.value(), 2.5f);
    pull(*rtty.mode, 48000);
    EXPECT_EQ(told, "RY");
    for (int i = 0; i < 512; ++i)
        rtty.mode->demodulate(test::Samples(512, 0.5f));
    pumpUpdates();
    EXPECT_EQ(arrays, 1);
}

TEST_F(KeyboardApi, FskHellschreiberAndChirp) {
    const Made<fskModDemod> fsk(fskModDemod_create());
    ASSERT_TRUE(fsk.mode);
    fskModDemod_setbaud(fsk.handle, 50);
    fskModDemod_setf0(fsk.handle, 1);
    fskModDemod_setf1(fsk.handle, 2);
    const Made<hellschreiberModDemod> hell(hellschreiberModDemod_create());
    ASSERT_TRUE(hell.mode);
    hellschreiberModDemod_setfrequencyStep(hell.handle, 100);
    hellschreiberModDemod_bindsentChars(hell.handle, onText);
    hellschreiberModDemod_QueueText(hell.handle, "H", 0);
    test::settle(rootSyncTask);
    EXPECT_EQ(fsk.mode->baud.value(), 50);
    EXPECT_EQ(fsk.mode->f0.value(), 1);
    EXPECT_EQ(fsk.mode->f1.value(), 2);
    EXPECT_EQ(hell.mode->frequencyStep.value(), 100);
    pull(*hell.mode, 4800);
    EXPECT_EQ(told, "H");
    const Made<chirpyModDemod> chirp(chirpyModDemod_create());
    ASSERT_TRUE(chirp.mode);
    pull(*chirp.mode, 4800);
}

} // namespace
} // namespace ferrow
