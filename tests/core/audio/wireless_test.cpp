// The application object, as its host sees it and as the modes do.
#include "core/audio/wireless.hpp"

#include "core/audio/audio_input.hpp"
#include "core/audio/audio_provider.hpp"
#include "tests/support/runtime.hpp"

#include <ferrowcore/ferrowcore.h>
#include <gtest/gtest.h>

#include <array>
#include <random>
#include <utility>
#include <vector>

namespace ferrow {
namespace {

using Curve = std::vector<std::pair<double, double>>;

struct Choice {
    int value;
    std::string label;
    bool operator==(const Choice&) const = default;
};

// What the host was told; its callbacks have no argument of its own.
std::vector<void*> toldItems;
std::vector<unsigned long long> toldOperations;
std::vector<double> toldNumbers;
Choice toldChoice;

void onItem(unsigned long long operation, unsigned long long, void* item) {
    toldOperations.push_back(operation);
    toldItems.push_back(item);
}
void onNumber(double value) {
    toldNumbers.push_back(value);
}

class WirelessTest : public ::testing::Test {
protected:
    ~WirelessTest() override {
        for (void* line : lines)
            calibLine_release(line);
        Wireless_release(handle);
        pumpUpdates();
    }

    void restore(const Curve& curve) {
        for (const auto& [frequency, gain] : curve) {
            lines.push_back(calibLine_create());
            calibLine_setinp(lines.back(), frequency);
            calibLine_setoutp(lines.back(), gain);
            Wireless_setDefaultMicEQ(handle, 3, 0, lines.back());
        }
    }
    void init() {
        Wireless_Init(handle);
        wait();
    }
    // What the host has set is done.
    void wait() {
        test::settle(rootSyncTask);
        test::settle(wireless().context());
        test::settle(rootSyncTask);
    }
    Wireless& wireless() { return *Wireless::current(); }
    std::uint64_t generation() {
        wait();
        return wireless().micEqGeneration();
    }

