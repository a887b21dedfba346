#include "tests/sim/sky_probe.hpp"

#include "sim/ft8/coding.hpp"
#include "sim/ft8/message.hpp"
#include "sim/sky/loop_station.hpp"

#include <filesystem>
#include <gtest/gtest.h>
#include <sndfile.h>

using namespace ferrow::sim;
using namespace ferrow::sim::testing;

namespace {

std::string sceneOf(const std::string& station) {
    return R"({"noise_floor": null, "stations": [)" + station + "]}";
}

/// Writes a two-channel float WAV with one tone at `hz` (positive is I leading) and amplitude 0.5.
std::string writeIqTone(const std::string& name, int rate, double hz, double seconds) {
    const std::string path = (std::filesystem::temp_directory_path() / name).string();
    SF_INFO info{};
    info.samplerate = rate;
    info.channels = 2;
    info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    for (int i = 0; i < static_cast<int>(rate * seconds); ++i) {
        const double angle = 2.0 * std::numbers::pi * hz * i / rate;
        const double frame[2] = {0.5 * std::cos(angle), 0.5 * std::sin(angle)};
        sf_writef_double(file, frame, 1);
    }
    sf_close(file);
    return path;
}

} // namespace

TEST(Stations, AmHasCarrierAndBothSidebands) {
    const auto x = listen(sceneOf(R"({"kind": "am", "frequency": 7200000, "level": -20, "depth": 0.5,
                                      "source": {"tones": [1000]}})"),
                          {.frequency = 7195000.0}, 1.0);
    EXPECT_NEAR(dbOfAmplitude(amplitudeAt(x, -5000.0, 48000)), -20.0, 0.02);
    EXPECT_NEAR(dbOfAmplitude(amplitudeAt(x, -6000.0, 48000)), -20.0 + 20.0 * std::log10(0.25), 0.05);
    EXPECT_NEAR(dbOfAmplitude(amplitudeAt(x, -4000.0, 48000)), -20.0 + 20.0 * std::log10(0.25), 0.05);
}

TEST(Stations, SsbStandsOnItsSideOnly) {
    for (const bool upper : {true, false}) {
        const auto x =
            listen(sceneOf(R"({"kind": "ssb", "frequency": 14200000, "level": -20, "sideband": ")" +
                           std::string(upper ? "usb" : "lsb") + R"(", "source": {"tones": [1500]}})"),
                   {.frequency = 14200000.0}, 1.0);
        const double side = upper ? -1500.0 : 1500.0; // the wire turns frequencies over
        EXPECT_NEAR(dbOfAmplitude(amplitudeAt(x, side, 48000)), -20.0, 0.05);
        EXPECT_LT(dbOfAmplitude(amplitudeAt(x, -side, 48000)), -110.0);
    }
}

TEST(Stations, SpeechComesBackFromTheSsbSignal) {
    const std::string scene = sceneOf(
        R"({"kind": "ssb", "name": "voice", "frequency": 14200000, "level": -20, "source": "speech"})");
    const BuiltScene built = buildSky(parseScene(scene, "."));
    const Audio& sent = built.audio.at(0).audio;
    const auto x = listen(scene, {.frequency = 14200000.0}, 5.0);
    double cross = 0.0;
    double own = 0.0;
    double other = 0.0;
    for (std::size_t i = 4800; i + 4800 < x.size(); i += 4) { // every fourth sample is a source sample
        const double heard = x[i].real();
        const double wanted = static_cast<double>(sent[i / 4]);
        cross += heard * wanted;
        own += heard * heard;
        other += wanted * wanted;
    }
    EXPECT_GT(cross / std::sqrt(own * other), 0.9999);
}

TEST(Stations, CwHasItsElementsInTime) {
    // PARIS with the space behind it is 50 dots, 2.4 s at 25 wpm, of which 22 are keyed
    const auto loop = cwLoop("PARIS", 25.0, 0.0);
    const double dot = 1.2 / 25.0;
    double keyed = 0.0;
    for (const auto& v : loop)
        keyed += static_cast<double>(std::abs(v)) / kBaseRate;
    EXPECT_NEAR(keyed / dot, 22.0, 0.1);
    EXPECT_NEAR(static_cast<double>(loop.size()) / kBaseRate / dot, 1.0 + 50.0 - 4.0, 0.1);
    // P is .--. : the first dash begins at 2 dots after the lead-in of one
    EXPECT_NEAR(std::abs(loop[static_cast<std::size_t>(1.5 * dot * kBaseRate)]), 1.0f, 1e-6f);
    EXPECT_NEAR(std::abs(loop[static_cast<std::size_t>(2.5 * dot * kBaseRate)]), 0.0f, 1e-6f);
    EXPECT_NEAR(std::abs(loop[static_cast<std::size_t>(4.5 * dot * kBaseRate)]), 1.0f, 1e-6f);
}

