// The lists of devices, made from sound systems that exist only here.
#include "core/audio/audio_input.hpp"
#include "core/audio/device_lists.hpp"
#include "tests/support/runtime.hpp"

#include <gtest/gtest.h>

#include <map>
#include <set>

namespace ferrow {
namespace {

class FakeSystem : public SoundSystem {
public:
    struct Entry {
        Device device;
        std::set<int> capturesAt, playsAt;
    };

    int add(const std::string& name, std::set<int> capturesAt, std::set<int> playsAt, int inputChannels = 1,
            int outputChannels = 2) {
        entries.push_back({{name, inputChannels, outputChannels}, std::move(capturesAt), std::move(playsAt)});
        return static_cast<int>(entries.size()) - 1;
    }
    int addInput(const std::string& name, std::set<int> rates) {
        return add(name, std::move(rates), {}, 1, 0);
    }
    int addOutput(const std::string& name, std::set<int> rates) {
        return add(name, {}, std::move(rates), 0, 2);
    }

    int deviceCount() override { return error != 0 ? error : static_cast<int>(entries.size()); }
    Device device(int index) override { return at(index).device; }
    int defaultInput() override { return usualInput; }
    int defaultOutput() override { return usualOutput; }
    bool captures(int index, int rate) override { return ask(at(index).capturesAt, index, rate, "in"); }
    bool plays(int index, int rate) override { return ask(at(index).playsAt, index, rate, "out"); }

