// Spectra and sound as the bytes that listeners get.
#include "host/serve/audio_path.hpp"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <numbers>
#include <opus.h>

using namespace ferrow;
using namespace ferrow::serve;

namespace {

template <typename T>
T at(const Bytes& bytes, std::size_t place) {
    T value{};
    EXPECT_LE(place + sizeof value, bytes.size());
    std::memcpy(&value, &bytes[place], sizeof value);
    return value;
}

std::vector<float> tone(double frequency, std::size_t count, double level = 0.5, int rate = 48000) {
    std::vector<float> samples(count);
    for (std::size_t i = 0; i < count; ++i)
        samples[i] = static_cast<float>(
            level * std::sin(2 * std::numbers::pi * frequency * static_cast<double>(i) / rate));
    return samples;
}

// Amplitude of one frequency.
double levelAt(std::span<const float> samples, double frequency, int rate) {
    double re = 0, im = 0, weight = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double t = static_cast<double>(i);
        const double window = 0.5 - 0.5 * std::cos(2 * std::numbers::pi * t / static_cast<double>(samples.size()));
        const double phase = 2 * std::numbers::pi * frequency * t / rate;
        re += static_cast<double>(samples[i]) * window * std::cos(phase);
        im += static_cast<double>(samples[i]) * window * std::sin(phase);
        weight += window;
    }
    return 2 * std::hypot(re, im) / weight;
}

double decibel(double ratio) {
    return 20 * std::log10(ratio + 1e-12);
}

std::vector<float> halved(std::span<const float> samples) {
    HalfRate half;
    std::vector<float> out;
    half.process(samples, out);
    return out;
}

// Feeds blocks of 512 and keeps the messages.
struct Listening {
    std::vector<Bytes> messages;
    AudioPath path{7, [this](Bytes bytes) { messages.push_back(std::move(bytes)); }};

    void feed(std::span<const float> samples) {
        for (std::size_t i = 0; i + 512 <= samples.size(); i += 512)
            path.take(samples.subspan(i, 512));
    }
    std::vector<float> pcm() const {
        std::vector<float> samples;
        for (const Bytes& bytes : messages)
            for (std::size_t i = kAudioHead; i + 1 < bytes.size(); i += 2)
                samples.push_back(static_cast<float>(at<std::int16_t>(bytes, i)) / 32768);
        return samples;
    }
};

} // namespace

TEST(SpectrumFrame, BinsStandAtTheirFrequencies) {
    std::vector<float> values(2048, -120);
    const Spectrum spectrum{values, 14000000, 14384000, 384000};
    for (const std::size_t bins : {64U, 256U, 1024U, 2048U}) {
        for (const std::size_t peak : {0U, 700U, 1023U, 2047U}) {
            values[peak] = -30;
            const Bytes bytes = encodeSpectrum(9, 5, spectrum, bins);
            values[peak] = -120;
            ASSERT_EQ(bytes.size(), kSpectrumHead + bins);
            EXPECT_EQ(bytes[0], 1);
            EXPECT_EQ(bytes[1], 9);
            EXPECT_EQ(at<std::uint16_t>(bytes, 2), bins);
            EXPECT_EQ(at<std::uint32_t>(bytes, 4), 5U);
            const double low = at<double>(bytes, 8), high = at<double>(bytes, 16);
            const auto base = at<float>(bytes, 24), step = at<float>(bytes, 28);
            const auto top = std::max_element(bytes.begin() + kSpectrumHead, bytes.end());
            const auto k = static_cast<double>(top - bytes.begin()) - kSpectrumHead;
            const double width = (high - low) / static_cast<double>(bins);
            const double frequency = low + (k + 0.5) * width;
            EXPECT_LE(std::abs(frequency - spectrum.frequencyOf(static_cast<double>(peak))), width / 2)
                << bins << " " << peak;
            if (bins == 2048) {
                EXPECT_NEAR(frequency, spectrum.frequencyOf(static_cast<double>(peak)), 1e-3);
            }
            EXPECT_NEAR(base + step * *top, -30, step);
            EXPECT_NEAR(base, -120, 1e-3);
        }
    }
}

TEST(SpectrumFrame, OddValuesAreBounded) {
    std::vector<float> values(2048, -300);
    values[0] = NAN;
    values[64] = INFINITY;
    values[128] = -INFINITY;
    const Spectrum spectrum{values, 0, 1000, 48000};
    const Bytes bytes = encodeSpectrum(1, 0, spectrum, 64);
    EXPECT_EQ(at<float>(bytes, 24), kNoSpectrum);
    EXPECT_TRUE(std::isfinite(at<float>(bytes, 28)));
}

TEST(HalfRate, PassesWhatItShouldAndNothingElse) {
    for (const double frequency : {100.0, 1000.0, 5000.0, 8000.0, 9500.0, 10000.0}) {
        const auto out = halved(tone(frequency, 48000));
        const auto settled = std::span(out).subspan(2000);
        EXPECT_NEAR(decibel(levelAt(settled, frequency, 24000) / 0.5), 0, 0.1) << frequency;
    }
    for (const double frequency : {14000.0, 15000.0, 18000.0, 20000.0, 23000.0}) {
        const auto out = halved(tone(frequency, 48000));
        const auto settled = std::span(out).subspan(2000);
        EXPECT_LT(decibel(levelAt(settled, 24000 - frequency, 24000) / 0.5), -70) << frequency;
    }
}