TEST(Stations, Ft8StartsHalfASecondIntoItsSlot) {
    const double dt = 0.3;
    const auto x =
        listen(sceneOf(R"({"kind": "ft8", "frequency": 14074000, "offset": 1000, "level": -10, "dt": 0.3,
                                      "message": "CQ K1ABC FN42"})"),
               {.frequency = 14075000.0, .utcOfZero = 1763752500.0}, 15.0);
    const auto at = [&](double t) { return std::abs(x[static_cast<std::size_t>(t * 48000.0)]); };
    const double level = std::pow(10.0, -0.5);
    EXPECT_LT(at(0.5 + dt - 0.01), 1e-4);
    EXPECT_NEAR(at(0.5 + dt + 0.03), level, 1e-3);
    EXPECT_NEAR(at(0.5 + dt + 12.64 - 0.03), level, 1e-3);
    EXPECT_LT(at(0.5 + dt + 12.64 + 0.01), 1e-4);
    // half way up the ramp of 20 ms
    EXPECT_NEAR(at(0.5 + dt + 0.010), level / 2.0, 0.02);
}

TEST(Stations, Ft4SlotsAreHalfAsLong) {
    const auto x = listen(sceneOf(R"({"kind": "ft4", "frequency": 14080000, "offset": 1000, "level": -10,
                                      "slot": "odd", "message": "CQ K1ABC FN42"})"),
                          {.frequency = 14081000.0, .utcOfZero = 0.0}, 15.0);
    const auto at = [&](double t) { return std::abs(x[static_cast<std::size_t>(t * 48000.0)]); };
    const double level = std::pow(10.0, -0.5);
    EXPECT_LT(at(3.0), 1e-4) << "slot 0 is even";
    EXPECT_LT(at(7.5 + 0.49), 1e-4);
    EXPECT_NEAR(at(7.5 + 0.5 + 0.024), level / 2.0, 0.02) << "middle of the ramp symbol";
    EXPECT_NEAR(at(7.5 + 3.0), level, 1e-3);
    EXPECT_LT(at(7.5 + 0.5 + 5.04 + 0.01), 1e-4);
}

TEST(Stations, SlotRulesAndMessagesInTurn) {
    const SlotStation even("a", false, 14075000.0, -10.0, {"CQ K1ABC FN42"}, SlotRule::Even, 0.0);
    const SlotStation odd("b", false, 14075000.0, -10.0, {"CQ K1ABC FN42"}, SlotRule::Odd, 0.0);
    const SlotStation every("c", false, 14075000.0, -10.0, {"CQ K1ABC FN42", "K1ABC W9XYZ R+05"},
                            SlotRule::Every, 0.0);
    EXPECT_TRUE(even.sendsIn(0) && !even.sendsIn(1) && !odd.sendsIn(0) && odd.sendsIn(1) && every.sendsIn(1));

    const auto middleOf = [&](std::int64_t slot) {
        std::vector<Cfloat> out(4000);
        every.render({}, slot * 15 * kBaseRate + 40000, out);
        return out;
    };
    EXPECT_EQ(middleOf(0), middleOf(2));
    EXPECT_EQ(middleOf(1), middleOf(3));
    EXPECT_NE(middleOf(0), middleOf(1));
}

TEST(Stations, SlotStationFollowsUtcWithAFastClock) {
    // after 1000 s a clock 100 ppm fast has counted 1200 base samples more; the slot still starts on UTC
    const SlotStation station("a", false, 14075000.0, 0.0, {"CQ K1ABC FN42"}, SlotRule::Every, 0.0);
    const SkyTime time{5.0, 12000.0 * 1.0001};
    std::vector<Cfloat> out(1);
    const double start = 1005.0 - 5.0 + 0.5; // 1005 is a slot's beginning
    const auto sampleAt = [&](double t) { return static_cast<std::int64_t>(t * time.trueRate); };
    station.render(time, sampleAt(start - 0.001), out);
    EXPECT_EQ(std::abs(out[0]), 0.0f);
    station.render(time, sampleAt(start + 0.021), out);
    EXPECT_NEAR(std::abs(out[0]), 1.0f, 1e-3f);
}

