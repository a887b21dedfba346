// `ferrow denoise`, as a program; the library is in the way of every sample.
#include "host/resample.hpp"
#include "host/sound_file.hpp"
#include "tests/host/program.hpp"
#include "tests/host/temporary.hpp"

#include <cmath>
#include <fstream>
#include <numbers>
#include <random>

using namespace ferrow::test;
using ferrow::readWav;
using ferrow::Sound;
using ferrow::WavWriter;

namespace {

double decibel(const std::vector<float>& x, std::size_t from) {
    double sum = 0;
    for (std::size_t i = from; i < x.size(); ++i)
        sum += static_cast<double>(x[i]) * x[i];
    return 10 * std::log10(sum / static_cast<double>(x.size() - from) + 1e-20);
}

// Noise between 300 and 2700 Hz or so: many tones of random frequency and phase.
std::vector<float> noise(int rate, double seconds, double amplitude) {
    std::mt19937 random(1);
    std::uniform_real_distribution<double> frequency(300, 2700), phase(0, 6.28);
    std::vector<float> out(static_cast<std::size_t>(rate * seconds));
    for (int tone = 0; tone < 300; ++tone) {
        const double step = 2 * std::numbers::pi * frequency(random) / rate, start = phase(random);
        for (std::size_t i = 0; i < out.size(); ++i)
            out[i] += static_cast<float>(amplitude / 17 * std::cos(step * static_cast<double>(i) + start));
    }
    return out;
}

void write(const std::string& path, int rate, const std::vector<float>& samples) {
    WavWriter file(path, rate);
    file.write(samples);
    file.close();
}

} // namespace

TEST(DenoiseCommand, NothingTakenAwayGivesTheSoundBackSampleBySample) {
    const TemporaryFolder folder;
    const std::vector<float> in = noise(48000, 1.5, 0.2);
    write(folder.file("in.wav"), 48000, in);
    const Outcome outcome =
        runFerrow({"denoise", folder.file("in.wav"), folder.file("out.wav"), "--mix", "0"});
    ASSERT_EQ(outcome.code, 0) << outcome.output;
    EXPECT_EQ(outcome.output, folder.file("out.wav") + ": 1.5 s\n");
    const Sound out = readWav(folder.file("out.wav"));
    EXPECT_EQ(out.rate, 48000);
    ASSERT_EQ(out.samples.size(), in.size());
    // The receive filter lies half a sample from the grid, and the high-pass turns the phase a little.
    double error = 0, power = 0;
    for (std::size_t i = 4800; i < in.size() - 4800; ++i) {
        error += std::pow(static_cast<double>(out.samples[i] - in[i]), 2);
        power += static_cast<double>(in[i]) * in[i];
    }
    EXPECT_LT(10 * std::log10(error / power), -12);
    EXPECT_NEAR(decibel(out.samples, 4800), decibel(in, 4800), 0.3);
}

TEST(DenoiseCommand, TakesNoiseAwayAtAnyRateAndLevel) {
    const TemporaryFolder folder;
    for (const auto& [rate, amplitude] : {std::pair{8000, 0.3}, {48000, 0.003}}) {
        const std::vector<float> in = noise(rate, 3, amplitude);
        write(folder.file("in.wav"), rate, in);
        const Outcome outcome =
            runFerrow({"denoise", folder.file("in.wav"), folder.file("out.wav"), "--mix", "100"});
        ASSERT_EQ(outcome.code, 0) << outcome.output;
        const Sound out = readWav(folder.file("out.wav"));
        EXPECT_EQ(out.rate, rate);
        ASSERT_EQ(out.samples.size(), in.size());
        const auto second = static_cast<std::size_t>(rate);
        EXPECT_LT(decibel(out.samples, second), decibel(in, second) - 12) << rate;
    }
}

TEST(DenoiseCommand, TakesAnEmptyAndASilentFile) {
    const TemporaryFolder folder;
    for (const std::size_t length : {std::size_t{0}, std::size_t{1}, std::size_t{30000}}) {
        write(folder.file("in.wav"), 48000, std::vector<float>(length));
        ASSERT_EQ(runFerrow({"denoise", folder.file("in.wav"), folder.file("out.wav")}).code, 0) << length;
        const Sound out = readWav(folder.file("out.wav"));
        EXPECT_EQ(out.samples, std::vector<float>(length));
    }
}

TEST(DenoiseCommand, SaysWhatIsWrong) {
    const TemporaryFolder folder;
    write(folder.file("in.wav"), 48000, std::vector<float>(1000));
    const Outcome none = runFerrow({"denoise", "/no/such.wav", folder.file("out.wav")});
    EXPECT_EQ(none.code, 1);
    EXPECT_NE(none.output.find("/no/such.wav"), std::string::npos) << none.output;
    const Outcome unwritable = runFerrow({"denoise", folder.file("in.wav"), "/no/such/out.wav"});
    EXPECT_EQ(unwritable.code, 1);
    EXPECT_NE(unwritable.output.find("/no/such/out.wav"), std::string::npos) << unwritable.output;
    std::ofstream(folder.file("text.wav")) << "no sound at all";
    EXPECT_EQ(runFerrow({"denoise", folder.file("text.wav"), folder.file("out.wav")}).code, 1);
    for (const char* mix : {"-1", "101", "much"})
        EXPECT_EQ(runFerrow({"denoise", folder.file("in.wav"), folder.file("out.wav"), "--mix", mix}).code,
                  2);
    EXPECT_EQ(runFerrow({"denoise", folder.file("in.wav")}).code, 2);
}

TEST(Resample, KeepsATonesFrequencyPhaseAndLevel) {
    for (const auto& [from, to] : {std::pair{8000, 48000}, {48000, 8000}, {44100, 48000}, {48000, 11025}}) {
        std::vector<float> in(static_cast<std::size_t>(from));
        for (std::size_t i = 0; i < in.size(); ++i)
            in[i] = static_cast<float>(std::cos(2 * std::numbers::pi * 1000 * static_cast<double>(i) / from));
        const std::vector<float> out = ferrow::resample(in, from, to);
        EXPECT_NEAR(static_cast<double>(out.size()), to, 1);
        for (std::size_t i = out.size() / 8; i < out.size() * 7 / 8; ++i)
            ASSERT_NEAR(out[i], std::cos(2 * std::numbers::pi * 1000 * static_cast<double>(i) / to), 1e-3)
                << from << ' ' << to << ' ' << i;
    }
}
