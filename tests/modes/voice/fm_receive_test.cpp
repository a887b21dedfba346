// Reception of FM.
#include "modes/fm_mod_demod.hpp"
#include "tests/modes/voice/multiplex.hpp"
#include "tests/modes/voice/voice_signals.hpp"
#include "tests/trx/trx_fixture.hpp"

#include <algorithm>
#include <cstdio>

namespace ferrow {
namespace {

using namespace test;

struct Sides {
    std::vector<float> left, right;
};

// What the mode makes of a station: the blocks after the first `settling` ones.
Sides hear(modDemod& mode, const Station& station, std::size_t blocks, std::size_t settling = 600) {
    Sides heard;
    for (std::size_t n = 0; n < settling + blocks; ++n) {
        const auto audio = mode.demodulate(station.samples(512 * n, 512));
        EXPECT_EQ(audio.size(), 128u);
        if (n < settling)
            continue;
        for (std::size_t i = 0; i < audio.size(); i += 2) {
            heard.left.push_back(audio[i]);
            heard.right.push_back(audio[i + 1]);
        }
    }
    return heard;
}

class FmReceive : public TrxTest {
protected:
    std::shared_ptr<fmModDemod> mode = std::make_shared<fmModDemod>(rootSyncTask);
};

TEST_F(FmReceive, ADeviationOf11999IsA48kHzModeAnd12000A384kHzOne) {
    EXPECT_EQ(mode->sampleRate(), 384000) << "75000 from the start";
    mode->deviation.set(11999);
    EXPECT_EQ(mode->sampleRate(), 48000);
    EXPECT_EQ(mode->demodulate(Samples(512, 0.5f)).size(), 512u);
    mode->deviation.set(12000);
    EXPECT_EQ(mode->sampleRate(), 384000);
    EXPECT_EQ(mode->demodulate(Samples(512, 0.5f)).size(), 128u);
}

// Full deviation gives 2 pi / 3.14 / 2 = 1.0005 at 300 Hz, and 300 / f of it above.
TEST_F(FmReceive, NarrowHasItsGainAndDeEmphasis) {
    mode->deviation.set(5000);
    double worst = 0;
    for (const double f : {500.0, 800.0, 1000.0, 1700.0, 2600.0}) {
        Station station{{{f, 1 / 0.9, 1 / 0.9}}, 3000, 0, false, 19000, 48000};
        std::vector<float> audio;
        for (std::size_t n = 0; n < 60; ++n) {
            const auto block = mode->demodulate(station.samples(512 * n, 512));
            ASSERT_EQ(block.size(), 512u);
            if (n >= 10)
                audio.insert(audio.end(), block.begin(), block.end());
        }
        const double expected = 0.6 * std::numbers::pi / 3.14 * 300 / f;
        worst = std::max(worst, std::abs(decibels(toneLevel(audio, f) / expected)));
    }
    std::printf("narrow de-emphasis 300 / f from 500 to 2600 Hz: within %.3f dB\n", worst);
    EXPECT_LT(worst, 0.2);
}

TEST_F(FmReceive, NarrowLosesAndDoublesNoSample) {
    mode->deviation.set(5000);
    Station station{{{1000, 1, 1}}, 3000, 0, false, 19000, 48000};
    std::vector<float> whole, parts;
    for (std::size_t n = 0; n < 20; ++n) {
        const auto block = mode->demodulate(station.samples(512 * n, 512));
        whole.insert(whole.end(), block.begin(), block.end());
    }
    for (std::size_t i = 3000; i + 1 < whole.size(); ++i) {
        // A sine obeys x[n+1] = 2 cos(w) x[n] - x[n-1]; a lost or doubled sample does not.
        const double next = 2 * std::cos(kTau * 1000 / 48000) * whole[i] - whole[i - 1];
        ASSERT_NEAR(whole[i + 1], next, 1e-4) << i;
    }
    const auto other = std::make_shared<fmModDemod>(rootSyncTask);
    other->deviation.set(5000);
    for (std::size_t n = 0; n < 40; ++n) {
        const auto block = other->demodulate(station.samples(256 * n, 256));
        parts.insert(parts.end(), block.begin(), block.end());
    }
    ASSERT_EQ(parts.size(), whole.size());
    for (std::size_t i = 0; i + 256 < whole.size(); ++i)
        ASSERT_NEAR(parts[i + 256], whole[i], 1e-6) << i;
}

// A station at 12 dB carrier to noise in the 15 kHz of the receive filter, through a whole transceiver.
TEST_F(FmReceive, NarrowSinadAt12dB) {
    class Keeping : public fmModDemod {
    public:
        using fmModDemod::fmModDemod;
        buff<float> demodulate(buff<std::complex<float>> block) override {
            auto audio = fmModDemod::demodulate(std::move(block));
            heard.insert(heard.end(), audio.begin(), audio.end());
            return audio;
        }
        std::vector<float> heard;
    };
    const auto keeping = std::make_shared<Keeping>(rootSyncTask);
    keeping->deviation.set(5000);
    radio->addReceiver(14100000, 48000);
    const auto t = listen(14100000, keeping);
    on(*t, [&] { t->setRxFilter(-7500, 7500); });
    const Station station{{{1000, 1 / 0.9, 1 / 0.9}}, 3000, 0, false, 19000, 48000};
    for (const double carrierToNoise : {12.0, 20.0}) {
        keeping->heard.clear();
        std::mt19937 random(3);
        const double power = 0.25 / std::pow(10, carrierToNoise / 10) * 48000 / 15000; // in all of the rate
        std::normal_distribution<double> noise(0, std::sqrt(power / 2));
        for (std::size_t n = 0; n < 400; ++n) {
            const Samples block = station.samples(512 * n, 512);
            for (auto& z : block)
                z +=
                    std::complex<float>(static_cast<float>(noise(random)), static_cast<float>(noise(random)));
            feed(*t, block, 14100000, 48000);
        }
        std::vector<double> audio(keeping->heard.begin() + 512 * 20, keeping->heard.end());
        const auto tone = lineAt(Complexes(audio.begin(), audio.end()), -1000);
        double all = 0, rest = 0;
        for (std::size_t n = 0; n < audio.size(); ++n) {
            const double fitted =
                2 * (tone * std::polar(1.0, kTau * std::fmod(1000.0 / 48000 * double(n), 1.0))).real();
            all += audio[n] * audio[n];
            rest += (audio[n] - fitted) * (audio[n] - fitted);
        }
        const double sinad = 10 * std::log10(all / rest);
        std::printf(
            "narrow, 3 kHz of deviation at 1 kHz, %.0f dB carrier to noise in 15 kHz: SINAD %.1f dB\n",
            carrierToNoise, sinad);
        EXPECT_GT(sinad, carrierToNoise == 12 ? 17 : 28);
    }
}

TEST_F(FmReceive, WithoutStereoBothSidesAreEqual) {
    const Station station{{{1000, 1, 0}}};
    const Sides heard = hear(*mode, station, 200);
    EXPECT_EQ(heard.left, heard.right);
    EXPECT_GT(toneLevel(heard.left, 1000), 0.01);
}

// The sum is (L + R) / 2 whichever side speaks.
TEST_F(FmReceive, MonoIsCompatible) {
    const double both = toneLevel(hear(*mode, {{{1000, 0.5, 0.5}}}, 300).left, 1000);
    const double left = toneLevel(hear(*mode, {{{1000, 1, 0}}}, 300).left, 1000);
    const double right = toneLevel(hear(*mode, {{{1000, 0, 1}}}, 300).left, 1000);
    std::printf("one side against both: %.1e, %.1e off\n", left / both - 1, right / both - 1);
    EXPECT_NEAR(left / both, 1, 1e-3);
    EXPECT_NEAR(right / both, 1, 1e-3);
    // A mono station in stereo: the same on both sides.
    mode->Stereo.set(true);
    const Station plain{{{1000, 0.5, 0.5}}, 75000, 0, false};
    const Sides heard = hear(*mode, plain, 300);
    EXPECT_NEAR(toneLevel(heard.left, 1000) / both, 1, 1e-3);
    EXPECT_NEAR(toneLevel(heard.right, 1000) / both, 1, 1e-3);
    // Both sides equal in a stereo multiplex: the difference is empty.
    const Sides equal = hear(*mode, {{{1000, 0.5, 0.5}}}, 300);
    EXPECT_NEAR(toneLevel(equal.left, 1000) / toneLevel(equal.right, 1000), 1, 1e-3);
    EXPECT_NEAR(toneLevel(equal.left, 1000) / both, 1, 1e-3);
}

TEST_F(FmReceive, TheChannelsOfAMultiplexAreAtLeast30dBApart) {
    mode->Stereo.set(true);
    std::printf("tone       left only: dB        right only: dB\n");
    for (const double f : {400.0, 1000.0, 10000.0}) {
        const Sides fromLeft = hear(*mode, {{{f, 0.9, 0}}}, 250, 500);
        const Sides fromRight = hear(*mode, {{{f, 0, 0.9}}}, 250, 500);
        const double a = decibels(toneLevel(fromLeft.right, f) / toneLevel(fromLeft.left, f));
        const double b = decibels(toneLevel(fromRight.left, f) / toneLevel(fromRight.right, f));
        std::printf("%5.0f Hz   right / left %5.1f   left / right %5.1f\n", f, a, b);
        // The left channel of the station comes out on the right, and the other way about.
        EXPECT_GT(a, 30) << f;
        EXPECT_GT(b, 30) << f;
    }
}

// A positive deviation is a backward turn of the samples, so that both sides come out inverted.
TEST_F(FmReceive, BothSidesComeOutInverted) {
    const std::size_t settling = 40;
    const Sides heard = hear(*mode, {{{750, 1, 1}}, 75000, 0, false}, 100, settling);
    double sum = 0;
    for (std::size_t n = 0; n < heard.left.size(); ++n) {
        // Half of the filter's 1024 taps, 64 samples of audio, late.
        const double place = double(settling * 64 + n) - 64;
        sum += heard.left[n] * std::sin(kTau * std::fmod(750 * place / 48000, 1.0));
    }
    const double amplitude = 2 * sum / double(heard.left.size());
    EXPECT_NEAR(amplitude, -toneLevel(heard.left, 750), 0.01 * std::abs(amplitude));
}

// Two tones a side, at once, as heard behind the receive filter of a whole transceiver.
TEST_F(FmReceive, ATransceiverAt384kHzSeparatesToo) {
    class Keeping : public fmModDemod {
    public:
        using fmModDemod::fmModDemod;
        buff<float> demodulate(buff<std::complex<float>> block) override {
            auto audio = fmModDemod::demodulate(std::move(block));
            for (std::size_t i = 0; i + 1 < audio.size(); i += 2) {
                heard.left.push_back(audio[i]);
                heard.right.push_back(audio[i + 1]);
            }
            return audio;
        }
        Sides heard;
    };
    const auto keeping = std::make_shared<Keeping>(rootSyncTask);
    keeping->Stereo.set(true);
    radio->addReceiver(98000000, 384000);
    const auto t = listen(98000000, keeping);
    on(*t, [&] { t->setRxFilter(-120000, 120000); });
    const Station station{{{1000, 0.6, 0}, {1700, 0, 0.6}}};
    for (std::size_t n = 0; n < 90; ++n)
        feed(*t, station.samples(4096 * n, 4096), 98000000, 384000);
    Sides tail{{keeping->heard.left.end() - 16384, keeping->heard.left.end()},
               {keeping->heard.right.end() - 16384, keeping->heard.right.end()}};
    const double a = decibels(toneLevel(tail.right, 1000) / toneLevel(tail.left, 1000));
    const double b = decibels(toneLevel(tail.left, 1700) / toneLevel(tail.right, 1700));
    std::printf("behind a receive filter of 240 kHz: %.1f and %.1f dB\n", a, b);
    EXPECT_GT(a, 30);
    EXPECT_GT(b, 30);
}

// The curve is flat to 3183 Hz and falls as 3183 / f from there on. What it is off by is told about the
// middle between its extremes, as no frequency is a better reference than another.
TEST_F(FmReceive, DeEmphasisOf50MicrosecondsHoldsTo10kHz) {
    Station station;
    station.pilot = 0;
    station.difference = false;
    std::vector<double> all{100,  200,  400,  1000, 1500, 2000, 2500, 3000,  3300,
                            3700, 4200, 5000, 6000, 7000, 8000, 9000, 10000, 12000};
    for (const double f : all)
        station.tones.push_back({f, 0.05, 0.05});
    const Sides heard = hear(*mode, station, 1000, 60);
    // Full deviation gives 2 pi / 8 / 3.14 / 2.
    const double full = std::numbers::pi / 8 / 3.14;
    std::printf("   Hz   measured   3183 / f   off    50 us network\n");
    double least = 10, most = -10;
    for (const double f : all) {
        const double gain = decibels(toneLevel(heard.left, f) / (0.9 * 0.05 * full));
        const double curve = decibels(std::min(1.0, 3183 / f));
        const double network = -10 * std::log10(1 + std::pow(kTau * f * 50e-6, 2));
        std::printf("%5.0f   %6.2f     %6.2f    %5.2f   %6.2f\n", f, gain, curve, gain - curve, network);
        if (f <= 10000) {
            least = std::min(least, gain - curve);
            most = std::max(most, gain - curve);
        }
    }
    std::printf("within %.2f dB to 10 kHz, at a level of %.2f dB\n", (most - least) / 2, (most + least) / 2);
    EXPECT_LT((most - least) / 2, 0.5);
    EXPECT_NEAR((most + least) / 2, 0, 0.5);
}

TEST_F(FmReceive, WithoutAPilotTheLoopStaysNearItsCentre) {
    FmReceiver receiver;
    std::mt19937 random(5);
    std::normal_distribution<float> normal(0, 0.5f);
    double least = 1, most = 0, difference = 0;
    for (int n = 0; n < 2000; ++n) {
        Samples block(512);
        for (auto& z : block)
            z = {normal(random), normal(random)};
        const auto audio = receiver.process(block, 8, 75000, true);
        for (std::size_t i = 0; i < audio.size(); i += 2)
            difference = std::max(difference, std::abs(double(audio[i + 1]) - audio[i]));
        least = std::min(least, receiver.pilot().frequency());
        most = std::max(most, receiver.pilot().frequency());
    }
    const double centre = 0.31088677, width = 0.00081812311;
    EXPECT_GE(least, centre - width / 2);
    EXPECT_LE(most, centre + width / 2);
    EXPECT_GT(difference, 0.01) << "the difference carries noise";
    // An unmodulated carrier, without any noise, is silent on both sides.
    const Station bare{{}, 75000, 0, false};
    mode->Stereo.set(true);
    const Sides heard = hear(*mode, bare, 50, 10);
    EXPECT_LT(*std::max_element(heard.right.begin(), heard.right.end()), 1e-5f);
}

TEST_F(FmReceive, ThePilotIsFollowedWithinItsRange) {
    for (const double pilot : {18990.0, 19000.0, 19010.0}) {
        FmReceiver receiver;
        Station station{{{1000, 0.5, 0.2}}};
        station.pilotFrequency = pilot;
        for (std::size_t n = 0; n < 1500; ++n)
            receiver.process(station.samples(512 * n, 512), 8, 75000, true);
        EXPECT_NEAR(receiver.pilot().frequency() * 384000 / kTau, pilot, 1.5);
    }
    FmReceiver receiver;
    Station far{{{1000, 0.5, 0.2}}};
    far.pilotFrequency = 19100;
    for (std::size_t n = 0; n < 800; ++n)
        receiver.process(far.samples(512 * n, 512), 8, 75000, true);
    EXPECT_NEAR(receiver.pilot().frequency() * 384000 / kTau, 19000, 25.1);
}

TEST_F(FmReceive, NarrowAfterBroadcastIsNarrowAgain) {
    hear(*mode, {{{1000, 1, 1}}}, 10, 0);
    mode->deviation.set(5000);
    const Station station{{{1000, 1 / 0.9, 1 / 0.9}}, 3000, 0, false, 19000, 48000};
    std::vector<float> audio;
    for (std::size_t n = 0; n < 40; ++n) {
        const auto block = mode->demodulate(station.samples(512 * n, 512));
        ASSERT_EQ(block.size(), 512u);
        if (n >= 10)
            audio.insert(audio.end(), block.begin(), block.end());
    }
    EXPECT_NEAR(toneLevel(audio, 1000), 0.6 * std::numbers::pi / 3.14 * 0.3, 0.005);
}

// Blocks of part of 512 give the same audio, in as many pieces.
TEST_F(FmReceive, BroadcastInHalfBlocksGivesTheSameAudio) {
    const Station station{{{1000, 1, 0.3}}};
    FmReceiver whole, halves;
    std::vector<float> a, b;
    for (std::size_t n = 0; n < 40; ++n) {
        const auto block = whole.process(station.samples(512 * n, 512), 8, 75000, true);
        a.insert(a.end(), block.begin(), block.end());
        for (std::size_t half = 0; half < 2; ++half) {
            const auto part = halves.process(station.samples(512 * n + 256 * half, 256), 8, 75000, true);
            EXPECT_EQ(part.size(), 64u);
            b.insert(b.end(), part.begin(), part.end());
        }
    }
    for (std::size_t i = 0; i + 64 < a.size(); ++i)
        ASSERT_EQ(b[i + 64], a[i]) << i;
}

TEST_F(FmReceive, OddBlocksGiveNothing) {
    FmReceiver receiver;
    for (const std::size_t size : {0, 3, 100, 513, 1024})
        EXPECT_TRUE(receiver.process(Samples(size, 0.5f), 8, 75000, true).empty()) << size;
    EXPECT_TRUE(receiver.process(Samples(4, 0.5f), 8, 75000, true).empty());
}

} // namespace
} // namespace ferrow
