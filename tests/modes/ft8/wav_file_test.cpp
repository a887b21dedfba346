// Recordings that are what they say, and recordings that lie.
#include "modes/ft8/wav_file.hpp"
#include "tests/modes/ft8/ft8_signal.hpp"

#include <cstring>
#include <dirent.h>
#include <ferrowcore/ft8.h>
#include <gtest/gtest.h>
#include <limits>
#include <random>

namespace {

using namespace ferrow::test;
using Bytes = std::vector<unsigned char>;

constexpr short kUntouched = 12345;

template <class T>
Bytes with(Bytes bytes, std::size_t offset, T value) {
    std::memcpy(bytes.data() + offset, &value, sizeof value);
    return bytes;
}

Bytes cut(Bytes bytes, std::size_t size) {
    bytes.resize(size);
    return bytes;
}

// 1000 samples: 1, 2, 3 ...
Bytes canonical() {
    std::vector<double> audio(1000);
    for (std::size_t i = 0; i < audio.size(); ++i)
        audio[i] = static_cast<double>(i + 1);
    return wavBytes(audio);
}

struct Loaded {
    ferrow::buff<short> buffer;
    std::int32_t count;
    std::int32_t rate = 12000;
    int result;

    explicit Loaded(const Bytes& bytes, std::int32_t capacity = 2000)
        : buffer(static_cast<std::size_t>(capacity), kUntouched), count(capacity) {
        Bytes copy = bytes;
        copy.push_back(0); // an empty stream cannot be opened on memory
        std::FILE* file = fmemopen(copy.data(), copy.size(), "rb");
        if (bytes.empty())
            std::fgetc(file);
        result = ferrow::loadWav(buffer, count, rate, file);
        std::fclose(file);
    }
};

int openFiles() {
    int count = 0;
    DIR* folder = opendir("/proc/self/fd");
    while (readdir(folder))
        ++count;
    closedir(folder);
    return count;
}

TEST(WavFile, LoadsTheCanonicalForm) {
    const Loaded loaded(with(canonical(), 24, std::int32_t{11025}));
    EXPECT_EQ(loaded.result, 0);
    EXPECT_EQ(loaded.count, 1000);
    EXPECT_EQ(loaded.rate, 11025);
    for (std::size_t i = 0; i < 1000; ++i)
        ASSERT_EQ(loaded.buffer[i], static_cast<short>(i + 1));
    for (std::size_t i = 1000; i < 2000; ++i)
        ASSERT_EQ(loaded.buffer[i], 0) << "the rest of the buffer is silence";
}

TEST(WavFile, FieldsThatAreNotCheckedMayHoldAnything) {
    Bytes bytes = canonical();
    for (const std::size_t offset : {0u, 4u, 8u, 12u, 28u, 36u})
        bytes = with(bytes, offset, std::uint32_t{0xDEADBEEF});
    EXPECT_EQ(Loaded(bytes).result, 0);
}

TEST(WavFile, RejectsEveryOtherFormat) {
    const Bytes good = canonical();
    const auto expectRejected = [](const Bytes& bytes, const char* what) {
        const Loaded loaded(bytes);
        EXPECT_EQ(loaded.result, -1) << what;
        EXPECT_EQ(loaded.count, 2000) << what;
        EXPECT_EQ(loaded.rate, 12000) << what;
        EXPECT_EQ(loaded.buffer[0], kUntouched) << what;
    };
    expectRejected(with(good, 16, std::int32_t{18}), "longer format chunk");
    expectRejected(with(good, 16, std::int32_t{-16}), "negative format chunk");
    expectRejected(with(good, 20, std::uint16_t{3}), "float samples");
    expectRejected(with(good, 20, std::uint16_t{0xFFFE}), "extensible format");
    expectRejected(with(good, 22, std::uint16_t{2}), "stereo");
    expectRejected(with(good, 22, std::uint16_t{0}), "no channel");
    expectRejected(with(good, 34, std::uint16_t{8}), "8 bit");
    expectRejected(with(good, 34, std::uint16_t{24}), "24 bit");
    expectRejected(with(good, 32, std::uint16_t{0}), "block align of zero");
    expectRejected(with(good, 40, std::int32_t{-2000}), "negative size");
    expectRejected(with(good, 40, std::numeric_limits<std::int32_t>::min()), "most negative size");
}

TEST(WavFile, RejectsAHeaderCutShortAnywhere) {
    for (std::size_t size = 0; size < 44; ++size) {
        const std::string path = writeFile("cut.wav", cut(canonical(), size));
        ferrow::buff<short> buffer(2000);
        std::int32_t count = 2000;
        std::int32_t rate = 12000;
        EXPECT_EQ(ferrow::loadWav(buffer, count, rate, path.c_str()), -1) << size;
    }
}

TEST(WavFile, CountsByTheHeaderAndRejectsOneAboveTheCapacity) {
    EXPECT_EQ(Loaded(canonical(), 1000).result, 0);
    EXPECT_EQ(Loaded(canonical(), 999).result, -2);
    EXPECT_EQ(Loaded(with(canonical(), 40, std::numeric_limits<std::int32_t>::max())).result, -2);
    // The count is size / block align, whatever that is.
    const Loaded wide(with(canonical(), 32, std::uint16_t{4}));
    EXPECT_EQ(wide.result, 0);
    EXPECT_EQ(wide.count, 500);
    EXPECT_EQ(wide.buffer[499], 500);
    EXPECT_EQ(wide.buffer[500], 0);
    const Loaded narrow(with(canonical(), 32, std::uint16_t{1}));
    EXPECT_EQ(narrow.result, 0);
    EXPECT_EQ(narrow.count, 2000);
}

TEST(WavFile, WhatTheFileLacksIsSilence) {
    const Loaded loaded(cut(canonical(), 44 + 2 * 300 + 1)); // 300 samples and a half
    EXPECT_EQ(loaded.result, 0);
    EXPECT_EQ(loaded.count, 1000) << "the header's count stands";
    EXPECT_EQ(loaded.buffer[299], 300);
    for (std::size_t i = 301; i < 2000; ++i)
        ASSERT_EQ(loaded.buffer[i], 0);
    const Loaded bare(cut(canonical(), 44));
    EXPECT_EQ(bare.result, 0);
    EXPECT_EQ(bare.buffer[0], 0);
}

TEST(WavFile, UnreadablePathsAreRejected) {
    std::array<ferrow_ft8_result, 50> results;
    EXPECT_EQ(::ft8decode("/nonexistent/period.wav", results.data(), 0, 8), -1);
    EXPECT_EQ(::ft8decode("", results.data(), 0, 8), -1);
    EXPECT_EQ(::ft8decode(nullptr, results.data(), 0, 4), -1);
    EXPECT_EQ(::ft8decode("/", results.data(), 0, 8), -1) << "a folder";
    EXPECT_EQ(::ft8decode("/dev/null", results.data(), 0, 8), -1);
    EXPECT_EQ(::ft8decode("/dev/zero", results.data(), 0, 8), -1);
}

TEST(WavFile, FilesAreClosedOnEveryWayOut) {
    const std::string good = writeFile("good.wav", canonical());
    const std::string bad = writeFile("bad.wav", with(canonical(), 22, std::uint16_t{2}));
    const std::string lying = writeFile("long.wav", with(canonical(), 40, std::int32_t{1 << 30}));
    std::array<ferrow_ft8_result, 50> results;
    const int before = openFiles();
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(::ft8decode(good.c_str(), results.data(), 0, 8), 0);
        EXPECT_EQ(::ft8decode(bad.c_str(), results.data(), 0, 8), -1);
        EXPECT_EQ(::ft8decode(lying.c_str(), results.data(), 0, 8), -1);
    }
    EXPECT_EQ(openFiles(), before);
}

