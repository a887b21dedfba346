// Single sideband as it leaves the transceiver, behind the transmit filter.
#include "modes/ssb_mod_demod.hpp"
#include "tests/modes/voice/voice_signals.hpp"
#include "tests/trx/trx_fixture.hpp"

#include <cstdio>

namespace ferrow {
namespace {

using namespace test;

// Speaks a signal of its own instead of the microphone's.
class SpeakingSsb : public ssbModDemod {
public:
    using ssbModDemod::ssbModDemod;
    void modulate(Samples, Samples out) override {
        ssbModDemod::modulate(microphoneBlock(signal, block_++), std::move(out));
    }
    Signal signal = silence();

private:
    std::size_t block_ = 0;
};

class SsbOnAir : public TrxTest {
protected:
    std::shared_ptr<SpeakingSsb> mode = std::make_shared<SpeakingSsb>(rootSyncTask);
    std::shared_ptr<vtrx> t;

    void SetUp() override {
        radio->addReceiver(14100000, 48000);
        on(*radio, [&] { radio->canTransmit.set(true); });
        t = listen(14100000, mode);
    }

    // One second and a half after the rise.
    Complexes air(int low, int high) {
        on(*t, [&] {
            t->setTxFilter(low, high);
            t->ptt.setFromHost(true);
        });
        for (int batch = 0; batch < 2; ++batch) {
            on(*t, [&] {
                for (int i = 0; i < 340; ++i)
                    t->produceTxChunk();
            });
            settle(radio->context());
        }
        Complexes z;
        for (std::size_t i = 80; i < radio->sent.size(); ++i)
            z.insert(z.end(), radio->sent[i].begin(), radio->sent[i].end());
        return z;
    }
};

TEST_F(SsbOnAir, TwoTonesAtFullDriveKeepCarrierAndOppositeSidebandBelow80dB) {
    const double a = 1000, b = 1400;
    mode->signal = tones({{a, 0.5}, {b, 0.5}});
    std::printf("two tones of 0.5 at 1000 and 1400 Hz, 300 to 2700 Hz, dB below one tone\n"
                "compression   opposite   carrier    third order     fifth order\n");
    for (const double compression : {1.0, 2.0, 4.0}) {
        mode->compression.set(compression);
        on(*radio, [&] { radio->sent.clear(); });
        const auto z = air(300, 2700);
        const double tone = (level(z, a) + level(z, b)) / 2;
        double opposite = 0;
        for (double f = -2700; f <= -300; f += 100)
            opposite = std::max(opposite, level(z, f));
        const auto down = [&](double f) { return decibels(level(z, f) / tone); };
        const double carrier = down(0);
        EXPECT_LE(decibels(opposite / tone), -80) << compression;
        EXPECT_LE(carrier, -80) << compression;
        EXPECT_LE(largest(z), 1.1); // the transmit filter may grow clipped peaks back
        std::printf("%11.0f   %8.1f   %7.1f   %6.1f %6.1f   %6.1f %6.1f   tone %.4f peak %.4f\n", compression,
                    decibels(opposite / tone), carrier, down(2 * a - b), down(2 * b - a), down(3 * a - 2 * b),
                    down(3 * b - 2 * a), tone, largest(z));
        if (compression == 1) {
            EXPECT_LT(std::max(down(2 * a - b), down(2 * b - a)), -80); // nothing is clipped
        }
    }
}

TEST_F(SsbOnAir, TheLowerSidebandIsAsClean) {
    mode->signal = tones({{700, 0.5}, {1900, 0.5}});
    mode->compression.set(2);
    const auto z = air(-2700, -300);
    double opposite = 0;
    for (double f = 300; f <= 2700; f += 100)
        opposite = std::max(opposite, level(z, f));
    EXPECT_LE(decibels(opposite / level(z, -700)), -80);
    EXPECT_LE(decibels(level(z, 0) / level(z, -700)), -80);
}

TEST_F(SsbOnAir, AClippedFullScaleToneLeavesAt094) {
    mode->signal = tones({{1000, 1}});
    mode->compression.set(4);
    EXPECT_NEAR(level(air(300, 2700), 1000), 0.94, 1e-3);
}

} // namespace
} // namespace ferrow
