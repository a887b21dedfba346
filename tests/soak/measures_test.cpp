// What a soak run measures with: each must see what it is there for, and nothing else.
#include "tests/soak/log_watch.hpp"
#include "tests/soak/machine_watch.hpp"
#include "tests/soak/memory_line.hpp"
#include "tests/soak/on_the_way.hpp"
#include "tests/soak/plan.hpp"
#include "tests/soak/tone_judge.hpp"
#include "tests/soak/verdict.hpp"
#include "tests/support/sanitizer.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <numbers>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ferrow::soak {
namespace {

constexpr double kTone = 700;

// A tone as a recorder hands it on; what it skips or repeats is in `at`.
class Tone {
public:
    explicit Tone(double hertz) : hertz_(hertz) {}

    const float* window(double amplitude = 0.3) {
        for (int i = 0; i < ToneJudge::kWindow; ++i, at += 1) {
            const auto x = static_cast<float>(
                amplitude * std::cos(2 * std::numbers::pi * std::fmod(hertz_ * at / ToneJudge::kRate, 1.0)));
            frames_[static_cast<std::size_t>(2 * i)] = x;
            frames_[static_cast<std::size_t>(2 * i + 1)] = -x;
        }
        return frames_.data();
    }

    double at = 0; // frames

private:
    double hertz_;
    std::vector<float> frames_ = std::vector<float>(2 * ToneJudge::kWindow);
};

TEST(ToneJudgeTest, ASteadyToneHasNoGaps) {
    ToneJudge judge(kTone);
    Tone tone(kTone);
    for (int i = 0; i < 100; ++i)
        judge.judge(tone.window(), true, false);
    EXPECT_TRUE(judge.hears());
    const Sound sound = judge.take();
    EXPECT_NEAR(sound.seconds, 2, 1e-9);
    EXPECT_EQ(sound.gaps, 0);
    EXPECT_EQ(sound.quiet, 0);
    EXPECT_NEAR(sound.amplitude, 0.3, 0.001);
    EXPECT_EQ(judge.take().seconds, 0) << "since the last call";
}

TEST(ToneJudgeTest, GapsAreCountedAndTimed) {
    ToneJudge judge(kTone);
    Tone tone(kTone);
    for (const int windows : {3, 7}) {
        for (int i = 0; i < 10; ++i)
            judge.judge(tone.window(), true, false);
        for (int i = 0; i < windows; ++i)
            judge.judge(tone.window(i % 2 == 0 ? 0 : 0.05), true, false);
    }
    EXPECT_FALSE(judge.hears());
    judge.judge(tone.window(), true, false);
    EXPECT_TRUE(judge.hears());
    const Sound sound = judge.take();
    EXPECT_EQ(sound.gaps, 2);
    EXPECT_NEAR(sound.longestGapMs, 140, 1e-9);
    EXPECT_NEAR(sound.quiet, 0.2, 1e-9);
}

TEST(ToneJudgeTest, AnotherToneIsSilence) {
    ToneJudge judge(kTone);
    Tone tone(kTone), other(kTone + 200);
    for (int i = 0; i < 10; ++i)
        judge.judge(tone.window(), true, false);
    judge.judge(other.window(), true, false);
    EXPECT_FALSE(judge.hears());
    EXPECT_EQ(judge.take().gaps, 1);
}

TEST(ToneJudgeTest, NothingAtAllIsSilenceFromTheStart) {
    ToneJudge judge(kTone);
    Tone tone(kTone);
    judge.judge(tone.window(0), true, false);
    EXPECT_FALSE(judge.hears());
    EXPECT_EQ(judge.take().gaps, 1);
}

TEST(ToneJudgeTest, WhatDoesNotCountDoesNot) {
    ToneJudge judge(kTone);
    Tone tone(kTone);
    judge.judge(tone.window(), true, false);
    judge.judge(tone.window(0), false, false);
    EXPECT_FALSE(judge.hears());
    const Sound sound = judge.take();
    EXPECT_NEAR(sound.seconds, 0.02, 1e-9);
    EXPECT_EQ(sound.gaps, 0);
}

TEST(ToneJudgeTest, OnlyASilenceThatBeginsBehindAStandstillIsExcused) {
    ToneJudge judge(kTone);
    Tone tone(kTone);
    for (int i = 0; i < 5; ++i)
        judge.judge(tone.window(), true, false);
    judge.judge(tone.window(0), true, true);
    judge.judge(tone.window(0), true, true);
    judge.judge(tone.window(), true, true);
    Sound sound = judge.take();
    EXPECT_NEAR(sound.excused, 0.04, 1e-9);
    EXPECT_EQ(sound.gaps, 0);
    EXPECT_NEAR(sound.seconds, 0.12, 1e-9) << "what is excused is in neither";
    // One that has begun before goes on to count.
    judge.judge(tone.window(0), true, false);
    judge.judge(tone.window(0), true, true);
    sound = judge.take();
    EXPECT_EQ(sound.excused, 0);
    EXPECT_EQ(sound.gaps, 1);
    EXPECT_NEAR(sound.longestGapMs, 40, 1e-9);
    // And one that outlasts the excuse.
    judge.judge(tone.window(), true, false);
    judge.judge(tone.window(0), true, true);
    judge.judge(tone.window(0), true, false);
    sound = judge.take();
    EXPECT_EQ(sound.gaps, 1);
    EXPECT_NEAR(sound.longestGapMs, 20, 1e-9);
}

// What the judge makes of a tone that is `ppm` off for `windows`, with `strike` before each.
template <typename Strike>
OnTheWay follow(double ppm, int windows, Strike strike) {
    const double hertz = kTone * (1 + 40e-6); // of the radio's own carrier
    ToneJudge judge(kTone);
    judge.follow(hertz);
    OnTheWay way(ppm, hertz);
    Tone tone(hertz);
    for (int i = 0; i < windows; ++i) {
        // The sink plays as much as the radio makes: the level stays.
        tone.at = tone.at + 1e-6 * ppm * ToneJudge::kWindow;
        const bool excused = strike(i, tone);
        judge.judge(tone.window(), false, excused);
        if (i % 7 == 6)
            way.take(judge.takeWindows(), i >= 100);
    }
    return way;
}

TEST(OnTheWayTest, AClockThatIsFollowedLeavesALevelLine) {
    for (const double ppm : {100.0, -100.0, 0.0}) {
        const OnTheWay way = follow(ppm, 3000, [](int, Tone&) { return false; });
        EXPECT_EQ(way.jumps + way.disturbed + way.excusedJumps + way.excusedDisturbed, 0);
        const OnTheWay::Line line = way.line();
        EXPECT_GE(line.seconds, 57u);
        EXPECT_LT(std::abs(line.ppm), 0.1) << ppm;
        EXPECT_LT(line.farthest, 0.1);
    }
}

TEST(OnTheWayTest, ALevelThatRunsAwayIsTheLinesSlope) {
    // The sink plays 5 ppm less than there comes.
    const OnTheWay way = follow(100, 3000, [](int, Tone& tone) {
        tone.at -= 5e-6 * ToneJudge::kWindow;
        return false;
    });
    EXPECT_NEAR(way.line().ppm, 5, 0.1);
}

TEST(OnTheWayTest, AJumpIsSeenAndItsSizeIsBesideTheLine) {
    const OnTheWay way = follow(100, 3000, [](int i, Tone& tone) {
        if (i == 1500)
            tone.at += 24; // a third of a turn
        return false;
    });
    EXPECT_GE(way.jumps, 1);
    EXPECT_LE(way.jumps, 2);
    EXPECT_GT(way.line().farthest, 10);
}

TEST(OnTheWayTest, AJumpBehindAStandstillIsToldApartAndTakenOut) {
    const OnTheWay way = follow(-100, 3000, [](int i, Tone& tone) {
        if (i == 1500)
            tone.at -= 24;
        return i >= 1500 && i < 1515;
    });
    EXPECT_EQ(way.jumps, 0);
    EXPECT_GE(way.excusedJumps, 1);
    EXPECT_LT(way.line().farthest, 0.5);
    EXPECT_LT(std::abs(way.line().ppm), 0.5);
}

TEST(OnTheWayTest, WhatComesBeforeItHasSettledDoesNotCount) {
    const OnTheWay way = follow(100, 3000, [](int i, Tone& tone) {
        if (i == 50)
            tone.at += 24;
        return false;
    });
    EXPECT_EQ(way.jumps, 0);
    EXPECT_LT(way.line().farthest, 0.1);
}

TEST(OnTheWayTest, MuchBesideTheToneIsADisturbance) {
    ToneJudge judge(kTone);
    judge.follow(kTone);
    OnTheWay way(0, kTone);
    Tone tone(kTone);
    for (int i = 0; i < 60; ++i) {
        const float* clean = tone.window();
        std::vector<float> frames(clean, clean + 2 * ToneJudge::kWindow);
        if (i == 40 || i == 50)
            std::fill_n(frames.begin(), 400, 0.0f);
        judge.judge(frames.data(), false, i == 50);
        way.take(judge.takeWindows(), true);
    }
    EXPECT_EQ(way.disturbed, 1);
    EXPECT_EQ(way.excusedDisturbed, 1);
}

TEST(MemoryLineTest, SlopeAndScatterOfALine) {
    MemoryLine line;
    for (int i = 0; i <= 3600; ++i)
        line.add(i, 50 + 2.0 * i / 3600 + (i % 2 == 0 ? 0.3 : -0.3));
    const MemoryLine::Fit fit = line.fit(0);
    EXPECT_NEAR(fit.slope, 2, 0.01);
    EXPECT_NEAR(fit.scatter, 0.3, 0.001);
    EXPECT_NEAR(fit.hours, 1, 1e-9);
    EXPECT_EQ(fit.bound, 1) << "long enough to stand by itself";
    EXPECT_NEAR(fit.first, 50.3, 1e-9);
    EXPECT_NEAR(fit.last, 52.3, 1e-9);
    EXPECT_NEAR(fit.most, 52.3, 1e-9);
}

TEST(MemoryLineTest, WhatWasBeforeTheBeginningDoesNotCount) {
    MemoryLine line;
    for (int i = 0; i < 600; ++i)
        line.add(i, i < 300 ? i : 300);
    const MemoryLine::Fit fit = line.fit(300);
    EXPECT_NEAR(fit.slope, 0, 1e-9);
    EXPECT_EQ(fit.first, 300);
    EXPECT_NEAR(fit.hours, 299.0 / 3600, 1e-9);
}

TEST(MemoryLineTest, AShortRunHasABoundAsWideAsItsScatter) {
    MemoryLine line;
    for (int i = 0; i <= 360; ++i)
        line.add(i, i % 2 == 0 ? 50.1 : 49.9);
    EXPECT_NEAR(line.fit(0).bound, 1 + 6 * 0.1 / 0.1, 0.05);
}

TEST(MemoryLineTest, TooLittleHasNoSlope) {
    MemoryLine line;
    EXPECT_EQ(line.fit(0).slope, 0);
    line.add(1, 50);
    EXPECT_EQ(line.fit(0).slope, 0);
    EXPECT_EQ(line.fit(0).last, 50);
}

TEST(MemoryLineTest, ResidentMemoryIsWhatIsTouched) {
    const double before = residentMegabytes();
    std::vector<char> touched(64 << 20, 1);
    const double after = residentMegabytes();
    EXPECT_GT(after - before, 60) << static_cast<int>(touched[1 << 20]);
    if (!test::kSanitized) { // which has memory of its own for each byte
        EXPECT_LT(after - before, 75);
    }
}

TEST(MemoryLineTest, AllocatedMemoryIsWhatHasNotBeenReleased) {
    if (test::kSanitized)
        GTEST_SKIP() << "a sanitizer's allocator does not tell";
    const double before = allocatedMegabytes();
    auto untouched = std::make_unique_for_overwrite<char[]>(64 << 20);
    static_cast<volatile char*>(untouched.get())[0] = 1;
    EXPECT_NEAR(allocatedMegabytes() - before, 67.1, 0.5);
    untouched.reset();
    EXPECT_NEAR(allocatedMegabytes(), before, 0.5);
}

TEST(PlanTest, AStallThatBeginsAtAPhasesEndIsOverBeforeItsStreamIs) {
    for (const double seconds : {48.0, 180.0, 3600.0}) {
        int stalls = 0;
        for (const Phase& phase : planNamed("full", seconds).phases)
            for (const std::string& fault : phase.faults) {
                const auto at = fault.find("ms=");
                if (!fault.starts_with("stall:") || at == std::string::npos)
                    continue;
                ++stalls;
                EXPECT_GT(1000 * phase.behind, std::stod(fault.substr(at + 3))) << phase.name;
            }
        EXPECT_EQ(stalls, 2) << seconds;
    }
}

TEST(EventLogTest, ATableOfTimesKindsAndLengths) {
    const auto file = std::filesystem::temp_directory_path() / ("ferrow-events-" + std::to_string(getpid()));
    {
        EventLog log(file);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        log.add("quiet", 20);
    }
    std::ifstream in(file);
    std::string head, line, more;
    std::getline(in, head);
    std::getline(in, line);
    EXPECT_EQ(head, "seconds,kind,ms");
    EXPECT_GE(std::stod(line), 0.02);
    EXPECT_EQ(line.substr(line.find(',')), ",quiet,20");
    EXPECT_FALSE(std::getline(in, more));
    std::filesystem::remove(file);
}

TEST(LogWatchTest, RecordsAreCountedByTheirWords) {
    const auto file = std::filesystem::temp_directory_path() / ("ferrow-watch-" + std::to_string(getpid()));
    std::ofstream log(file);
    log << "[2026-01-01 10:00:00.000] [ERROR] Can't queue seq process 12\n"
           "[2026-01-01 10:00:01.000] [ERROR] Can't queue seq process -7.5\n"
           "[2026-01-01 10:00:02.000] [INFO] half"
        << std::flush;
    LogWatch watch(file.string());
    EXPECT_EQ(watch.take(), (std::map<std::string, long long>{{"Can't queue seq process #", 2}}));
    EXPECT_TRUE(watch.take().empty()) << "half a record is none yet";
    log << " of it\nnext\n" << std::flush;
    EXPECT_EQ(watch.take(), (std::map<std::string, long long>{{"half of it", 1}, {"next", 1}}));
    std::filesystem::remove(file);
}

TEST(VerdictTest, OneThatIsNotMetSpoilsIt) {
    Verdict verdict;
    EXPECT_TRUE(verdict.met());
    verdict.add("steady: silence", true, "0.0 %", "0 %");
    EXPECT_TRUE(verdict.met());
    verdict.add("crash note", false, "there", "none");
    EXPECT_FALSE(verdict.met());
    EXPECT_NE(verdict.table().find("ok   steady: silence"), std::string::npos);
    EXPECT_NE(verdict.table().find("FAIL crash note"), std::string::npos);
    const auto json = verdict.json();
    ASSERT_EQ(json.size(), 2u);
    EXPECT_EQ(json[0].at("bound"), "0 %");
    EXPECT_EQ(json[1].at("met"), false);
}

TEST(MachineWatchTest, AProcessThatIsStoppedHasStoodStill) {
    sched_param most{};
    most.sched_priority = sched_get_priority_max(SCHED_FIFO);
    int mayBeRealTime = 0;
    std::thread([&] { mayBeRealTime = pthread_setschedparam(pthread_self(), SCHED_FIFO, &most); }).join();
    if (mayBeRealTime != 0)
        GTEST_SKIP() << "no right to a real-time priority";
    const auto file = std::filesystem::temp_directory_path() / ("ferrow-stalls-" + std::to_string(getpid()));
    EventLog log(file);
    MachineWatch watch(&log);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_TRUE(watch.watches());
    watch.take();
    const pid_t self = getpid(), other = fork();
    if (other == 0) {
        kill(self, SIGSTOP);
        usleep(60'000);
        kill(self, SIGCONT);
        _exit(0);
    }
    ASSERT_GT(other, 0);
    waitpid(other, nullptr, 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_TRUE(watch.stalledWithin(1000));
    EXPECT_FALSE(watch.stalledWithin(0));
    const Stalls stalls = watch.take();
    EXPECT_GE(stalls.count, 1);
    EXPECT_GE(stalls.longestMs, 40);
    EXPECT_GE(stalls.seconds, 0.04);
    std::ifstream events(file);
    EXPECT_NE(std::string(std::istreambuf_iterator<char>(events), {}).find(",stall,"), std::string::npos);
    std::filesystem::remove(file);
}

} // namespace
} // namespace ferrow::soak
