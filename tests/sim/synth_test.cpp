#include "tests/sim/sky_probe.hpp"

#include <gtest/gtest.h>

using namespace ferrow::sim;
using namespace ferrow::sim::testing;

namespace {

std::string carrierAt(double hz, double level = -20.0) {
    return R"({"noise_floor": null, "stations": [{"kind": "carrier", "frequency": )" + std::to_string(hz) +
           R"(, "level": )" + std::to_string(level) + "}]}";
}

} // namespace

TEST(Synth, CarrierAboveTheCentreHasANegativeFrequency) {
    for (const int rate : {48000, 96000, 192000, 384000}) {
        const auto x = listen(carrierAt(14101234.0), {.frequency = 14100000.0, .rate = rate}, 1.0);
        EXPECT_NEAR(dbOfAmplitude(amplitudeAt(x, -1234.0, rate)), -20.0, 0.01) << rate;
        EXPECT_LT(dbOfAmplitude(amplitudeAt(x, 1234.0, rate)), -110.0) << rate;
        EXPECT_NEAR(frequencyOf(x, rate, -1234.0), -1234.0, 1e-3) << rate;
    }
}

TEST(Synth, CarrierBelowTheCentreHasAPositiveFrequency) {
    const auto x = listen(carrierAt(14083211.0), {.frequency = 14100000.0, .rate = 192000}, 1.0);
    EXPECT_NEAR(frequencyOf(x, 192000, 16789.0), 16789.0, 1e-3);
}

TEST(Synth, OddNyquistZoneIsMirrored) {
    // 40 MHz folds to 33.728 MHz; a station above it then turns the other way on the wire.
    const auto x = listen(carrierAt(40001000.0), {.frequency = 33728000.0, .rate = 48000}, 1.0);
    EXPECT_NEAR(frequencyOf(x, 48000, 1000.0), 1000.0, 1e-3);
    EXPECT_LT(dbOfAmplitude(amplitudeAt(x, -1000.0, 48000)), -110.0);
    // the second zone above is even again
    const auto y = listen(carrierAt(73728000.0 + 5001000.0), {.frequency = 5000000.0, .rate = 48000}, 1.0);
    EXPECT_NEAR(frequencyOf(y, 48000, -1000.0), -1000.0, 1e-3);
}

TEST(Synth, OddNyquistZoneMirrorsSidebands) {
    const std::string scene =
        R"({"noise_floor": null, "stations": [{"kind": "ssb", "frequency": 40000000, "sideband": "usb",
            "level": -10, "source": {"tones": [1000]}}]})";
    const auto x = listen(scene, {.frequency = 33728000.0, .rate = 48000}, 1.0);
    EXPECT_NEAR(dbOfAmplitude(amplitudeAt(x, 1000.0, 48000)), -10.0, 0.1);
    EXPECT_LT(dbOfAmplitude(amplitudeAt(x, -1000.0, 48000)), -100.0);
}

TEST(Synth, ImagesOfTheInterpolationAreGone) {
    // off the grid, and where the block edges would show
    const auto x = listen(carrierAt(14111111.3), {.frequency = 14100017.0, .rate = 384000}, 0.5);
    const double wanted = -(14111111.3 - 14100017.0);
    EXPECT_NEAR(dbOfAmplitude(amplitudeAt(x, wanted, 384000)), -20.0, 0.01);
    for (const double image : {12000.0, -12000.0, 24000.0, 93.75 * 8, 187.5, 48000.0})
        EXPECT_LT(dbOfAmplitude(amplitudeAt(x, wanted + image, 384000)), -120.0) << image;
}

TEST(Synth, RfGainScalesTheSignal) {
    const auto x = listen(carrierAt(14101000.0, -60.0), {.frequency = 14100000.0, .gainDb = 24.0}, 0.5);
    EXPECT_NEAR(dbOfAmplitude(amplitudeAt(x, -1000.0, 48000)), -36.0, 0.01);
}

TEST(Synth, NoiseHasTheOrderedDensityAtEveryRate) {
    for (const int rate : {48000, 96000, 192000, 384000}) {
        const auto x =
            listen(R"({"noise_floor": -130})", {.frequency = 7e6, .rate = rate, .gainDb = 20.0}, 2.0);
        EXPECT_NEAR(10.0 * std::log10(meanPower(x) / rate), -110.0, 0.1) << rate;
    }
}

TEST(Synth, NoiseIsGaussianAndWhite) {
    const auto x = listen(R"({"noise_floor": -130})", {.frequency = 7e6}, 4.0);
    const double power = meanPower(x) / 2.0;
    double fourth = 0.0;
    std::complex<double> neighbour = 0.0;
    std::complex<double> circular = 0.0;
    for (std::size_t i = 1; i < x.size(); ++i) {
        fourth += std::pow(x[i].real(), 4);
        neighbour += x[i] * std::conj(x[i - 1]);
        circular += x[i] * x[i];
    }
    const auto n = static_cast<double>(x.size());
    EXPECT_NEAR(fourth / n / (power * power), 3.0, 0.1);
    EXPECT_LT(std::abs(neighbour) / n / power, 0.02);
    EXPECT_LT(std::abs(circular) / n / power, 0.02);
}