    test::Runtime runtime;
    void* handle = Wireless_create();
    std::vector<void*> lines;
};

// The curve in plain double precision, segment by segment; line 0 lies at 0 Hz whatever it says.
double reference(const Curve& curve, double f) {
    std::size_t segment = 1;
    for (std::size_t k = 2; k < 9; ++k)
        if (f > curve[k - 1].first)
            segment = k;
    const double from = segment == 1 ? 0 : curve[segment - 1].first;
    const double slope = (curve[segment].second - curve[segment - 1].second) / (curve[segment].first - from);
    return curve[segment - 1].second + slope * (f - from);
}

const Curve kRising{{0, 0.5},   {100, 1},    {200, 0.25}, {400, 2},      {800, 0},
                    {1600, -1}, {3200, 1.5}, {6400, 4},   {24000, 0.125}};

TEST_F(WirelessTest, FlatDefaultCurveGivesOneAtAll1024Points) {
    init();
    ASSERT_EQ(wireless().DefaultMicEQ.items().size(), 9u);
    const auto gains = microphoneEq();
    ASSERT_EQ(gains.size(), 1024u);
    for (const float gain : gains)
        ASSERT_EQ(gain, 1.0f);
}

TEST_F(WirelessTest, InitToldTheHostNineLines) {
    constexpr std::array<double, 9> kFrequencies{0, 64, 128, 300, 600, 1200, 2400, 4800, 24000};
    toldItems.clear();
    toldOperations.clear();
    Wireless_bindDefaultMicEQ(handle, onItem);
    init();
    pumpUpdates();
    ASSERT_EQ(toldItems.size(), 9u);
    for (std::size_t i = 0; i < 9; ++i) {
        EXPECT_EQ(toldOperations[i], 3u);
        toldNumbers.clear();
        calibLine_bindinp(toldItems[i], onNumber);
        calibLine_bindoutp(toldItems[i], onNumber);
        pumpUpdates();
        EXPECT_EQ(toldNumbers, (std::vector<double>{kFrequencies[i], 1}));
        calibLine_release(toldItems[i]);
    }
    init();
    EXPECT_EQ(wireless().DefaultMicEQ.items().size(), 9u) << "a second Init adds nothing";
}

TEST_F(WirelessTest, Point1023IsTheLastInsideACurveThatEndsAt24000) {
    Curve curve = kRising;
    curve[8] = {24000, 3};
    curve[7] = {4800, 1};
    restore(curve);
    init();
    const auto gains = microphoneEq();
    EXPECT_NEAR(gains[1023], 1 + 2 * (23976.5625 - 4800) / (24000 - 4800), 1e-6);
    EXPECT_LT(gains[1023], 3.0f);
    calibLine_setinp(lines[8], 23976.5625);
    wait();
    EXPECT_EQ(microphoneEq()[1023], 3.0f) << "the point lies on the last line";
}

TEST_F(WirelessTest, SlopeOfTheLastSegmentGoesOnPastIt) {
    Curve curve = kRising;
    curve[7] = {6400, 1};
    curve[8] = {9600, 3};
    restore(curve);
    init();
    const auto gains = microphoneEq();
    EXPECT_NEAR(gains[1023], 1 + 2 * (23976.5625 - 6400) / 3200, 1e-5);
    EXPECT_GT(gains[1023], 11.0f);
}

TEST_F(WirelessTest, CurveEqualsTheReference) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> gain(-2, 4), stretch(1.2, 3.5);
    for (int round = 0; round < 20; ++round) {
        Curve curve{{round % 2 == 0 ? 0.0 : -50.0, gain(random)}};
        for (double f = 20; curve.size() < 9; f *= stretch(random))
            curve.emplace_back(f, gain(random));
        Wireless_resetDefaultMicEQ(handle);
        restore(curve);
        init();
        const auto gains = microphoneEq();
        for (std::size_t n = 0; n < 1024; ++n) {
            const double expected = reference(curve, static_cast<double>(n) * 23.4375);
            ASSERT_NEAR(gains[n], expected, 2e-6 * (10 + std::abs(expected))) << round << ' ' << n;
        }
    }
}

TEST_F(WirelessTest, ChangeOfLine3RaisesTheGenerationByOneAndAnEqualValueLeavesIt) {
    restore(kRising);
    init();
    const auto before = generation();
    calibLine_setoutp(lines[3], 0.75);
    EXPECT_EQ(generation(), before + 1);
    calibLine_setoutp(lines[3], 0.75);
    EXPECT_EQ(generation(), before + 1);
    EXPECT_NEAR(microphoneEq()[17],
                reference({{0, 0.5},
                           {100, 1},
                           {200, 0.25},
                           {400, 0.75},
                           {800, 0},
                           {1600, -1},
                           {3200, 1.5},
                           {6400, 4},
                           {24000, 0.125}},
                          17 * 23.4375),
                1e-6);
}

TEST_F(WirelessTest, EveryOneOfTheNineLinesIsWatched) {
    restore(kRising);
    init();
    init();
    auto expected = generation();
    for (std::size_t i = 0; i < 9; ++i) {
        calibLine_setinp(lines[i], kRising[i].first + 1);
        EXPECT_EQ(generation(), ++expected) << i;
        calibLine_setoutp(lines[i], kRising[i].second + 1);
        EXPECT_EQ(generation(), ++expected) << i;
    }
}

TEST_F(WirelessTest, LinesOfTheDefaultCurveAreWatchedToo) {
    toldItems.clear();
    Wireless_bindDefaultMicEQ(handle, onItem);
    init();
    pumpUpdates();
    ASSERT_EQ(toldItems.size(), 9u);
    const auto before = generation();
    calibLine_setoutp(toldItems[3], 2);
    EXPECT_EQ(generation(), before + 1);
    calibLine_setoutp(toldItems[3], 2);
    EXPECT_EQ(generation(), before + 1);
    for (void* item : toldItems)
        calibLine_release(item);
}

TEST_F(WirelessTest, TenthLineHasNoEffectAndNoListener) {
    Curve ten = kRising;
    ten.emplace_back(24001, 50);
    restore(ten);
    init();
    const auto before = generation();
    const auto gains = microphoneEq();
    calibLine_setinp(lines[9], 10);
    calibLine_setoutp(lines[9], 0);
    EXPECT_EQ(generation(), before);
    const auto again = microphoneEq();
    for (std::size_t n = 0; n < 1024; ++n) {
        ASSERT_NEAR(gains[n], reference(kRising, static_cast<double>(n) * 23.4375), 2e-5);
        ASSERT_EQ(gains[n], again[n]);
    }
}

TEST_F(WirelessTest, InitLeavesARestoredListOfNineOrMoreAsItIs) {
    for (const std::size_t count : {9u, 12u}) {
        Wireless_resetDefaultMicEQ(handle);
        Curve curve = kRising;
        while (curve.size() < count)
            curve.emplace_back(25000 + static_cast<double>(curve.size()), 1);
        restore(curve);
        init();
        const auto items = wireless().DefaultMicEQ.copy();
        ASSERT_EQ(items.size(), count);
        for (std::size_t i = 0; i < count; ++i) {
            EXPECT_EQ(items[i]->inp.value(), curve[i].first);
            EXPECT_EQ(items[i]->outp.value(), curve[i].second);
        }
    }
}

TEST_F(WirelessTest, ShortListIsLoggedAndHarmless) {
    restore({kRising.begin(), kRising.begin() + 5});
    init();
    EXPECT_TRUE(runtime.logged("[error] Wireless.Init() DefaultMicEQ has 5 lines instead of 9"));
    EXPECT_EQ(wireless().DefaultMicEQ.copy().size(), 5u);
    for (const float gain : microphoneEq())
        ASSERT_EQ(gain, 1.0f);
    calibLine_setoutp(lines[3], 7);
    EXPECT_EQ(generation(), 0u);
}

TEST_F(WirelessTest, ListOfEmptyPlacesIsHarmless) {
    restore({kRising.begin(), kRising.begin() + 3});
    Wireless_setDefaultMicEQ(handle, 0, 20, lines[0]); // makes empty places before and after it
    init();
    ASSERT_EQ(wireless().DefaultMicEQ.copy().size(), 40u);
    for (const float gain : microphoneEq())
        ASSERT_EQ(gain, 1.0f);
}

TEST_F(WirelessTest, BindReplaysTheDevicesWithValuesAndLabels) {
    const auto told = [this](auto bind) {
        toldItems.clear();
        bind(handle, onItem);
        pumpUpdates();
        std::vector<Choice> choices;
        for (void* item : toldItems) {
            ValueLabelItem_bindValue(item, [](int value) { toldChoice.value = value; });
            ValueLabelItem_bindLabel(item, [](const char* label) { toldChoice.label = label; });
            toldChoice = {-99, "not told"};
            pumpUpdates();
            choices.push_back(toldChoice);
            ValueLabelItem_release(item);
        }
        return choices;
    };
    const AudioProvider& devices = AudioProvider::instance();
    std::vector<Choice> inputs, outputs;
    for (const auto& input : devices.inputDeviceList)
        inputs.push_back({static_cast<int>(inputs.size()), input->name()});
    for (const auto& output : devices.outputDeviceList)
        outputs.push_back({output.device, output.name});
    EXPECT_EQ(told(Wireless_bindinputDevices), inputs);
    EXPECT_EQ(told(Wireless_bindoutputDevices), outputs);
    EXPECT_EQ(inputs[0], (Choice{0, "None"}));
    EXPECT_EQ(outputs[0], (Choice{-1, "None"}));
}

TEST_F(WirelessTest, SecondWirelessTakesOver) {
    restore(kRising);
    init();
    Wireless* first = Wireless::current().get();
    EXPECT_NE(microphoneEq()[40], 1.0f);
    void* second = Wireless_create();
    EXPECT_NE(Wireless::current().get(), first);
    EXPECT_EQ(microphoneEq()[40], 1.0f) << "it has no lines yet";
    init();
    EXPECT_EQ(wireless().DefaultMicEQ.copy().size(), 0u) << "Init of the first one";
    Wireless_Init(second);
    wait();
    EXPECT_EQ(wireless().DefaultMicEQ.copy().size(), 9u);
    Wireless_release(second);
    pumpUpdates();
    EXPECT_TRUE(test::waitFor([] { return Wireless::current() == nullptr; }));
    EXPECT_EQ(microphoneEq()[40], 1.0f);
    void* const old = handle;
    handle = Wireless_create();
    Wireless_release(handle);
    handle = Wireless_create();
    const Wireless* const last = Wireless::current().get();
    EXPECT_NE(last, nullptr);
    Wireless_release(old);
    pumpUpdates();
    EXPECT_EQ(Wireless::current().get(), last) << "the end of an older one";
}

TEST_F(WirelessTest, LinesMayOutliveIt) {
    restore(kRising);
    init();
    const auto gone = [] { return Wireless::current() == nullptr; };
    Wireless_release(handle);
    handle = nullptr;
    ASSERT_TRUE(test::waitFor(gone));
    calibLine_setoutp(lines[3], 9);
    test::settle(rootSyncTask);
    handle = Wireless_create();
    EXPECT_EQ(generation(), 0u);
}

} // namespace
} // namespace ferrow
