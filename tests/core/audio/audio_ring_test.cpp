// The ring's rules, one by one, on a clock of its own.
#include "core/audio/audio_ring.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <thread>

namespace ferrow {
namespace {

constexpr std::size_t kBlock = 512;

class AudioRingTest : public ::testing::Test {
protected:
    std::vector<float> ramp(std::size_t count = kBlock) {
        std::vector<float> block(count);
        for (float& value : block)
            value = static_cast<float>(++sent);
        return block;
    }
    void write(bool useResampler = true) { ring.write(ramp(), useResampler, false, now); }

    // The device plays `frames` frames; returns left, right, left, ...
    std::vector<float> play(std::size_t frames) {
        std::vector<float> out(2 * frames);
        ring.read(out.data(), frames, now);
        return out;
    }
    // One block's time: the device plays it in two halves.
    void turn(bool useResampler = true) {
        write(useResampler);
        for (int half = 0; half < 2; ++half) {
            now += 256;
            play(256);
        }
    }
    // Over the settling blocks, and written once at the target.
    void prime() {
        play(256);
        for (int i = 0; i < 33; ++i)
            turn(false);
    }

    AudioRing ring;
    std::int64_t now = 1'000'000;
    std::size_t sent = 0;
};

TEST_F(AudioRingTest, OpensWithTargetOf512AndRatioOfOne) {
    EXPECT_EQ(ring.target(), 512.0);
    EXPECT_EQ(ring.ratio(), 1.0);
    EXPECT_EQ(ring.skipBlocks(), 32);
    EXPECT_EQ(ring.writeIndex(), 0) << "131072 / 2 as a 16-bit value";
}

TEST_F(AudioRingTest, WritesNothingForThe32BlocksAfterOpening) {
    play(256);
    for (int i = 0; i < 32; ++i) {
        write();
        EXPECT_EQ(ring.writeIndex(), 0);
        now += 512;
        for (const float value : play(512))
            ASSERT_EQ(value, 0.0f);
    }
    EXPECT_EQ(ring.skipBlocks(), 0);
    write(false);
    EXPECT_NE(ring.writeIndex(), 0);
}

TEST_F(AudioRingTest, FillIsTheDistanceToTheDevicesPositionNow) {
    play(256); // the position is 256 at `now`
    EXPECT_EQ(ring.fill(now), -256);
    EXPECT_EQ(ring.fill(now + 100), -356) << "by the clock";
    now += 256;
    play(256);
    EXPECT_EQ(ring.fill(now), -512);
}

TEST_F(AudioRingTest, FirstBlockWithoutResamplerStandsTargetAhead) {
    play(256);
    for (int i = 0; i < 32; ++i) {
        write(false);
        now += 512;
        play(512);
    }
    ASSERT_LT(ring.fill(now), 0);
    const double target = 512.0 * 10 / 9; // one late block
    write(false);
    EXPECT_EQ(ring.target(), target);
    EXPECT_EQ(ring.fill(now), static_cast<int>(target) + 512);
}

TEST_F(AudioRingTest, WithTheResamplerTheFourthLateBlockJumps) {
    play(256);
    for (int i = 0; i < 32; ++i) {
        write();
        now += 512;
        play(512);
    }
    double target = 512;
    for (int late = 1; late <= 4; ++late) {
        const auto before = ring.writeIndex();
        write();
        target = target * 10 / 9;
        EXPECT_EQ(ring.target(), target);
        if (late < 4)
            EXPECT_NEAR(static_cast<std::uint16_t>(ring.writeIndex() - before), 512, 2) << late;
        else
            EXPECT_NEAR(ring.fill(now), static_cast<int>(target) + 512, 2);
    }
}

TEST_F(AudioRingTest, GoodBlockForgivesTheLateOnes) {
    prime();
    const double target = ring.target();
    for (int round = 0; round < 3; ++round) {
        now += 2000; // late by more than the fill
        const auto index = ring.writeIndex();
        write();
        EXPECT_NEAR(static_cast<std::uint16_t>(ring.writeIndex() - index), 512, 2) << "no jump";
        now -= 2000;
        ASSERT_GE(ring.fill(now), 0);
        write();
        now += 1024;
        play(1024);
    }
    EXPECT_NEAR(ring.target(), target * std::pow(10.0 / 9, 3), 1e-9);
}

TEST_F(AudioRingTest, TargetStopsGrowingAt8192AndTheWriterStillRecovers) {
    play(256);
    for (int i = 0; i < 32; ++i)
        write();
    double target = 512;
    while (target < 8192)
        target = target * 10 / 9;
    for (int i = 0; i < 60; ++i) {
        now += 16000;
        play(16000);
        write();
    }
    EXPECT_NEAR(ring.target(), target, 1e-9);
    EXPECT_LT(target, 8192 * 10.0 / 9);
    int blocks = 0;
    while (ring.fill(now) < 0 && blocks < 10) {
        write();
        ++blocks;
    }
    EXPECT_LE(blocks, 4);
}

TEST_F(AudioRingTest, MoreThan16384AheadJumpsBack) {
    prime();
    const double target = ring.target();
    while (ring.fill(now) <= 16384)
        write(false);
    EXPECT_EQ(ring.target(), target);
    write(false);
    EXPECT_EQ(ring.fill(now), static_cast<int>(target) + 512);
    while (ring.fill(now) <= 16384)
        write(true);
    write(true);
    EXPECT_NEAR(ring.fill(now), target + 512, 3) << "with the resampler too";
    EXPECT_EQ(ring.target(), target);
}

TEST_F(AudioRingTest, TargetStaysOverAReset) {
    prime();
    const double target = ring.target();
    ASSERT_GT(target, 512);
    ring.reset();
    EXPECT_EQ(ring.target(), target);
    EXPECT_EQ(ring.ratio(), 1.0);
    EXPECT_EQ(ring.skipBlocks(), 32);
    for (const float value : play(4096))
        ASSERT_EQ(value, 0.0f);
}

TEST_F(AudioRingTest, WithoutTheResamplerEverySampleComesOutUnchangedOnBothChannels) {
    prime();
    ring.reset();
    sent = 0;
    std::vector<float> heard;
    play(256);
    for (int i = 0; i < 400; ++i) { // three times round the ring
        write(false);
        now += 512;
        const auto out = play(512);
        for (std::size_t f = 0; f < 512; ++f) {
            ASSERT_EQ(out[2 * f], out[2 * f + 1]);
            heard.push_back(out[2 * f]);
        }
        EXPECT_EQ(ring.ratio(), 1.0);
    }
    std::size_t first = 0;
    while (heard[first] == 0)
        ++first;
    EXPECT_EQ(heard[first], 32 * 512 + 1.0f) << "what came while the queue settled is not played";
    ASSERT_LT(first, 32 * 512 + 2000u);
    for (std::size_t i = first; i < heard.size(); ++i)
        ASSERT_EQ(heard[i], static_cast<float>(32 * 512 + 1 + i - first));
}

TEST_F(AudioRingTest, ReadFramesAreZeroedAndDoNotComeBack) {
    prime();
    now += 512;
    play(4096);
    for (int lap = 0; lap < 20; ++lap)
        for (const float value : play(4096))
            ASSERT_EQ(value, 0.0f);
}

TEST_F(AudioRingTest, RatioFollowsTheMeanLevel) {
    prime();
    // An independent account of the rule, on the levels that the ring is given.
    ring.reset();
    std::vector<double> levels;
    play(256);
    double target = ring.target(), ratio = 1;
    for (int i = 0; i < 1500; ++i) {
        if (i >= 32) {
            const int level = ring.fill(now);
            const double ahead = level;
            if (level < 0)
                target = target * 10 / 9;
            levels.push_back(ahead);
        } else {
            levels.push_back(target);
        }
        write();
        if (i >= 32) {
            double mean = 0;
            const std::size_t count = std::min<std::size_t>(levels.size(), 1000);
            for (std::size_t k = levels.size() - count; k < levels.size(); ++k)
                mean += levels[k] / static_cast<double>(count);
            const double error = target - mean;
            ratio = std::clamp(0.1 * (1 + error * 1e-6) + 0.9 * ratio, 0.997, 1.003);
        }
        ASSERT_NEAR(ring.ratio(), ratio, 1e-12) << i;
        ASSERT_EQ(ring.target(), target);
        now += 511; // the device is slow
        play(511);
    }
    EXPECT_LT(ratio, 0.9999);
}

TEST_F(AudioRingTest, RatioStaysWithinItsLimits) {
    prime();
    while (ring.fill(now) < 15000)
        write(true);
    for (int i = 0; i < 200; ++i)
        turn();
    EXPECT_EQ(ring.ratio(), 0.997);
}

TEST_F(AudioRingTest, InterpolationStepsThroughTheBlocksWithoutASeam) {
    prime();
    for (int i = 0; i < 20; ++i)
        write(true); // some 10000 frames too many: the ratio goes down to its limit
    double previous = 0;
    int seams = 0, compared = 0;
    for (int i = 0; i < 400; ++i) {
        write(true);
        now += 512;
        const auto out = play(512);
        for (std::size_t f = 0; f < 512; ++f) {
            const double value = out[2 * f];
            if (i > 100) {
                ++compared;
                const double step = value - previous;
                seams += step < 1 / 1.003 - 0.05 || step > 1 / 0.997 + 0.05;
            }
            previous = value;
        }
    }
    EXPECT_LT(ring.ratio(), 0.9999);
    EXPECT_EQ(seams, 0) << "of " << compared;
}

TEST_F(AudioRingTest, StereoBlocksAreLeftThenRight) {
    prime();
    ring.reset();
    sent = 0;
    std::vector<float> heard;
    play(256);
    for (int i = 0; i < 64; ++i) {
        std::vector<float> block(kBlock);
        for (std::size_t f = 0; f < kBlock / 2; ++f) {
            block[2 * f] = static_cast<float>(++sent);
            block[2 * f + 1] = -static_cast<float>(sent);
        }
        ring.write(block, false, true, now);
        now += 256;
        const auto out = play(256);
        heard.insert(heard.end(), out.begin(), out.end());
    }
    std::size_t first = 0;
    while (heard[first] == 0)
        first += 2;
    for (std::size_t i = first; i < heard.size(); i += 2) {
        ASSERT_EQ(heard[i], static_cast<float>(32 * 256 + 1 + (i - first) / 2));
        ASSERT_EQ(heard[i + 1], -heard[i]);
    }
}

TEST_F(AudioRingTest, LastOfAnOddNumberOfStereoSamplesIsIgnored) {
    prime();
    const auto before = ring.writeIndex();
    std::vector<float> block(511, 0.25f);
    block[510] = 99;
    ring.write(block, false, true, now);
    EXPECT_EQ(static_cast<std::uint16_t>(ring.writeIndex() - before), 255);
    ring.write(std::vector<float>(2, 0.5f), false, true, now);
    float largest = 0;
    for (int i = 0; i < 8; ++i) {
        now += 512;
        for (const float value : play(512))
            if (value < 1)
                largest = std::max(largest, value);
            else
                ASSERT_NE(value, 99.0f);
    }
    EXPECT_EQ(largest, 0.25f) << "the one frame after it waits for the next block";
}

TEST_F(AudioRingTest, EmptyAndTinyBlocksAreHarmless) {
    prime();
    const auto before = ring.writeIndex();
    ring.write({}, true, false, now);
    ring.write({}, true, true, now);
    ring.write(std::vector<float>(1, 1.0f), true, true, now);
    EXPECT_EQ(ring.writeIndex(), before);
    ring.write(std::vector<float>(1, 1.0f), false, false, now);
    EXPECT_EQ(static_cast<std::uint16_t>(ring.writeIndex() - before), 1);
}

TEST_F(AudioRingTest, PauseOfTheDeviceSkipsItsLength) {
    for (const auto& [gap, skipped] :
         {std::pair{256, 0}, {640, 0}, {641, 385}, {2560, 2304}, {48000, 47744}}) {
        AudioRing fresh;
        std::vector<float> out(512);
        fresh.read(out.data(), 256, 5000);
        fresh.read(out.data(), 256, 5000 + gap);
        EXPECT_EQ(fresh.fill(5000 + gap), static_cast<std::int16_t>(-512 - skipped)) << gap;
    }
}

// A device that holds 416 frames besides the 104 that it asks for catches up after a late callback.
TEST_F(AudioRingTest, LateCallbackOfADeviceWithAQueueIsNoPause) {
    ring.setDeviceLatency(416);
    std::vector<float> out(208);
    for (int i = 0; i < 5; ++i)
        ring.read(out.data(), 104, 5000);
    EXPECT_EQ(ring.fill(5000), -520);
    ring.read(out.data(), 104, 5000 + 3 * 104);
    ring.read(out.data(), 104, 5000 + 3 * 104);
    ring.read(out.data(), 104, 5000 + 3 * 104);
    EXPECT_EQ(ring.fill(5000 + 3 * 104), -520 - 3 * 104);
    ring.read(out.data(), 104, 5312 + 1300);
    EXPECT_EQ(ring.fill(6612), -832 - 104) << "2.5 times 520";
    ring.read(out.data(), 104, 6612 + 2080);
    EXPECT_EQ(ring.fill(8692), -936 - 104 - 3 * 520);
}

TEST_F(AudioRingTest, LatencyAfterAPauseIsWhatItWasBefore) {
    prime();
    for (int i = 0; i < 10; ++i)
        turn(false);
    const int before = ring.fill(now);
    for (int i = 0; i < 10; ++i) { // the device sleeps, the receiver does not
        write(false);
        now += 512;
    }
    play(256);
    EXPECT_NEAR(ring.fill(now), before, 256);
    const float first = play(1)[0];
    EXPECT_NEAR(first, static_cast<float>(sent) - static_cast<float>(before), 600) << "in the present";
}

TEST_F(AudioRingTest, SkippedFramesDoNotComeBackALapLater) {
    prime();
    for (int i = 0; i < 6; ++i) {
        write(false);
        now += 512;
    }
    play(256);
    play(4096); // all that is left
    for (int lap = 0; lap < 20; ++lap)
        for (const float value : play(4096))
            ASSERT_EQ(value, 0.0f);
}

// For the thread sanitizer: the writer and the device on threads of their own.
TEST(AudioRingThreadsTest, WriterAndDeviceRunAtOnce) {
    AudioRing ring;
    std::atomic<std::int64_t> clock{0};
    std::atomic<bool> stop{false};
    std::atomic<int> written{0};
    std::size_t heard = 0, wrong = 0;
    std::thread device([&] {
        std::vector<float> out(256);
        while (!stop) {
            if (clock.load() > written.load() * 512) { // not too far ahead of the writer
                std::this_thread::yield();
                continue;
            }
            ring.read(out.data(), 128, clock.load());
            clock += 128;
            for (const float value : out)
                if (value != 0) {
                    ++heard;
                    wrong +=
                        value != std::floor(value) || value > static_cast<float>((written.load() + 1) * 512);
                }
        }
    });
    float value = 0;
    std::vector<float> block(512);
    for (int i = 0; i < 3000; ++i) {
        for (float& sample : block)
            sample = ++value;
        ring.write(block, false, false, clock.load());
        ++written;
        while (written.load() * 512 > clock.load() + 2048)
            std::this_thread::yield();
    }
    stop = true;
    device.join();
    EXPECT_EQ(wrong, 0u);
    EXPECT_GT(heard, 2u * 3000 * 512 / 2);
}

} // namespace
} // namespace ferrow
