// What the stand-in's tuners hear of a scene, against the formula.
#include "sim/sdrplay/sky_source.hpp"

#include "sim/scene/build_sky.hpp"

#include <cmath>
#include <gtest/gtest.h>
#include <numbers>

namespace ferrow::sim::rsp {
namespace {

using Complex = std::complex<double>;

std::shared_ptr<const Sky> sky(const std::string& stations,
                               const std::string& more = R"("noise_floor": null)") {
    return buildSky(parseScene("{" + more + R"(, "stations": [)" + stations + "]}", "")).sky;
}

std::vector<Complex> take(SkySource& source, int tuner, std::size_t count) {
    std::vector<Complex> out;
    while (out.size() < count) {
        const std::size_t some = std::min({count - out.size(), source.available(), std::size_t{1344}});
        for (const Cfloat& x : source.next(tuner, some))
            out.emplace_back(x);
        source.advance(some);
    }
    return out;
}

// dB of what is left beside a tone of amplitude 0.1, against that tone, at its best phase.
double errorBeside(const std::vector<Complex>& samples, double frequency, double rate) {
    Complex sum = 0;
    std::vector<Complex> tone(samples.size());
    for (std::size_t i = 0; i < samples.size(); ++i) {
        tone[i] =
            std::polar(0.1, 2 * std::numbers::pi * std::fmod(frequency * static_cast<double>(i) / rate, 1.0));
        sum += samples[i] * std::conj(tone[i]);
    }
    const Complex phase = sum / std::abs(sum);
    double error = 0;
    for (std::size_t i = 0; i < samples.size(); ++i)
        error += std::norm(samples[i] - phase * tone[i]);
    return 10 * std::log10(error / static_cast<double>(samples.size()) / 0.01);
}

class SkyRates : public testing::TestWithParam<double> {};

TEST_P(SkyRates, ACarrierIsAToneAboveWithoutABreak) {
    const double rate = GetParam();
    SkySource source(sky(R"({"kind": "carrier", "frequency": 100123456.7, "level": -20})"), 0.0);
    source.begin(1e9);
    source.set(rate, {SkySource::Tuner{true, 100000000.0, rate}, {}});
    const auto samples = take(source, 0, static_cast<std::size_t>(rate * 0.05));
    // The first block begins as the interpolation's filter fills; the station was on the air before.
    EXPECT_LT(errorBeside(samples, 123456.7, rate), -90);
    EXPECT_NEAR(source.peak(0), 0.1, 1e-4);
}

INSTANTIATE_TEST_SUITE_P(Rates, SkyRates,
                         testing::Values(192e3 * 2, 768e3, 1536e3, 2e6, 3.072e6, 6.144e6, 8e6, 10e6));

TEST(SkySource, RetunesActAtOnceAndKeepThePhase) {
    SkySource source(sky(R"({"kind": "carrier", "frequency": 7100000, "level": -20})"), 0.0);
    source.begin(0);
    const auto at = [](double f) { return std::array{SkySource::Tuner{true, f, 600e3}, SkySource::Tuner{}}; };
    source.set(768e3, at(7e6));
    const auto before = take(source, 0, 1000); // not a whole block
    EXPECT_LT(errorBeside(before, 100e3, 768e3), -90);
    source.set(768e3, at(7.05e6));
    const auto moved = take(source, 0, 9000);
    EXPECT_LT(errorBeside(moved, 50e3, 768e3), -90);
    source.set(768e3, at(7e6));
    auto after = take(source, 0, 9000);
    // As if it had been there all the time.
    std::vector<Complex> all = before;
    all.resize(before.size() + moved.size());
    all.insert(all.end(), after.begin(), after.end());
    Complex sum = 0;
    for (std::size_t i = 0; i < all.size(); ++i)
        if (i < before.size() || i >= before.size() + moved.size())
            sum += all[i] * std::polar(1.0, -2 * std::numbers::pi *
                                                std::fmod(100e3 * static_cast<double>(i) / 768e3, 1.0));
    EXPECT_NEAR(std::abs(sum), 0.1 * 10000, 0.5);
}

TEST(SkySource, WhatLiesOutsideTheBandwidthDoesNotComeThrough) {
    SkySource source(sky(R"({"kind": "carrier", "frequency": 7310000, "level": -20},
                           {"kind": "carrier", "frequency": 6000000, "level": 0})"),
                     0.0);
    source.begin(0);
    source.set(768e3, {SkySource::Tuner{true, 7e6, 600e3}, {}});
    for (const Complex& x : take(source, 0, 10000))
        ASSERT_LT(std::abs(x), 1e-5);
    source.set(768e3, {SkySource::Tuner{true, 7.2e6, 600e3}, {}});
    EXPECT_LT(errorBeside(take(source, 0, 10000), 110e3, 768e3), -90);
}

TEST(SkySource, TheSecondTunerHasItsOwnFrequencyGainAndPhase) {
    SkySource source(sky(R"({"kind": "carrier", "frequency": 7100000, "level": -20})",
                         R"("noise_floor": null, "adc1": {"gain_db": -6, "phase_deg": 40})"),
                     0.0);
    source.begin(0);
    source.set(2e6, {SkySource::Tuner{true, 7e6, 1536e3}, SkySource::Tuner{true, 7e6, 1536e3}});
    const std::size_t count = source.available();
    const Complex ratio = Complex(source.next(1, count)[500]) / Complex(source.next(0, count)[500]);
    EXPECT_NEAR(20 * std::log10(std::abs(ratio)), -6, 0.01);
    EXPECT_NEAR(std::arg(ratio) * 180 / std::numbers::pi, 40, 0.1);
    source.set(2e6, {SkySource::Tuner{true, 7e6, 1536e3}, SkySource::Tuner{true, 7.06e6, 1536e3}});
    EXPECT_LT(errorBeside(take(source, 0, 3000), 100e3, 2e6), -90);
}

TEST(SkySource, NoiseHasTheDensityOfTheScene) {
    for (const double rate : {768e3, 10e6}) {
        SkySource source(sky("", R"("noise_floor": -120)"), 0.0);
        source.begin(0);
        source.set(rate, {SkySource::Tuner{true, 7e6, rate}, {}});
        double power = 0;
        const auto samples = take(source, 0, 200000);
        for (const Complex& x : samples)
            power += std::norm(x);
        EXPECT_NEAR(10 * std::log10(power / 200000 / rate), -120, 0.1);
    }
}

TEST(SkySource, AFastClockHearsEveryStationLower) {
    SkySource source(sky(R"({"kind": "carrier", "frequency": 100000000, "level": -20})"), 10.0);
    source.begin(0);
    source.set(768e3, {SkySource::Tuner{true, 100e6, 600e3}, {}});
    EXPECT_LT(errorBeside(take(source, 0, 30000), -1000.0 / (1 + 1e-5), 768e3), -80);
}

} // namespace
} // namespace ferrow::sim::rsp