    std::vector<Entry> entries;
    int error = 0, usualInput = -1, usualOutput = -1;
    std::vector<std::string> asked; // "out 0 48000"

private:
    const Entry& at(int index) { return entries.at(static_cast<std::size_t>(index)); }
    bool ask(const std::set<int>& rates, int index, int rate, const char* way) {
        asked.push_back(fmt::format("{} {} {}", way, index, rate));
        return rates.contains(rate);
    }
};

class DeviceListsTest : public ::testing::Test {
protected:
    test::Runtime runtime;
    FakeSystem system;
};

using Names = std::vector<std::string>;
using Numbers = std::vector<int>;

Names inputNames(const DeviceLists& lists) {
    Names names;
    for (const auto& input : lists.inputs)
        names.push_back(input->name());
    return names;
}

Names outputNames(const DeviceLists& lists) {
    Names names;
    for (const auto& output : lists.outputs)
        names.push_back(output.name);
    return names;
}

Numbers outputNumbers(const DeviceLists& lists) {
    Numbers numbers;
    for (const auto& output : lists.outputs)
        numbers.push_back(output.device);
    return numbers;
}

TEST_F(DeviceListsTest, DeviceWithBothDirectionsIsInBothLists) {
    system.add("headset", {48000}, {48000});
    const auto lists = enumerateDevices(system);
    EXPECT_EQ(inputNames(lists), (Names{"None", "headset"}));
    EXPECT_EQ(outputNames(lists), (Names{"None", "headset", "headset-L"}));
    EXPECT_EQ(lists.inputs[1]->device(), 0);
    EXPECT_EQ(lists.inputs[1]->sampleRate(), 48000);
    EXPECT_EQ(lists.inputs[1]->users(), 0);
    EXPECT_EQ(system.asked, (Names{"out 0 48000", "in 0 48000"}));
    EXPECT_TRUE(runtime.logged("AudioProvider::enumerate 1\n"));
    EXPECT_TRUE(runtime.logged("Pa op format supported headset\n"));
    EXPECT_TRUE(runtime.logged("Pa ip format supported headset\n"));
}

TEST_F(DeviceListsTest, OutputThatFailsAt48000IsLeftOutWithoutAnAttemptAt44100) {
    system.addOutput("old card", {44100});
    const auto lists = enumerateDevices(system);
    EXPECT_EQ(outputNames(lists), Names{"None"});
    EXPECT_EQ(system.asked, Names{"out 0 48000"});
    EXPECT_TRUE(runtime.logged("Pa op format not supported old card\n"));
    EXPECT_FALSE(runtime.logged("Pa op format supported"));
}

TEST_F(DeviceListsTest, InputThatPassesOnlyAt44100IsListedWithThatRate) {
    system.addInput("old microphone", {44100});
    system.addInput("deaf", {96000});
    const auto lists = enumerateDevices(system);
    ASSERT_EQ(inputNames(lists), (Names{"None", "old microphone"}));
    EXPECT_EQ(lists.inputs[1]->sampleRate(), 44100);
    EXPECT_EQ(system.asked, (Names{"in 0 48000", "in 0 44100", "in 1 48000", "in 1 44100"}));
    EXPECT_TRUE(runtime.logged("Pa ip format supported old microphone\n"));
    EXPECT_TRUE(runtime.logged("Pa ip format not supported deaf\n"));
}

TEST_F(DeviceListsTest, TwoOutputsGetTheirTwinsAfterAllOfThem) {
    system.addInput("microphone", {48000});
    const int i = system.addOutput("a", {48000});
    const int j = system.addOutput("b", {48000});
    const auto lists = enumerateDevices(system);
    EXPECT_EQ(outputNames(lists), (Names{"None", "a", "b", "a-L", "b-L"}));
    EXPECT_EQ(outputNumbers(lists), (Numbers{-1, i, j, i + 1000, j + 1000}));
    for (const auto& output : lists.outputs)
        EXPECT_EQ(output.sampleRate, 48000);
}

TEST_F(DeviceListsTest, WithoutOutputsThereAreNoTwins) {
    system.addInput("microphone", {48000});
    EXPECT_EQ(outputNames(enumerateDevices(system)), Names{"None"});
}

TEST_F(DeviceListsTest, WithoutDevicesEachListHoldsNoneAlone) {
    const auto lists = enumerateDevices(system);
    EXPECT_EQ(outputNumbers(lists), Numbers{-1});
    ASSERT_EQ(inputNames(lists), Names{"None"});
    EXPECT_EQ(lists.inputs[0]->device(), -1);
    EXPECT_EQ(lists.inputs[0]->sampleRate(), 48000);
    EXPECT_EQ(lists.defaultInput, 0);
    EXPECT_EQ(lists.defaultOutput, 0);
    EXPECT_TRUE(runtime.logged("AudioProvider::enumerate 0\n"));
}

TEST_F(DeviceListsTest, NegativeCountIsLoggedAndMeansNoDevices) {
    system.add("never looked at", {48000}, {48000});
    system.error = -10000;
    const auto lists = enumerateDevices(system);
    EXPECT_EQ(outputNames(lists), Names{"None"});
    EXPECT_EQ(inputNames(lists), Names{"None"});
    EXPECT_TRUE(system.asked.empty());
    EXPECT_TRUE(runtime.logged("[error] ERROR: Pa_CountDevices returned -10000\n"));
    EXPECT_TRUE(runtime.logged("[info] AudioProvider::enumerate -10000\n"));
}

TEST_F(DeviceListsTest, DefaultInputIsAPlaceAndDefaultOutputADeviceNumber) {
    system.addOutput("speaker", {48000});
    system.addInput("refuses", {});
    system.addInput("first microphone", {48000});
    system.usualInput = system.addInput("second microphone", {44100});
    system.usualOutput = system.addOutput("headphones", {48000});
    const auto lists = enumerateDevices(system);
    EXPECT_EQ(system.usualInput, 3);
    EXPECT_EQ(lists.defaultInput, 2) << "None, first, second";
    EXPECT_EQ(lists.defaultOutput, 4);
}

TEST_F(DeviceListsTest, DefaultsThatFailTheTestStayZero) {
    system.addOutput("speaker", {48000});
    system.usualOutput = system.addOutput("refused output", {});
    system.usualInput = system.addInput("refused input", {});
    const auto lists = enumerateDevices(system);
    EXPECT_EQ(lists.defaultInput, 0);
    EXPECT_EQ(lists.defaultOutput, 0);
}

} // namespace
} // namespace ferrow
