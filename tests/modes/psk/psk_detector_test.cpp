#include "modes/psk_detector.hpp"

#include "tests/modes/psk/psk_signal.hpp"
#include "tests/support/runtime.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ferrow {
namespace {

int resets;

class Hunt : public ::testing::Test {
protected:
    test::Runtime runtime;
    std::vector<std::shared_ptr<PskDetector>> bank;

    void SetUp() override {
        resets = 0;
        for (int place = 0; place < 30; ++place)
            bank.push_back(std::make_shared<PskDetector>(rootSyncTask, 0, 100 * (place + 1)));
    }

    int hunt(std::vector<PskPeak> peaks) { return huntSignals(bank, peaks); }
    PskDetector& at(std::size_t place) { return *bank[place]; }
};

TEST_F(Hunt, APeakWithinTwentyHertzOfABusyDetectorIsCovered) {
    at(7).retune(1495);
    at(7).busyCount = 5;
    EXPECT_EQ(hunt({{1510, 1.0}}), 0);
    EXPECT_EQ(at(7).busyCount, 100);
    at(7).busyCount = 150;
    EXPECT_EQ(hunt({{1515, 1.0}}), 0);
    EXPECT_EQ(at(7).busyCount, 150);
}

TEST_F(Hunt, APeakFartherOffTakesAnotherDetector) {
    at(7).retune(1495);
    at(7).busyCount = 5;
    EXPECT_EQ(hunt({{1520, 1.0}}), 1);
    EXPECT_EQ(at(7).trackedFrequency(), 1495);
    EXPECT_EQ(at(0).trackedFrequency(), 1520);
    EXPECT_EQ(at(0).busyCount, 100);
}

TEST_F(Hunt, AFreeDetectorOnTheSpotDoesNotCover) {
    EXPECT_EQ(hunt({{1500, 1.0}}), 1);
    EXPECT_EQ(at(0).trackedFrequency(), 1500);
}

TEST_F(Hunt, FourNewSignalsRetuneThreeDetectors) {
    EXPECT_EQ(hunt({{500, 4.0}, {800, 3.0}, {1100, 2.0}, {1400, 1.0}}), 3);
    EXPECT_EQ(at(0).trackedFrequency(), 500);
    EXPECT_EQ(at(1).trackedFrequency(), 800);
    EXPECT_EQ(at(2).trackedFrequency(), 1100);
    EXPECT_EQ(at(3).trackedFrequency(), 400);
    EXPECT_EQ(at(3).busyCount, 0);
    EXPECT_EQ(hunt({{500, 4.0}, {800, 3.0}, {1100, 2.0}, {1400, 1.0}}), 1);
    EXPECT_EQ(at(3).trackedFrequency(), 1400);
}

TEST_F(Hunt, ARetunedDetectorTellsTheHost) {
    at(0).reset.bind([] { ++resets; }, &at(0));
    at(1).reset.bind([] { ++resets; }, &at(1));
    hunt({{777, 1.0}});
    EXPECT_TRUE(test::waitFor([] {
        pumpUpdates();
        return resets == 1;
    }));
}

TEST_F(Hunt, NothingIsTakenWhileAllAreBusy) {
    for (auto& detector : bank)
        detector->busyCount = 51;
    EXPECT_EQ(hunt({{1234, 1.0}}), 0);
    at(29).busyCount = 50; // the walk ends on the last one
    EXPECT_EQ(hunt({{1234, 1.0}}), 1);
    EXPECT_EQ(at(29).trackedFrequency(), 1234);
}

// What is compared is the activity, what bounds the next one is the busy count: a detector that is nearly
// free is passed over if a busier one comes behind it.
TEST_F(Hunt, TheChoiceComparesActivityWithTheLastChoicesBusyCount) {
    for (auto& detector : bank)
        detector->busyCount = 60;
    at(3).busyCount = 10;
    EXPECT_EQ(hunt({{1234, 1.0}}), 0);
    // Activities at or above the bound that detector 3 leaves keep it chosen.
    for (std::size_t place = 4; place < bank.size(); ++place)
        at(place).activity.set(10);
    EXPECT_EQ(hunt({{1234, 1.0}}), 1);
    EXPECT_EQ(at(3).trackedFrequency(), 1234);
}

TEST_F(Hunt, DetectorsOfGreatActivityAreNotTaken) {
    for (auto& detector : bank)
        detector->activity.set(200);
    EXPECT_EQ(hunt({{1234, 1.0}}), 0);
}

TEST_F(Hunt, NoPeaksLeaveTheBankAlone) {
    EXPECT_EQ(hunt({}), 0);
    for (std::size_t place = 0; place < bank.size(); ++place)
        EXPECT_EQ(at(place).trackedFrequency(), 100 * (static_cast<int>(place) + 1));
}

TEST_F(Hunt, ADetectorHasItsPropertiesFromTheStart) {
    PskDetector detector(rootSyncTask, 17, 1234);
    EXPECT_EQ(detector.freq.value(), 1234);
    EXPECT_TRUE(detector.freq.valid());
    EXPECT_EQ(detector.Mode.value(), "QPSK125");
    EXPECT_EQ(PskDetector(rootSyncTask).freq.value(), 1500);
    EXPECT_EQ(PskDetector(rootSyncTask).Mode.value(), "PSK31");
}

TEST(PskPeakSearch, FindsTonesStrongestFirst) {
    PskPeakSearch search;
    std::vector<float> block(512);
    const std::vector<std::pair<double, double>> tones = {{1000, 1}, {1700, 3}, {2400, 2}};
    for (int n = 0; n < 3; ++n) {
        for (std::size_t i = 0; i < block.size(); ++i) {
            block[i] = 0;
            for (const auto& [hz, level] : tones)
                block[i] += static_cast<float>(
                    level * std::sin(2 * std::numbers::pi * hz *
                                     static_cast<double>(i + 512 * static_cast<std::size_t>(n)) / 8000));
        }
        search.add(std::span<const float, 512>(block.data(), 512));
    }
    const auto peaks = search.search();
    ASSERT_GE(peaks.size(), 3u);
    // Half a bin, 8 Hz, is added to where the spectrum has its peak.
    EXPECT_NEAR(peaks[0].frequency, 1708, 5);
    EXPECT_NEAR(peaks[1].frequency, 2408, 5);
    EXPECT_NEAR(peaks[2].frequency, 1008, 5);
    EXPECT_TRUE(search.search().empty());
}

// Against the formula, with a slow transform.
TEST(PskPeakSearch, IsTheFormula) {
    std::mt19937 random(3);
    std::vector<float> block(512);
    for (float& x : block)
        x = static_cast<float>(std::normal_distribution<double>(0, 1)(random));
    PskPeakSearch search;
    search.add(std::span<const float, 512>(block.data(), 512));
    constexpr double kPi = std::numbers::pi;
    std::vector<double> magnitude(512);
    for (std::size_t k = 0; k < 512; ++k) {
        double re = 0, im = 0;
        for (std::size_t i = 0; i < 512; ++i) {
            const double x = (static_cast<double>(i) + 0.5) / 512;
            const double w = 0.35875 - 0.48829 * std::cos(2 * kPi * x) + 0.14128 * std::cos(4 * kPi * x) -
                             0.01168 * std::cos(6 * kPi * x);
            re += w * block[i] * std::cos(2 * kPi * static_cast<double>(k * i % 512) / 512);
            im -= w * block[i] * std::sin(2 * kPi * static_cast<double>(k * i % 512) / 512);
        }
        magnitude[k] = std::hypot(re, im);
    }
    std::vector<PskPeak> expected;
    const auto sum = [&](int k) {
        double s = 0;
        for (int j = k - 2; j <= k + 2; ++j)
            s += magnitude[static_cast<std::size_t>(j)];
        return s;
    };
    for (int k = 3; k <= 252; ++k)
        if (sum(k) > sum(k - 1) && sum(k) > sum(k + 1)) {
            const double b = 8000.0 / 512;
            expected.push_back({static_cast<int>(k * b + 0.5 * b +
                                                 (sum(k + 1) - sum(k - 1)) /
                                                     (2 * (2 * sum(k) - sum(k - 1) - sum(k + 1))) * b),
                                sum(k)});
        }
    std::sort(expected.begin(), expected.end(), [](auto& a, auto& b) { return a.strength > b.strength; });
    const auto peaks = search.search();
    ASSERT_EQ(peaks.size(), expected.size());
    for (std::size_t n = 0; n < peaks.size(); ++n) {
        EXPECT_NEAR(peaks[n].frequency, expected[n].frequency, 1) << n;
        EXPECT_NEAR(peaks[n].strength, expected[n].strength, 1e-3 * expected[n].strength) << n;
    }
}

} // namespace
} // namespace ferrow
