#include "host/failure.hpp"
#include "host/sound_file.hpp"
#include "tests/host/temporary.hpp"

#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>

using namespace ferrow;
using ferrow::test::TemporaryFolder;

namespace {

std::vector<unsigned char> bytesOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void writeBytes(const std::string& path, const std::vector<unsigned char>& bytes) {
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

std::uint32_t word(const std::vector<unsigned char>& bytes, std::size_t at) {
    std::uint32_t value = 0;
    std::memcpy(&value, &bytes[at], 4); // little-endian, as the machine is
    return value;
}

std::vector<unsigned char> smallFile() {
    const TemporaryFolder folder;
    WavWriter writer(folder.file("a.wav"), 12000);
    writer.write(std::vector<float>{0.0F, 0.5F, -0.5F, 1.0F});
    writer.close();
    return bytesOf(folder.file("a.wav"));
}

} // namespace

TEST(WavFile, HasTheCanonicalHeader) {
    const auto bytes = smallFile();
    ASSERT_EQ(bytes.size(), 44U + 8);
    EXPECT_EQ(std::string(bytes.begin(), bytes.begin() + 4), "RIFF");
    EXPECT_EQ(word(bytes, 4), 36U + 8);
    EXPECT_EQ(std::string(bytes.begin() + 8, bytes.begin() + 16), "WAVEfmt ");
    EXPECT_EQ(word(bytes, 16), 16U);
    EXPECT_EQ(word(bytes, 20), 0x00010001U) << "PCM, one channel";
    EXPECT_EQ(word(bytes, 24), 12000U);
    EXPECT_EQ(word(bytes, 28), 24000U);
    EXPECT_EQ(word(bytes, 32), 0x00100002U) << "two bytes, 16 bit";
    EXPECT_EQ(std::string(bytes.begin() + 36, bytes.begin() + 40), "data");
    EXPECT_EQ(word(bytes, 40), 8U);
    std::int16_t samples[4];
    std::memcpy(samples, &bytes[44], 8);
    EXPECT_EQ(samples[0], 0);
    EXPECT_EQ(samples[1], 16384);
    EXPECT_EQ(samples[2], -16384);
    EXPECT_EQ(samples[3], 32767);
}

TEST(WavFile, ComesBackAsItWas) {
    const TemporaryFolder folder;
    std::vector<float> sine(5000);
    for (std::size_t i = 0; i < sine.size(); ++i)
        sine[i] = 0.8F * std::sin(0.1F * static_cast<float>(i));
    {
        WavWriter writer(folder.file("a.wav"), 48000);
        writer.write({sine.data(), 1234});
        writer.write({sine.data() + 1234, sine.size() - 1234});
        EXPECT_EQ(writer.samples(), sine.size());
    }
    const Sound sound = readWav(folder.file("a.wav"));
    EXPECT_EQ(sound.rate, 48000);
    ASSERT_EQ(sound.samples.size(), sine.size());
    for (std::size_t i = 0; i < sine.size(); ++i)
        ASSERT_NEAR(sound.samples[i], sine[i], 1e-4) << i;
}

TEST(WavFile, LimitsWhatIsTooLoudAndDropsNaN) {
    const TemporaryFolder folder;
    WavWriter writer(folder.file("a.wav"), 48000);
    writer.write(std::vector<float>{7.0F, -7.0F, std::nanf("")});
    writer.close();
    const Sound sound = readWav(folder.file("a.wav"));
    EXPECT_NEAR(sound.samples[0], 1, 1e-3);
    EXPECT_NEAR(sound.samples[1], -1, 1e-3);
    EXPECT_EQ(sound.samples[2], 0);
}

TEST(WavFile, CanBeReadWhileItIsWritten) {
    const TemporaryFolder folder;
    WavWriter writer(folder.file("a.wav"), 8000);
    const std::vector<float> second(8000, 0.25F);
    writer.write(second);
    writer.write(second);
    EXPECT_GE(readWav(folder.file("a.wav")).samples.size(), 8000U);
}

TEST(WavFile, BadPathsFail) {
    const TemporaryFolder folder;
    EXPECT_THROW(WavWriter("/no/such/folder/a.wav", 48000), Failure);
    EXPECT_THROW(WavWriter(folder.path(), 48000), Failure);
    EXPECT_THROW(readWav("/no/such/file.wav"), Failure);
    EXPECT_THROW(readWav(folder.path()), Failure);
}

TEST(WavFile, AFullDiskIsTold) {
    EXPECT_THROW(
        {
            WavWriter writer("/dev/full", 8000);
            for (int i = 0; i < 100; ++i)
                writer.write(std::vector<float>(8000, 0.1F));
            writer.close();
        },
        Failure);
}

TEST(WavFile, OtherFormatsAreRefused) {
    const TemporaryFolder folder;
    const std::string path = folder.file("a.wav");
    for (const auto& [place, value] :
         {std::pair<std::size_t, unsigned char>{0, 'X'}, {8, 'X'}, {20, 3}, {22, 2}, {34, 24}}) {
        auto bytes = smallFile();
        bytes[place] = value;
        writeBytes(path, bytes);
        EXPECT_THROW(readWav(path), Failure) << place;
    }
    writeBytes(path, {});
    EXPECT_THROW(readWav(path), Failure);
}

TEST(WavFile, WhatTheHeaderPromisesAndTheFileLacksIsLeftOut) {
    const TemporaryFolder folder;
    const std::string path = folder.file("a.wav");
    auto bytes = smallFile();
    bytes[40] = bytes[41] = bytes[42] = bytes[43] = 0xFF;
    writeBytes(path, bytes);
    EXPECT_EQ(readWav(path).samples.size(), 4U);
    bytes.resize(47);
    writeBytes(path, bytes);
    EXPECT_EQ(readWav(path).samples.size(), 1U);
}

TEST(WavFile, OtherChunksArePassedOver) {
    const TemporaryFolder folder;
    const std::string path = folder.file("a.wav");
    auto bytes = smallFile();
    const unsigned char list[] = {'L', 'I', 'S', 'T', 3, 0, 0, 0, 'a', 'b', 'c', 0};
    bytes.insert(bytes.begin() + 36, std::begin(list), std::end(list));
    writeBytes(path, bytes);
    EXPECT_EQ(readWav(path).samples.size(), 4U);
}
