// Long reception into devices whose clocks are wrong, on a simulated time.
#include "core/audio/audio_ring.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <random>

namespace ferrow {
namespace {

constexpr int kBlock = 512;
#ifdef __SANITIZE_THREAD__
constexpr double kSeconds = 200; // ten minutes take a minute
constexpr double kLong = 300;
#else
constexpr double kSeconds = 600;
constexpr double kLong = 1800;
#endif
constexpr double kSettled = 20;  // seconds
constexpr float kPeriod = 65536; // of the sawtooth that is played

struct Track {
    double fill = 0; // mean of the last minute
    int lowest = 0;  // once it has settled
    int highest = 0;
    double ratio = 0; // at the end
    double smallest = 2, largest = 0;
    double target = 0, settledTarget = 0;
    int seams = 0; // outputs, once it has settled, that do not follow from the one before
};

// A device that asks for `buffer` frames at a time and whose clock runs `ppm` fast. Its callbacks come up to
// `jitter` ticks late.
Track receive(double ppm, int buffer, double jitter, double seconds = kSeconds, double settling = kSettled) {
    AudioRing ring;
    Track track;
    std::mt19937 random(1);
    std::uniform_real_distribution<double> late(0, jitter);
    std::vector<float> block(kBlock), out(2 * static_cast<std::size_t>(buffer));
    const double devicePeriod = buffer / (1 + ppm * 1e-6);
    const double settled = settling * 48000, end = seconds * 48000, lastMinute = end - 60 * 48000;
    double due = 100.3, fillSum = 0;
    int fillCount = 0;
    float next = 0, previous = 0;
    track.lowest = 1 << 20;
    for (double time = 0; time < end; time += kBlock) {
        for (; due <= time; due += devicePeriod) {
            ring.read(out.data(), static_cast<std::size_t>(buffer),
                      static_cast<std::int64_t>(due + late(random)));
            for (std::size_t i = 0; i < out.size(); i += 2) {
                const float value = out[i], step = value - previous;
                const bool turnsOver = previous > kPeriod - 3 || value > kPeriod - 3 || value < 3;
                track.seams += due > settled && !turnsOver && (step < 0.98f || step > 1.02f);
                previous = value;
            }
        }
        for (float& value : block) {
            value = next;
            next = next + 1 < kPeriod ? next + 1 : 0;
        }
        const auto now = static_cast<std::int64_t>(time);
        if (time > settled) {
            const int fill = ring.fill(now);
            track.lowest = std::min(track.lowest, fill);
            track.highest = std::max(track.highest, fill);
            if (time > lastMinute) {
                fillSum += fill;
                ++fillCount;
            }
        } else {
            track.settledTarget = ring.target();
        }
        ring.write(block, true, false, now);
        track.smallest = std::min(track.smallest, ring.ratio());
        track.largest = std::max(track.largest, ring.ratio());
    }
    track.fill = fillSum / fillCount;
    track.ratio = ring.ratio();
    track.target = ring.target();
    return track;
}

void expectTracking(double ppm, int buffer, double jitter) {
    const Track track = receive(ppm, buffer, jitter);
    std::printf("%+5.0f ppm, buffer %4d, jitter %3.0f: target %.0f, fill %.1f (%d to %d), ratio %+.1f ppm "
                "(%+.0f to %+.0f)\n",
                ppm, buffer, jitter, track.target, track.fill, track.lowest, track.highest,
                (track.ratio - 1) * 1e6, (track.smallest - 1) * 1e6, (track.largest - 1) * 1e6);
    EXPECT_EQ(track.seams, 0) << "no drop and no echo";
    EXPECT_EQ(track.target, track.settledTarget) << "no resync after the start";
    EXPECT_NEAR((track.ratio - 1) * 1e6, ppm, 10);
    // The control is proportional: a steady error of one frame for each ppm.
    EXPECT_NEAR(track.fill, track.target - ppm, 10);
    EXPECT_GT(track.smallest, 0.997);
    EXPECT_LT(track.largest, 1.003);
    EXPECT_GE(track.lowest, 0);
}

// The level stays about its target for half an hour.
void expectLevel(double ppm) {
    constexpr double kWithin = 256;
    const Track track = receive(ppm, 416, 100, kLong, 90);
    std::printf("%+5.0f ppm for %.0f s: target %.0f, fill %d to %d\n", ppm, kLong, track.target, track.lowest,
                track.highest);
    EXPECT_EQ(track.seams, 0);
    EXPECT_EQ(track.target, track.settledTarget) << "no resync";
    EXPECT_GT(track.lowest, track.target - kWithin);
    EXPECT_LT(track.highest, track.target + kWithin);
}

TEST(ClockTrackingTest, LevelWithADeviceThatIs100ppmFast) {
    expectLevel(100);
}

TEST(ClockTrackingTest, LevelWithADeviceThatIs100ppmSlow) {
    expectLevel(-100);
}

TEST(ClockTrackingTest, DeviceWithTheRightClock) {
    expectTracking(0, 256, 0);
}

TEST(ClockTrackingTest, DeviceThatIs200ppmFast) {
    expectTracking(200, 256, 0);
}

TEST(ClockTrackingTest, DeviceThatIs200ppmSlow) {
    expectTracking(-200, 256, 0);
}

TEST(ClockTrackingTest, DeviceThatIs200ppmFastWithLateCallbacks) {
    expectTracking(200, 416, 100);
}

TEST(ClockTrackingTest, DeviceThatIs200ppmSlowWithSmallBuffers) {
    expectTracking(-200, 128, 60);
}

} // namespace
} // namespace ferrow
