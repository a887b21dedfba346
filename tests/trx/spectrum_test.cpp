#include "core/fft/fft.hpp"
#include "tests/trx/trx_fixture.hpp"

namespace ferrow {
namespace {

using test::Carrier;
using test::Samples;

constexpr long long kCentre = 14095600;

struct Frame {
    std::vector<float> values;
    double low, high;
    int rate;
    double frequencyOf(std::size_t bin) const {
        return low + (static_cast<double>(bin) + 0.5) * (high - low) / static_cast<double>(values.size());
    }
    std::size_t strongest() const {
        return static_cast<std::size_t>(std::max_element(values.begin(), values.end()) - values.begin());
    }
};
std::vector<Frame> frames;
void onSpectrum(void* array, double low, double high, int rate) {
    auto* block = static_cast<buff<float>*>(array);
    frames.push_back({{block->begin(), block->end()}, low, high, rate});
    delete block;
}

class Spectrum : public test::TrxTest {
protected:
    std::shared_ptr<vtrx> t;

    void SetUp() override {
        frames.clear();
        radio->addReceiver(kCentre, 48000);
        t = listen(kCentre, std::make_shared<modDemod>(rootSyncTask));
        on(*t, [&] { t->foregroundDisplay.setFromHost(true); });
        t->newSpectrum.bind(onSpectrum, t.get());
    }
    void run(Carrier& carrier, int rate, int chunks, long long centre = kCentre) {
        for (int i = 0; i < chunks; ++i) {
            feed(*t, carrier.next(Radio::chunkSize(rate)), centre, rate);
            pumpRenderUpdates();
        }
    }
};

TEST_F(Spectrum, OneFrameFor2048SamplesWithoutReuse) {
    Carrier carrier(0, 48000);
    run(carrier, 48000, 40);
    EXPECT_EQ(frames.size(), 10u);
    EXPECT_EQ(frames[0].values.size(), 2048u);
}

TEST_F(Spectrum, ACarrierStandsAtItsFrequencyWithItsLevel) {
    for (const double offset : {-20000.0, -5000.0, -100.0, 3000.0, 17000.0}) {
        frames.clear();
        Carrier carrier(offset, 48000);
        run(carrier, 48000, 8);
        const Frame& frame = frames.back();
        EXPECT_NEAR(frame.frequencyOf(frame.strongest()), kCentre + offset, 48000.0 / 2048) << offset;
        // The window's mean is 0.27105, and a power of one counts ten; between two bins it is a little less.
        EXPECT_NEAR(frame.values[frame.strongest()], std::log10(0.27105140069342 * 0.27105140069342 * 10),
                    0.06);
        EXPECT_EQ(frame.low, kCentre - 24000);
        EXPECT_EQ(frame.high, kCentre + 24000);
        EXPECT_EQ(frame.rate, 48000);
    }
}

TEST_F(Spectrum, EveryBinEqualsADoublePrecisionTransform) {
    Samples block(2048);
    unsigned seed = 1;
    for (auto& sample : block) {
        const auto next = [&] {
            return static_cast<float>(static_cast<int>(seed = seed * 1664525u + 1013904223u)) / 2.147e9f;
        };
        sample = {next(), next()};
    }
    feed(*t, block, kCentre, 192000);
    pumpRenderUpdates();
    ASSERT_EQ(frames.size(), 1u);
    const double a[] = {0.27105140069342, -0.43329793923448, 0.21812299954311, -0.06592544638803,
                        0.01081174209837, -0.00077658482522, 0.00001388721735};
    for (const std::size_t i : {0u, 1u, 511u, 1000u, 1023u, 1024u, 1025u, 1500u, 2047u}) {
        // Display bin i is the transform's bin 1023 - i, modulo 2048.
        const double k = 1023.0 - static_cast<double>(i);
        std::complex<double> sum;
        for (std::size_t n = 0; n < 2048; ++n) {
            double w = 0;
            for (int j = 0; j < 7; ++j)
                w += a[j] * std::cos(2 * std::numbers::pi * j * (static_cast<double>(n) + 0.5) / 2048);
            sum += std::complex<double>(block[n]) * w *
                   std::polar(1.0, -2 * std::numbers::pi * k * static_cast<double>(n) / 2048);
        }
        EXPECT_NEAR(frames[0].values[i], std::log10(std::norm(sum) * 10 / (2048.0 * 2048.0) + 1e-38), 1e-3)
            << i;
    }
}

TEST_F(Spectrum, AnExactZeroReadsMinus38) {
    feed(*t, Samples(2048, 0.0f), kCentre, 192000);
    pumpRenderUpdates();
    ASSERT_EQ(frames.size(), 1u);
    for (const float value : frames[0].values)
        ASSERT_NEAR(value, -38, 0.01);
}

TEST_F(Spectrum, TheBackgroundMakesAboutTwoFramesASecond) {
    on(*t, [&] { t->foregroundDisplay.setFromHost(false); });
    Carrier carrier(0, 48000);
    run(carrier, 48000, 10 * 48000 / 512);
    EXPECT_GE(frames.size(), 18u);
    EXPECT_LE(frames.size(), 21u);
}

TEST_F(Spectrum, AWideRadioIsBoundedByAveraging) {
    Carrier carrier(300000, 2000000);
    run(carrier, 2000000, 4);
    // 2000000 / 245760 = 8 frames in one; 4 x 32768 samples are 64 frames.
    EXPECT_EQ(frames.size(), 8u);
    EXPECT_NEAR(frames[0].frequencyOf(frames[0].strongest()), kCentre + 300000, 2000000.0 / 2048);
}

TEST_F(Spectrum, AveragingKeepsThePower) {
    Carrier carrier(0, 2000000);
    run(carrier, 2000000, 1);
    ASSERT_FALSE(frames.empty());
    EXPECT_NEAR(frames[0].values[1023], std::log10(0.27105140069342 * 0.27105140069342 * 10), 0.01);
}

TEST_F(Spectrum, ASpecOffsetMovesTheCentreOnTheNextFrameAndNotBefore) {
    on(*t, [&] { t->specZoom.setFromHost(4); });
    Carrier carrier(2000, 48000);
    run(carrier, 48000, 16 * 2);
    ASSERT_EQ(frames.size(), 3u) << "an overlap of 2 from the zoom";
    on(*t, [&] { t->specOffset.setFromHost(3000); });
    const std::size_t before = frames.size();
    run(carrier, 48000, 8 * 3);
    ASSERT_EQ(frames.size(), before + 3);
    EXPECT_EQ((frames[before].low + frames[before].high) / 2, kCentre);
    EXPECT_EQ((frames[before + 1].low + frames[before + 1].high) / 2, kCentre + 3000);
    EXPECT_EQ((frames[before + 2].low + frames[before + 2].high) / 2, kCentre + 3000);
    EXPECT_NEAR(frames.back().frequencyOf(frames.back().strongest()), kCentre + 2000, 12000.0 / 2048);
}

TEST_F(Spectrum, AZoomNarrowsTheSpan) {
    on(*t, [&] { t->specZoom.setFromHost(8); });
    Carrier carrier(1234, 192000);
    run(carrier, 192000, 40);
    ASSERT_FALSE(frames.empty());
    const Frame& frame = frames.back();
    EXPECT_EQ(frame.high - frame.low, 24000);
    EXPECT_EQ(frame.rate, 24000);
    EXPECT_NEAR(frame.frequencyOf(frame.strongest()), kCentre + 1234, 24000.0 / 2048);
}

TEST_F(Spectrum, AZoomBetweenPowersOfTwoShowsTheWiderSpan) {
    on(*t, [&] { t->specZoom.setFromHost(3.7); });
    Carrier carrier(-2000, 48000);
    run(carrier, 48000, 40);
    ASSERT_FALSE(frames.empty());
    EXPECT_EQ(frames.back().high - frames.back().low, 24000);
    EXPECT_NEAR(frames.back().frequencyOf(frames.back().strongest()), kCentre - 2000, 24000.0 / 2048);
}

TEST_F(Spectrum, TheZoomIsBounded) {
    on(*t, [&] { t->specZoom.setFromHost(1e9); });
    Carrier carrier(0, 48000);
    run(carrier, 48000, 600);
    ASSERT_FALSE(frames.empty());
    EXPECT_EQ(frames.back().high - frames.back().low, 48000 / 64); // (48000 / 48000) x 512 x 0.125
}

TEST_F(Spectrum, WaterfallSpeedDoublesTheFrames) {
    on(*t, [&] { t->waterfallSpeed.setFromHost(2); });
    Carrier carrier(5000, 48000);
    run(carrier, 48000, 40);
    // The first after 2048 samples, then one for every 512.
    EXPECT_EQ(frames.size(), 37u);
    EXPECT_NEAR(frames.back().frequencyOf(frames.back().strongest()), kCentre + 5000, 48000.0 / 2048);
}

TEST_F(Spectrum, AbsurdSettingsAreHarmless) {
    Carrier carrier(0, 48000);
    for (const double zoom : {0.0, -3.0, std::nan(""), 1e-300, 63.99}) {
        on(*t, [&] {
            t->specZoom.setFromHost(zoom);
            t->waterfallSpeed.setFromHost(zoom > 1 ? 8 : 1000);
        });
        feed(*t, carrier.next(512), kCentre, 48000);
        on(*t, [&] { t->waterfallSpeed.setFromHost(-7); });
        feed(*t, carrier.next(512), kCentre, 48000, 0, buff<float>(2048, 0.0f), 1e7);
        feed(*t, carrier.next(512), kCentre, 48000, 0, buff<float>(100, 0.0f), 0);
        pumpRenderUpdates();
    }
}

TEST_F(Spectrum, AMarginWithoutDataReadsMinus20) {
    on(*t, [&] { t->vfo.setFromHost(kCentre + 12000); });
    test::settle(radio->context());
    Carrier carrier(0, 48000);
    run(carrier, 48000, 8); // the second frame is centred 12 kHz up
    ASSERT_EQ(frames.size(), 2u);
    EXPECT_EQ(frames[1].low, kCentre - 12000);
    for (std::size_t i = 1540; i < 2048; ++i)
        ASSERT_FLOAT_EQ(frames[1].values[i], -20) << i;
    EXPECT_NEAR(frames[1].frequencyOf(frames[1].strongest()), kCentre, 48000.0 / 2048);
}

TEST_F(Spectrum, FarOutsideTheBandAllIsEmpty) {
    on(*t, [&] { t->vfo.setFromHost(kCentre + 1000000); });
    test::settle(radio->context());
    Carrier carrier(0, 48000);
    run(carrier, 48000, 8);
    for (const float value : frames.back().values)
        ASSERT_FLOAT_EQ(value, -20);
}

TEST_F(Spectrum, AZoomBelowOneWithWideDataWidensTheDisplay) {
    on(*t, [&] { t->specZoom.setFromHost(0.25); });
    // Wideband: 2048 real samples that span 36.864 MHz, a tone at 14.2 MHz.
    const double span = 36864000;
    buff<float> wide(2048);
    for (std::size_t n = 0; n < 2048; ++n)
        wide[n] = static_cast<float>(std::cos(std::numbers::pi * 14200000 / span * static_cast<double>(n)));
    Carrier carrier(10000, 48000);
    for (int i = 0; i < 8; ++i)
        feed(*t, carrier.next(512), kCentre, 48000, 0, wide, span);
    pumpRenderUpdates();
    ASSERT_EQ(frames.size(), 2u);
    const Frame& frame = frames.back();
    EXPECT_EQ(frame.low, kCentre - 96000);
    EXPECT_EQ(frame.high, kCentre + 96000);
    // The narrow band takes the middle quarter; its carrier stands where it should.
    const auto middle = std::max_element(frame.values.begin() + 770, frame.values.begin() + 1277);
    EXPECT_NEAR(frame.frequencyOf(static_cast<std::size_t>(middle - frame.values.begin())), kCentre + 10000,
                190);
    // The margins show the wideband transform's bin of their frequency.
    const auto bin = static_cast<int>((kCentre - 90000.0) * 1024 / span);
    std::complex<double> sum;
    const double a[] = {0.27105140069342, -0.43329793923448, 0.21812299954311, -0.06592544638803,
                        0.01081174209837, -0.00077658482522, 0.00001388721735};
    for (std::size_t n = 0; n < 2048; ++n) {
        double w = 0;
        for (int j = 0; j < 7; ++j)
            w += a[j] * std::cos(2 * std::numbers::pi * j * (static_cast<double>(n) + 0.5) / 2048);
        sum += w * wide[n] * std::polar(1.0, -2 * std::numbers::pi * bin * static_cast<double>(n) / 2048);
    }
    const double expected = std::log10(std::norm(sum) / (1024.0 * 1024.0) * 10 + 1e-38);
    EXPECT_NEAR(frame.values[64], expected, 0.01);
}

TEST_F(Spectrum, AZoomBelowOneWithoutWideDataSpansTheRate) {
    on(*t, [&] { t->specZoom.setFromHost(0.25); });
    Carrier carrier(-7000, 48000);
    run(carrier, 48000, 8);
    EXPECT_EQ(frames.back().high - frames.back().low, 48000);
    EXPECT_NEAR(frames.back().frequencyOf(frames.back().strongest()), kCentre - 7000, 48000.0 / 2048);
}

TEST_F(Spectrum, AChunkThatIsNoMultipleOfTheZoomLosesNothing) {
    on(*t, [&] {
        t->specZoom.setFromHost(4096);
        t->foregroundDisplay.setFromHost(false); // frames that do not overlap
    });
    const std::size_t chunk = Radio::chunkSize(8000000); // 20.75 x 4096
    Carrier carrier(100, 8000000);
    for (int i = 0; i < 160; ++i) // 50 until the background looks, and 98.7
        feed(*t, carrier.next(chunk), kCentre, 8000000);
    pumpRenderUpdates();
    ASSERT_EQ(frames.size(), 1u);
    const Frame& frame = frames.back();
    EXPECT_EQ(frame.rate, 8000000 / 4096);
    EXPECT_NEAR(frame.frequencyOf(frame.strongest()), kCentre + 100, 8e6 / 4096 / 2048 * 2);
}

TEST_F(Spectrum, ARateOfOneIsHarmless) {
    for (int i = 0; i < 9; ++i)
        feed(*t, Samples(512, 1.0f), kCentre, 1);
    pumpRenderUpdates();
    EXPECT_FALSE(frames.empty());
    for (const Frame& frame : frames)
        EXPECT_EQ(frame.high - frame.low, 2);
}

TEST_F(Spectrum, ASlowPumpLosesFramesAndNothingElse) {
    Carrier carrier(0, 48000);
    for (int i = 0; i < 4 * 300; ++i)
        feed(*t, carrier.next(512), kCentre, 48000);
    pumpRenderUpdates();
    EXPECT_GE(frames.size(), 64u); // 64 for each worker that posted
    EXPECT_LT(frames.size(), 300u);
    frames.clear();
    run(carrier, 48000, 4);
    EXPECT_EQ(frames.size(), 1u);
}

} // namespace
} // namespace ferrow