TEST(Stations, RenderingDoesNotDependOnTheSplit) {
    const SlotStation slot("a", false, 14075000.0, 0.0, {"CQ K1ABC FN42"}, SlotRule::Every, 0.0);
    const LoopStation loop("b", "cw", 14e6, 0.0, cwLoop("TEST", 20.0, 0.5));
    for (const Station* station : {static_cast<const Station*>(&slot), static_cast<const Station*>(&loop)}) {
        std::vector<Cfloat> whole(30000);
        station->render({}, 170000, whole);
        std::size_t at = 0;
        for (std::size_t size = 1; at < whole.size(); size = size * 3 % 977 + 1) {
            std::vector<Cfloat> part(std::min(size, whole.size() - at));
            station->render({}, 170000 + static_cast<std::int64_t>(at), part);
            for (const Cfloat& v : part)
                ASSERT_EQ(v, whole[at++]);
        }
    }
}

TEST(Stations, IqRecordingIsASource) {
    // 48 kHz is a multiple of the base rate, 44.1 kHz is not
    for (const int rate : {48000, 44100}) {
        const std::string path =
            writeIqTone("ferrow_sim_iq_" + std::to_string(rate) + ".wav", rate, 6000.0, 2.0);
        for (const bool inverted : {false, true}) {
            const std::string scene =
                sceneOf(R"({"kind": "iq", "frequency": 7100000, "level": -20, "file": ")" + path +
                        R"(", "inverted": )" + (inverted ? "true" : "false") + "}");
            const auto x = listen(scene, {.frequency = 7100000.0, .rate = 96000}, 1.0);
            const double side = inverted ? 6000.0 : -6000.0;
            EXPECT_NEAR(dbOfAmplitude(amplitudeAt(x, side, 96000)), -26.02, 0.1) << rate;
            EXPECT_LT(dbOfAmplitude(amplitudeAt(x, -side, 96000)), -90.0) << rate;
        }
        std::filesystem::remove(path);
    }
}

TEST(Stations, IqRecordingWiderThanTheReceiver) {
    const std::string path = writeIqTone("ferrow_sim_iq_wide.wav", 192000, 70000.0, 1.0);
    const std::string scene =
        sceneOf(R"({"kind": "iq", "frequency": 7100000, "level": 0, "file": ")" + path + "\"}");
    const auto near = listen(scene, {.frequency = 7160000.0, .rate = 48000}, 0.5);
    EXPECT_NEAR(dbOfAmplitude(amplitudeAt(near, -10000.0, 48000)), -6.02, 0.1);
    const auto far = listen(scene, {.frequency = 7100000.0, .rate = 48000}, 0.5);
    EXPECT_LT(10.0 * std::log10(meanPower(far) + 1e-30), -90.0) << "no alias of what lies outside";
    std::filesystem::remove(path);
}

TEST(Stations, PulsesBeginAndEndOnTheSecond) {
    constexpr int kRate = 48000;
    const auto x = listen(sceneOf(R"({"kind": "carrier", "frequency": 14200000, "level": -20, "every": 0.5,
                                      "length": 0.1})"),
                          {.frequency = 14200000.0, .utcOfZero = 1000.25}, 1.0);
    // Samples around each passage through half of the amplitude.
    std::vector<double> edges;
    for (std::size_t i = 1; i < x.size(); ++i)
        if ((std::abs(x[i - 1]) < 0.05) != (std::abs(x[i]) < 0.05))
            edges.push_back(static_cast<double>(i) / kRate);
    ASSERT_EQ(edges.size(), 4u);
    EXPECT_NEAR(edges[0], 0.25, 0.0002);
    EXPECT_NEAR(edges[1], 0.35, 0.0002);
    EXPECT_NEAR(edges[2], 0.75, 0.0002);
    EXPECT_NEAR(edges[3], 0.85, 0.0002);
    EXPECT_NEAR(std::abs(x[static_cast<std::size_t>(0.3 * kRate)]), 0.1, 0.001);
    EXPECT_LT(std::abs(x[static_cast<std::size_t>(0.5 * kRate)]), 1e-4);
}