TEST(HalfRate, AnySplitIsTheSame) {
    const auto in = tone(1234, 4096);
    const auto whole = halved(in);
    HalfRate half;
    std::vector<float> parts;
    for (std::size_t at = 0, step = 1; at < in.size(); at += step, step = step % 97 + 3)
        half.process(std::span(in).subspan(at, std::min(step, in.size() - at)), parts);
    EXPECT_EQ(parts, whole);
    EXPECT_EQ(whole.size(), in.size() / 2);
}

TEST(AudioPath, PcmIsTheToneAtTheVolume) {
    Listening listening;
    listening.path.setFormat(AudioFormat::Pcm);
    listening.path.setVolume(0.5);
    listening.feed(tone(1000, 48000, 0.8));
    ASSERT_EQ(listening.messages.size(), 93U);
    for (std::size_t i = 0; i < listening.messages.size(); ++i) {
        const Bytes& bytes = listening.messages[i];
        EXPECT_EQ(bytes[0], 2);
        EXPECT_EQ(bytes[1], 7);
        EXPECT_EQ(bytes[2], 0);
        EXPECT_EQ(at<std::uint32_t>(bytes, 4), i);
        EXPECT_EQ(at<std::uint32_t>(bytes, 16), 24000U);
        EXPECT_EQ(bytes.size(), kAudioHead + 512);
    }
    const auto samples = listening.pcm();
    EXPECT_NEAR(levelAt(std::span(samples).subspan(1000), 1000, 24000), 0.4, 0.002);
}

TEST(AudioPath, OpusIsTheTone) {
    Listening listening;
    listening.path.setFormat(AudioFormat::Opus);
    listening.path.setVolume(1);
    listening.feed(tone(1000, 2 * 48000, 0.5));
    ASSERT_GE(listening.messages.size(), 98U);
    int error = 0;
    OpusDecoder* decoder = opus_decoder_create(24000, 1, &error);
    ASSERT_EQ(error, OPUS_OK);
    std::vector<float> samples;
    std::size_t bytesAll = 0;
    for (const Bytes& bytes : listening.messages) {
        EXPECT_EQ(bytes[2], 1);
        float frame[960];
        const int n = opus_decode_float(decoder, &bytes[kAudioHead], static_cast<int>(bytes.size() - kAudioHead),
                                        frame, 960, 0);
        ASSERT_EQ(n, 480) << "20 ms";
        samples.insert(samples.end(), frame, frame + n);
        bytesAll += bytes.size() - kAudioHead;
    }
    opus_decoder_destroy(decoder);
    EXPECT_NEAR(decibel(levelAt(std::span(samples).subspan(12000), 1000, 24000) / 0.5), 0, 0.5);
    EXPECT_LT(bytesAll, 2U * 6000) << "32 kbit/s, about";
}

TEST(AudioPath, ClosedItIsSilentWithoutAClick) {
    Listening listening;
    listening.path.setFormat(AudioFormat::Pcm);
    listening.path.setVolume(1);
    const auto in = tone(300, 512 * 100, 0.5);
    listening.feed(std::span(in).first(512 * 50));
    listening.path.setOpen(false);
    listening.feed(std::span(in).subspan(512 * 50));
    EXPECT_EQ(listening.messages.size(), 51U) << "one block fades";
    const auto samples = listening.pcm();
    EXPECT_LT(std::abs(samples.back()), 0.01);
    float step = 0;
    for (std::size_t i = 1; i < samples.size(); ++i)
        step = std::max(step, std::abs(samples[i] - samples[i - 1]));
    EXPECT_LT(step, 0.5 * 2 * std::numbers::pi * 300 / 24000 + 0.01) << "no step greater than the tone's own";
    listening.messages.clear();
    listening.path.setOpen(true);
    listening.feed(in);
    ASSERT_EQ(listening.messages.size(), 100U);
    EXPECT_EQ(at<std::uint32_t>(listening.messages[0], 4), 51U) << "the numbers have no gap";
}

TEST(AudioPath, OffSendsNothing) {
    Listening listening;
    listening.feed(tone(300, 512 * 20));
    EXPECT_TRUE(listening.messages.empty());
}

TEST(AudioPath, BadSamplesBecomeSilence) {
    Listening listening;
    listening.path.setFormat(AudioFormat::Pcm);
    std::vector<float> in(512 * 4, NAN);
    in[600] = INFINITY;
    listening.feed(in);
    const auto samples = listening.pcm();
    EXPECT_EQ(samples.size(), 1024U);
}

TEST(Microphone, MessagesAreCheckedAndScaled) {
    Bytes bytes(kMicrophoneHead + 6);
    bytes[0] = 3;
    bytes[1] = 4;
    bytes[4] = 9;
    bytes[kMicrophoneHead] = 0;
    bytes[kMicrophoneHead + 1] = 0x40;
    bytes[kMicrophoneHead + 3] = 0x80;
    const auto frame = readMicrophone(bytes);
    ASSERT_TRUE(frame);
    EXPECT_EQ(frame->id, 4);
    EXPECT_EQ(frame->sequence, 9U);
    EXPECT_EQ(frame->samples, (std::vector<float>{0.5F, -1, 0}));
    EXPECT_FALSE(readMicrophone(std::span(bytes).first(7)));
    EXPECT_FALSE(readMicrophone(std::span(bytes).first(kMicrophoneHead + 5)));
    bytes[0] = 2;
    EXPECT_FALSE(readMicrophone(bytes));
    Bytes large(kMicrophoneHead + 2 * 4097);
    large[0] = 3;
    EXPECT_FALSE(readMicrophone(large));
}