// Rates that leave no bins, or no blocks, or a handful: whatever they give, it is a count.
TEST(WavFile, AbsurdSampleRatesDecodeToNothing) {
    std::vector<double> audio(90000);
    std::mt19937_64 random(1);
    addNoise(audio, 1000.0, random);
    const Bytes good = wavBytes(audio);
    std::array<ferrow_ft8_result, 50> results;
    for (const std::int32_t rate : {0,
                                    1,
                                    12,
                                    13,
                                    25,
                                    41,
                                    42,
                                    99,
                                    100,
                                    112,
                                    113,
                                    125,
                                    200,
                                    208,
                                    209,
                                    250,
                                    350,
                                    500,
                                    1000,
                                    8000,
                                    16000,
                                    17000,
                                    24000,
                                    48000,
                                    192000,
                                    1000000,
                                    100000000,
                                    std::numeric_limits<std::int32_t>::max(),
                                    -1,
                                    -12000,
                                    std::numeric_limits<std::int32_t>::min()}) {
        const std::string path = writeFile("rate.wav", with(good, 24, rate));
        EXPECT_GE(::ft8decode(path.c_str(), results.data(), 0, 8), 0) << rate;
        EXPECT_GE(::ft8decode(path.c_str(), results.data(), 0, 4), 0) << rate;
    }
}

// Headers with random bytes changed, over bodies of random length; for the sanitizers.
TEST(WavFile, DamagedFilesNeverDoHarm) {
    std::mt19937_64 random(7);
    const Bytes good = canonical();
    int accepted = 0;
    for (int trial = 0; trial < 3000; ++trial) {
        Bytes bytes = cut(good, random() % (good.size() + 1));
        const int damages = static_cast<int>(random() % 4);
        for (int i = 0; i < damages && !bytes.empty(); ++i)
            bytes[random() % std::min<std::size_t>(bytes.size(), 44)] = static_cast<unsigned char>(random());
        const Loaded loaded(bytes);
        if (loaded.result == 0) {
            ++accepted;
            EXPECT_GE(loaded.count, 0);
            EXPECT_LE(loaded.count, 2000);
        } else {
            EXPECT_TRUE(loaded.result == -1 || loaded.result == -2);
        }
    }
    EXPECT_GT(accepted, 500);
    EXPECT_LT(accepted, 2900);
}

} // namespace