TEST(Synth, Ft8SnrIsThatIn2500Hz) {
    for (const double snr : {0.0, -10.0}) {
        const std::string scene =
            R"({"noise_floor": -135, "stations": [{"kind": "ft8", "frequency": 14074000, "offset": 1500, "snr": )" +
            std::to_string(snr) + R"(, "message": "CQ K1ABC FN42"}]})";
        // the transmission lasts from 0.5 to 13.14 s of the slot; look at whole seconds inside it
        const auto x = listen(scene, {.frequency = 14075500.0}, 13.0);
        double near = 0.0;
        double floor = 0.0;
        int nearBins = 0;
        int floorBins = 0;
        for (int second = 1; second < 13; ++second) {
            const auto first = static_cast<std::size_t>(second) * 48000;
            for (int hz = -80; hz <= 20; hz += 2) { // above the centre is negative
                near += std::pow(amplitudeAt(x, hz, 48000, first, 48000), 2);
                ++nearBins;
            }
            for (int hz = 1000; hz < 1100; hz += 2) {
                floor += std::pow(amplitudeAt(x, hz, 48000, first, 48000), 2);
                ++floorBins;
            }
        }
        // Each bin under the Hann window spans 1.5 Hz of noise; the bins stand 2 Hz apart, so the signal's
        // power is the sum over them times 2 / 1.5.
        const double noisePerHz = floor / floorBins / 1.5;
        const double signal = (near - noisePerHz * 1.5 * nearBins) / 12.0 * 2.0 / 1.5;
        EXPECT_NEAR(10.0 * std::log10(signal / (noisePerHz * 2500.0)), snr, 0.5) << snr;
    }
}

TEST(Synth, SecondAdcHasItsGainAndPhase) {
    const std::string scene = R"({"noise_floor": null, "adc1": {"gain_db": -6, "phase_deg": 90},
        "stations": [{"kind": "carrier", "frequency": 14101000, "level": -20}]})";
    const auto a = listen(scene, {.frequency = 14100000.0}, 0.1);
    const auto b = listen(scene, {.frequency = 14100000.0, .adc = 1}, 0.1);
    const std::complex<double> ratio = b[777] / a[777];
    EXPECT_NEAR(dbOfAmplitude(std::abs(ratio)), -6.0, 0.01);
    EXPECT_NEAR(std::arg(ratio), std::numbers::pi / 2.0, 1e-3);
}

TEST(Synth, FastClockHearsEverythingLower) {
    // 10 ppm fast: the oscillator sits 141 Hz high and samples come 10 ppm closer
    const auto x = listen(carrierAt(14101000.0), {.frequency = 14100000.0, .clockPpm = 10.0}, 1.0);
    const double seen = 14101000.0 / 1.00001 - 14100000.0;
    EXPECT_NEAR(frequencyOf(x, 48000, -seen), -seen, 1e-3);
}

TEST(Synth, NarrowStationAtTheEdgeKeepsItsLevel) {
    const auto x = listen(carrierAt(14123000.0), {.frequency = 14100000.0}, 0.5);
    EXPECT_NEAR(dbOfAmplitude(amplitudeAt(x, -23000.0, 48000)), -20.0, 0.01);
    const auto y = listen(carrierAt(14124500.0), {.frequency = 14100000.0}, 0.2);
    EXPECT_LT(10.0 * std::log10(meanPower(y) + 1e-30), -150.0) << "beyond the span nothing is heard";
}

TEST(Synth, ReceiverCountAndRateMayChange) {
    const BuiltScene built = buildSky(parseScene(carrierAt(14101000.0), "."));
    Synth synth(built.sky, 0.0);
    const std::vector<ReceiverSetting> settings(12, ReceiverSetting{14100000.0, 0});
    std::int64_t block = 0;
    for (const int rate : {48000, 384000, 96000}) {
        for (const int receivers : {1, 12, 3}) {
            synth.configure(receivers, rate);
            synth.makeBlock({}, ++block, settings, 0.0);
            for (int r = 0; r < receivers; ++r) {
                ASSERT_EQ(synth.samples(r).size(), static_cast<std::size_t>(rate / 12000 * 64));
                EXPECT_NEAR(std::abs(synth.samples(r)[17]), 0.1f, 1e-4f);
            }
        }
    }
}

TEST(Synth, WidebandShowsCarriersWhereTheyAre) {
    const BuiltScene built = buildSky(parseScene(
        R"({"noise_floor": -150, "stations": [{"kind": "carrier", "frequency": 14112000, "level": -20},
            {"kind": "carrier", "frequency": 40000000, "level": -40}]})",
        "."));
    Synth synth(built.sky, 0.0);
    synth.configure(1, 48000);
    std::vector<float> wide(2048);
    synth.makeWideband({}, 1000, 6.0, wide);
    const Samples x(wide.begin(), wide.end());
    // a real carrier of amplitude a shows a/2 on either side
    EXPECT_NEAR(dbOfAmplitude(2.0 * amplitudeAt(x, 14112000.0, kAdcClock)), -14.0, 0.2);
    EXPECT_NEAR(dbOfAmplitude(2.0 * amplitudeAt(x, 33728000.0, kAdcClock)), -34.0, 0.5);
    EXPECT_LT(dbOfAmplitude(2.0 * amplitudeAt(x, 21000000.0, kAdcClock)), -70.0);
}

TEST(Synth, WidebandNoiseMatchesTheReceivers) {
    // A real signal of amplitude 1 and a complex one of amplitude 1 are both full scale, so the real noise
    // has half the density.
    const BuiltScene built = buildSky(parseScene(R"({"noise_floor": -120})", "."));
    Synth synth(built.sky, 0.0);
    synth.configure(1, 48000);
    std::vector<float> wide(2048);
    double power = 0.0;
    for (int i = 0; i < 50; ++i) {
        synth.makeWideband({}, i, 0.0, wide);
        for (const float v : wide)
            power += static_cast<double>(v) * static_cast<double>(v) / (50.0 * 2048.0);
    }
    EXPECT_NEAR(10.0 * std::log10(power / kNyquist), -123.0, 0.1);
}
