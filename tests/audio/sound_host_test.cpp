// The sound devices as a host sees them, through the exported functions alone.
#include "tests/support/pulse_server.hpp"
#include "tests/support/sanitizer.hpp"

#include <ferrowcore/ferrowcore.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

struct Choice {
    int value = -99;
    std::string label;
};

std::vector<void*> items;
Choice told;
std::vector<void*> transceivers;
int toldOutput = -99, toldInput = -99;

void onItem(unsigned long long, unsigned long long, void* item) {
    items.push_back(item);
}

std::vector<Choice> choices(void* wireless, void (*bind)(void*, ferrow_list_callback)) {
    items.clear();
    bind(wireless, onItem);
    getUpdates();
    std::vector<Choice> list;
    for (void* item : items) {
        ValueLabelItem_bindValue(item, [](int value) { told.value = value; });
        ValueLabelItem_bindLabel(item, [](const char* label) { told.label = label; });
        getUpdates();
        list.push_back(told);
        ValueLabelItem_release(item);
    }
    return list;
}

const Choice* find(const std::vector<Choice>& list, const std::string& label) {
    const auto found =
        std::find_if(list.begin(), list.end(), [&](const Choice& c) { return c.label == label; });
    return found == list.end() ? nullptr : &*found;
}

bool pumpUntil(const std::function<bool()>& done) {
    for (int i = 0; i < 5000 && !done(); ++i) {
        getUpdates();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return done();
}

class SoundHostTest : public ::testing::Test {
protected:
    SoundHostTest() {
        if (!ferrow::test::PulseServer::installed())
            throw std::runtime_error("pulseaudio and pulseaudio-utils are needed: see scripts/packages.txt");
        server.emplace();
        init((server->folder() + "/fc.log").c_str(), 1);
    }

    std::optional<ferrow::test::PulseServer> server;
};

TEST_F(SoundHostTest, WirelessListsTheServersDevices) {
    void* wireless = Wireless_create();
    const auto outputs = choices(wireless, Wireless_bindoutputDevices);
    const auto inputs = choices(wireless, Wireless_bindinputDevices);
    ASSERT_GE(outputs.size(), 3u);
    EXPECT_EQ(outputs[0].label, "None");
    EXPECT_EQ(outputs[0].value, -1);
    const Choice* normal = find(outputs, "default");
    const Choice* twin = find(outputs, "default-L");
    ASSERT_NE(normal, nullptr);
    ASSERT_NE(twin, nullptr);
    EXPECT_GE(normal->value, 0);
    EXPECT_LT(normal->value, 1000);
    EXPECT_EQ(twin->value, normal->value + 1000);
    EXPECT_EQ(outputs.size() % 2, 1u) << "None, the devices, their twins";
    ASSERT_GE(inputs.size(), 2u);
    for (std::size_t i = 0; i < inputs.size(); ++i)
        EXPECT_EQ(inputs[i].value, static_cast<int>(i));
    EXPECT_EQ(inputs[0].label, "None");
    EXPECT_NE(find(inputs, "default"), nullptr);
    Wireless_release(wireless);
    getUpdates();
}

// A transceiver comes up on the system's default devices, plays silence through start and mute, and goes.
TEST_F(SoundHostTest, NewTransceiverTakesTheDefaultDevices) {
    void* wireless = Wireless_create();
    const auto outputs = choices(wireless, Wireless_bindoutputDevices);
    const auto inputs = choices(wireless, Wireless_bindinputDevices);
    void* radio = Radio_create();
    transceivers.clear();
    Radio_bindvtrxAdded(radio,
                        [](void* transceiver, long long, int, int) { transceivers.push_back(transceiver); });
    Radio_addVtrx(radio, 7100000, 0, 0);
    ASSERT_TRUE(pumpUntil([] { return transceivers.size() == 1; }));
    void* transceiver = transceivers[0];
    vtrx_bindaudioOutput(transceiver, [](int value) { toldOutput = value; });
    vtrx_bindaudioInput(transceiver, [](int value) { toldInput = value; });
    ASSERT_TRUE(pumpUntil([] { return toldOutput != -99; }));
    ASSERT_NE(find(outputs, "default"), nullptr);
    ASSERT_NE(find(inputs, "default"), nullptr);
    EXPECT_EQ(toldOutput, find(outputs, "default")->value);
    ASSERT_TRUE(pumpUntil([] { return toldInput != -99; }));
    EXPECT_EQ(toldInput, find(inputs, "default")->value);
    vtrx_start(transceiver);
    ferrow::test::MonitorRecorder recorder(*server);
    for (const bool muted : {false, true, false}) {
        vtrx_setmuted(transceiver, muted);
        for (int i = 0; i < 100; ++i) {
            getUpdates();
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
    }
    const auto recording = recorder.finish();
    EXPECT_GT(recording.left.size(), 10000u);
    EXPECT_TRUE(std::all_of(recording.left.begin(), recording.left.end(), [](float x) { return x == 0; }));
    vtrx_remove(transceiver);
    vtrx_release(transceiver);
    Radio_release(radio);
    Wireless_release(wireless);
    getUpdates();
}

// There is no shutdown call: the process may leave while its streams run.
TEST(SoundExitTest, ProcessLeavesWithRunningStreams) {
    ASSERT_TRUE(ferrow::test::PulseServer::installed());
    const ferrow::test::PulseServer server;
    const auto leave = [&server] {
        ferrow::test::leaveHandlesBehind();
        init((server.folder() + "/fc.log").c_str(), 1);
        void* radio = Radio_create();
        transceivers.clear();
        Radio_bindvtrxAdded(
            radio, [](void* transceiver, long long, int, int) { transceivers.push_back(transceiver); });
        Radio_addVtrx(radio, 7100000, 0, 0);
        if (!pumpUntil([] { return transceivers.size() == 1; }))
            std::_Exit(3);
        vtrx_start(transceivers[0]);
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        std::exit(7);
    };
    EXPECT_EXIT(leave(), ::testing::ExitedWithCode(7), "");
}

} // namespace
