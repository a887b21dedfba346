// Capture streams and their readers, without a device: the tests are the device's callback.
#include "core/audio/audio_input.hpp"

#include "core/audio/audio_provider.hpp"
#include "tests/support/runtime.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <numeric>

namespace ferrow {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kChunk = 126;

class AudioInputTest : public ::testing::Test {
protected:
    AudioInputTest() {
        stream.prepareRing();
        reader.follow(&stream, 1);
    }

    // The device delivers `count` samples whose values are their numbers.
    void capture(std::size_t count) {
        while (count > 0) {
            std::vector<float> block(std::min<std::size_t>(count, 480));
            std::iota(block.begin(), block.end(), static_cast<float>(captured));
            captured += block.size();
            count -= block.size();
            ASSERT_TRUE(stream.capture(block.data(), block.size()));
        }
    }

    // How far behind the device the first sample of the next chunk lies.
    int readLag(std::chrono::nanoseconds since = 2625us) {
        now += since;
        reader.read(chunk, now);
        return static_cast<int>(chunk[0]) - static_cast<int>(captured);
    }

    test::Runtime runtime;
    audioInputStream stream{"test", -1, 48000};
    audioInputReader reader;
    std::vector<float> chunk = std::vector<float>(kChunk);
    audioInputReader::Time now{1000s};
    std::size_t captured = 0;
};

TEST_F(AudioInputTest, ReaderFollows2048SamplesBehind) {
    capture(9600);
    EXPECT_EQ(readLag(), -2048);
    for (std::size_t i = 0; i < kChunk; ++i)
        ASSERT_EQ(chunk[i], static_cast<float>(9600 - 2048 + i));
    capture(kChunk);
    EXPECT_EQ(readLag(), -2048) << "the next chunk goes on where the last one ended";
}

TEST_F(AudioInputTest, UnderrunsBackOffByHalfAsMuchToAtMost8192) {
    capture(20000);
    EXPECT_EQ(readLag(), -2048);
    std::vector<int> starts;
    for (int expected = -2048; starts.size() < 7;) {
        expected += static_cast<int>(kChunk);
        const int lag = readLag();
        if (lag != expected)
            starts.push_back(lag);
        expected = lag;
    }
    EXPECT_EQ(starts, (std::vector<int>{-2048, -3072, -4608, -6912, -8192, -8192, -8192}));
}

TEST_F(AudioInputTest, ReaderThatWasIdleFor101msStartsAgainWithItsLag) {
    capture(9600);
    readLag();
    capture(480);
    const int late = -2048 + static_cast<int>(kChunk) - 480;
    EXPECT_EQ(readLag(100'999us), late) << "not idle yet";
    capture(480);
    EXPECT_EQ(readLag(101ms), -2048);
    for (int i = 0; i < 15; ++i)
        readLag();
    EXPECT_EQ(readLag(101ms), -2048) << "too few samples, but idle: no back-off";
    capture(480);
    EXPECT_EQ(readLag(101ms), -2048);
}

TEST_F(AudioInputTest, ReaderMoreThan16384BehindStartsAgain) {
    capture(2048);
    readLag();
    capture(16384 - 2048 + kChunk);
    EXPECT_EQ(readLag(), -16384);
    capture(kChunk + 1);
    EXPECT_EQ(readLag(), -2048);
    capture(kChunk);
    EXPECT_EQ(readLag(), -2048) << "no back-off for being slow";
}

TEST_F(AudioInputTest, PositionsWrapWithTheRing) {
    const auto value = [](std::size_t n) {
        return static_cast<float>(std::sin(2 * std::numbers::pi * 100 * static_cast<double>(n) / 48000));
    };
    std::vector<float> block(kChunk), heard;
    for (std::size_t n = 0; n < 200 * 1024; n += kChunk) {
        for (std::size_t i = 0; i < kChunk; ++i)
            block[i] = value(n + i);
        stream.capture(block.data(), kChunk);
        if (n < 4096)
            continue;
        now += 2625us;
        reader.read(chunk, now);
        heard.insert(heard.end(), chunk.begin(), chunk.end());
    }
    const std::size_t first = (4096 / kChunk + 1) * kChunk + kChunk - 2048;
    for (std::size_t i = 0; i < heard.size(); ++i)
        ASSERT_EQ(heard[i], value(first + i)) << i;
}

TEST_F(AudioInputTest, SlowerDeviceIsInterpolatedTo48000) {
    audioInputStream slow("slow", -1, 44100);
    slow.prepareRing();
    reader.follow(&slow, 2);
    std::vector<float> ramp(8192);
    std::iota(ramp.begin(), ramp.end(), 0.0f);
    slow.capture(ramp.data(), ramp.size());
    double expected = 8192 - 2048;
    for (int n = 0; n < 10; ++n) {
        now += 2625us;
        reader.read(chunk, now);
        for (float value : chunk) {
            ASSERT_NEAR(value, expected, 2e-3);
            expected += 44100.0 / 48000.0;
        }
    }
    reader.follow(nullptr, 0);
}

TEST_F(AudioInputTest, ToneOfASlowerDeviceKeepsItsFrequency) {
    audioInputStream slow("slow", -1, 44100);
    slow.prepareRing();
    reader.follow(&slow, 2);
    std::vector<float> block(441);
    std::size_t taken = 0;
    double worst = 0;
    std::size_t n = 0;
    for (int step = 0; step < 400; ++step) {
        for (float& value : block)
            value = std::sin(2 * std::numbers::pi_v<float> * 500 * static_cast<float>(n++ % 44100) / 44100);
        slow.capture(block.data(), block.size());
        if (step < 10)
            continue;
        std::vector<float> out(480);
        now += 10ms;
        reader.read(out, now);
        for (float value : out) {
            // The reader starts 2048 device samples behind the 4851 that were there.
            const double t = (4851.0 - 2048.0) / 44100 + static_cast<double>(taken++) / 48000;
            worst = std::max(worst, std::abs(value - std::sin(2 * std::numbers::pi * 500 * t)));
        }
    }
    EXPECT_LT(worst, 1e-3) << "linear interpolation of 500 Hz";
    reader.follow(nullptr, 0);
}

TEST_F(AudioInputTest, NoStreamGivesZeroes) {
    audioInputReader alone;
    std::fill(chunk.begin(), chunk.end(), 1.0f);
    alone.read(chunk);
    EXPECT_EQ(chunk, std::vector<float>(kChunk));
    EXPECT_FALSE(alone.open());
    EXPECT_EQ(alone.peak(), 0.0f);
    EXPECT_EQ(alone.id(), 0);
}

TEST_F(AudioInputTest, StreamThatHasCapturedNothingGivesZeroes) {
    std::fill(chunk.begin(), chunk.end(), 1.0f);
    reader.read(chunk);
    EXPECT_EQ(chunk, std::vector<float>(kChunk));
    EXPECT_EQ(reader.peak(), 0.0f);
}

TEST_F(AudioInputTest, DeviceThatDiedGivesZeroesInsteadOfItsLastSamples) {
    capture(9600);
    readLag();
    EXPECT_NE(chunk[0], 0.0f);
    stream.finished();
    EXPECT_FALSE(reader.open());
    EXPECT_EQ(reader.peak(), 0.0f);
    reader.read(chunk, now += 1ms);
    EXPECT_EQ(chunk, std::vector<float>(kChunk));
}

TEST_F(AudioInputTest, PeakIsTheLargestMagnitudeOfTheLastBlock) {
    const std::vector<float> loud{0.25f, -0.75f, 0.5f}, quiet{0.125f, -0.0625f};
    stream.capture(loud.data(), loud.size());
    EXPECT_EQ(reader.peak(), 0.75f);
    stream.capture(quiet.data(), quiet.size());
    EXPECT_EQ(reader.peak(), 0.125f);
    stream.capture(nullptr, 64);
    EXPECT_EQ(reader.peak(), 0.0f) << "a device without data is silent";
    EXPECT_EQ(stream.writeIndex(), 3 + 2 + 64);
}

TEST_F(AudioInputTest, CaptureEndsTheStreamWhenNobodyUsesIt) {
    const std::vector<float> block(64, 0.5f);
    EXPECT_EQ(stream.users(), 1);
    EXPECT_TRUE(stream.capture(block.data(), block.size()));
    {
        audioInputReader second;
        second.follow(&stream, 1);
        reader.follow(nullptr, 0);
        EXPECT_EQ(stream.users(), 1);
        EXPECT_TRUE(stream.capture(block.data(), block.size()));
    }
    EXPECT_EQ(stream.users(), 0);
    EXPECT_FALSE(stream.capture(block.data(), block.size()));
    EXPECT_EQ(stream.peak(), 0.5f) << "what came is kept all the same";
}

TEST_F(AudioInputTest, InvalidStreamIdIsLoggedAndChangesNothing) {
    capture(4800);
    for (const int id : {-1, static_cast<int>(AudioProvider::instance().inputDeviceList.size())}) {
        reader.setStream(id);
        EXPECT_TRUE(runtime.logged(fmt::format("set stream id {} 1\n", id)));
        EXPECT_TRUE(runtime.logged(fmt::format("[warning] Invalid audio stream id {}\n", id)));
    }
    EXPECT_EQ(reader.id(), 1);
    EXPECT_EQ(stream.users(), 1);
    EXPECT_EQ(readLag(), -2048);
}

TEST_F(AudioInputTest, StreamZeroIsNone) {
    reader.setStream(0);
    EXPECT_EQ(stream.users(), 0);
    audioInputStream& none = *AudioProvider::instance().inputDeviceList[0];
    EXPECT_EQ(none.users(), 1);
    EXPECT_FALSE(runtime.logged("pa_start ")) << "there is nothing to open";
    reader.setStream(0);
    EXPECT_EQ(none.users(), 1) << "the same id does nothing";
    EXPECT_EQ(reader.peak(), 0.0f);
}

// The device's thread, two readers and a coming and going user at once: for the thread sanitizer.
TEST_F(AudioInputTest, DeviceAndReadersRunAtOnce) {
    std::atomic<bool> stop{false};
    std::thread device([&] {
        std::vector<float> block(128, 0.5f);
        while (!stop)
            ASSERT_TRUE(stream.capture(block.data(), block.size()));
    });
    const auto use = [&] {
        audioInputReader own;
        std::vector<float> out(kChunk);
        for (int i = 0; i < 300; ++i) {
            own.follow(&stream, 1);
            own.read(out);
            for (const float value : out)
                ASSERT_TRUE(value == 0.0f || value == 0.5f) << value;
            ASSERT_LE(own.peak(), 0.5f);
            if (i % 3 == 0)
                own.follow(nullptr, 0);
        }
    };
    std::thread second(use);
    use();
    second.join();
    stop = true;
    device.join();
    EXPECT_EQ(stream.users(), 1);
}

} // namespace
} // namespace ferrow
