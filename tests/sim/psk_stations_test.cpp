#include "tests/modes/psk/psk_signal.hpp"
#include "tests/modes/psk/psk_trials.hpp"
#include "tests/sim/sky_probe.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace ferrow::sim;
using namespace ferrow::sim::testing;

namespace {

constexpr double kDial = 14070000;

std::string sceneOf(const std::string& fields) {
    return R"({"noise_floor": null, "stations": [{"kind": "psk", "frequency": 14070000, "level": -20, )" +
           fields + "}]}";
}

std::string lowerCase(std::string name) {
    for (char& c : name)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return name;
}

// The signal without its carrier, above the dial as positive.
Samples baseband(const Samples& x, double offset) {
    Samples out(x.size());
    for (std::size_t n = 0; n < x.size(); ++n)
        out[n] =
            std::conj(x[n]) *
            std::polar(1.0, -2 * std::numbers::pi * std::fmod(offset * static_cast<double>(n) / 48000, 1.0));
    return out;
}

} // namespace

TEST(PskStations, EveryModeIsReadByADetector) {
    for (const auto& form : ferrow::test::kPskForms) {
        const std::string text = "CQ de K1ABC \xe4";
        const auto x = listen(sceneOf(R"("mode": ")" + lowerCase(form.name) +
                                      R"(", "text": "CQ de K1ABC \u00e4", "offset": 1200)"),
                              {.frequency = kDial}, 11.0);
        std::vector<double> audio;
        for (std::size_t n = 0; n < x.size(); n += 6)
            audio.push_back(x[n].real());
        ferrow::CPSKDet detector(form.modeWord);
        detector.setRxFrequency(1200);
        const std::string read = ferrow::test::receive(detector, audio, 100000);
        EXPECT_NE(read.find("CQ de K1ABC"), std::string::npos) << form.name << ": " << read;
    }
}

// Against a generator that shares nothing with the simulator's, symbol by symbol.
TEST(PskStations, PhasesAreThoseOfThePublishedCodes) {
    for (const auto& form : ferrow::test::kPskForms) {
        const auto x = listen(sceneOf(R"("mode": ")" + lowerCase(form.name) +
                                      R"(", "text": "e t Q", "idle": 1, "offset": 800)"),
                              {.frequency = kDial}, 4.0);
        const Samples z = baseband(x, 800);
        const auto symbol = static_cast<std::size_t>(48000 / form.baud);
        const int lead = static_cast<int>(form.baud);
        const auto phases = ferrow::test::pskPhases(ferrow::test::pskBits("e t Q", lead, 30), form.qpsk);
        // The start: half the level, half a symbol into the rise.
        std::size_t start = 0;
        while (std::abs(z[start]) < 0.05)
            ++start;
        start -= symbol / 2;
        for (std::size_t k = 0; k + 1 < phases.size() && start + (k + 2) * symbol < z.size(); ++k) {
            const std::size_t at = start + (k + 1) * symbol;
            const int turn =
                static_cast<int>(std::lround(std::arg(z[at + symbol] / z[at]) / (std::numbers::pi / 2)) + 4) %
                4;
            ASSERT_EQ(turn, (phases[k + 1] - phases[k] + 4) % 4) << form.name << " symbol " << k;
            ASSERT_NEAR(std::abs(z[at]), 0.1, 0.003);
        }
    }
}

TEST(PskStations, ASignalStandsAtItsOffsetAndKeepsItsGap) {
    const auto x =
        listen(sceneOf(R"("text": "", "idle": 2, "gap": 1.5, "offset": 1000)"), {.frequency = kDial}, 10.0);
    const std::size_t second = 48000;
    EXPECT_NEAR(dbOfAmplitude(amplitudeAt(x, -1000 - 15.625, 48000, second / 2, second)), -26, 0.2);
    EXPECT_NEAR(dbOfAmplitude(amplitudeAt(x, -1000 + 15.625, 48000, second / 2, second)), -26, 0.2);
    EXPECT_LT(dbOfAmplitude(amplitudeAt(x, -1000, 48000, second / 2, second)), -60);
    std::size_t longest = 0, silent = 0;
    for (const auto& sample : x) {
        silent = std::abs(sample) < 1e-5 ? silent + 1 : 0;
        longest = std::max(longest, silent);
    }
    EXPECT_NEAR(static_cast<double>(longest) / 48000, 1.5, 0.05);
}

TEST(PskStations, WrongFieldsAreRefused) {
    EXPECT_THROW(parseScene(sceneOf(R"("text": "x", "mode": "psk32")"), "."), SceneError);
    EXPECT_THROW(parseScene(sceneOf(R"("mode": "psk31")"), "."), SceneError);
    EXPECT_THROW(parseScene(sceneOf(R"("text": "x", "gap": -1)"), "."), SceneError);
    EXPECT_THROW(parseScene(sceneOf(R"("text": "x", "wpm": 20)"), "."), SceneError);
    const auto list = listStations(parseScene(sceneOf(R"("text": "x", "mode": "qpsk63")"), "."));
    EXPECT_EQ(list["stations"][0]["baud"], 62.5);
    EXPECT_EQ(list["stations"][0]["kind"], "psk");
}
