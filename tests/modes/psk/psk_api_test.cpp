// What a host sees of the PSK classes, through exported functions only.
#include <ferrowcore/ferrowcore.h>

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;

std::vector<int> ints, echoes;
std::vector<std::string> texts;
std::vector<void*> handles;

void onInt(int value) {
    ints.push_back(value);
}
void onText(const char* text) {
    texts.emplace_back(text);
}
void onNothing(void) {}
void onItem(unsigned long long operation, unsigned long long, void* item) {
    EXPECT_EQ(operation, 3u);
    handles.push_back(item);
}

class PskApi : public ::testing::Test {
protected:
    fs::path log = fs::temp_directory_path() / ("ferrow-psk-api-" + std::to_string(getpid()) + ".log");
    void* mode = nullptr;

    void SetUp() override {
        init(log.c_str(), 1);
        mode = PskModDemod_create();
    }
    void TearDown() override {
        dropItems();
        PskModDemod_release(mode);
        fs::remove(log);
    }
    static void dropItems() {
        for (void* handle : handles)
            asyncObject_release(handle);
        handles.clear();
    }
    // Everything posted to the object has taken effect, and its notices have come.
    static void settle(void* handle) {
        asyncObject_bindEcho(handle, [](int value) { echoes.push_back(value); });
        const std::size_t before = echoes.size();
        asyncObject_Ping(handle, 1);
        for (int tries = 0; tries < 5000 && echoes.size() == before; ++tries) {
            getUpdates();
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        ASSERT_GT(echoes.size(), before);
        getUpdates();
    }
};

TEST_F(PskApi, BindingReplaysWhatTheModeStartsWith) {
    PskModDemod_bindmode(mode, onInt);
    PskModDemod_bindprimaryDetector(mode, onInt);
    modDemod_bindrxFreq(mode, onInt);
    modDemod_bindtxFreq(mode, onInt);
    settle(mode);
    EXPECT_EQ(ints, (std::vector<int>{0, 60, 1500, 1500}));
}

TEST_F(PskApi, ModesAreSixItems) {
    PskModDemod_bindModes(mode, onItem);
    settle(mode);
    ASSERT_EQ(handles.size(), 6u);
    for (void* item : handles) {
        ValueLabelItem_bindValue(item, onInt);
        ValueLabelItem_bindLabel(item, onText);
    }
    settle(mode);
    EXPECT_EQ(ints, (std::vector<int>{0, 8, 16, 1, 9, 17}));
    EXPECT_EQ(texts, (std::vector<std::string>{"PSK31", "PSK63", "PSK125", "QPSK31", "QPSK63", "QPSK125"}));
}

TEST_F(PskApi, DetectorsAreSixtySix) {
    PskModDemod_binddets(mode, onItem);
    settle(mode);
    ASSERT_EQ(handles.size(), 66u);
    for (void* item : handles) {
        PskDetector_bindfreq(item, onInt);
        PskDetector_bindMode(item, onText);
        PskDetector_bindnewChars(item, onText);
        PskDetector_bindreset(item, onNothing);
    }
    settle(mode);
    ASSERT_EQ(ints.size(), 66u);
    EXPECT_EQ(ints[0], 100);
    EXPECT_EQ(ints[59], 3000);
    EXPECT_EQ(ints[65], 1500);
    EXPECT_EQ(texts[29], "PSK31");
    EXPECT_EQ(texts[30], "PSK63");
    EXPECT_EQ(texts[65], "QPSK125");
}

TEST_F(PskApi, AModeThatTheHostSetsMovesThePrimary) {
    PskModDemod_bindprimaryDetector(mode, onInt);
    PskModDemod_setmode(mode, 17);
    settle(mode);
    EXPECT_EQ(ints, (std::vector<int>{60, 65}));
}

TEST_F(PskApi, AFrequencyThatTheHostSetsIsTheTransmittersToo) {
    modDemod_bindtxFreq(mode, onInt);
    modDemod_setrxFreq(mode, 1234);
    settle(mode);
    EXPECT_EQ(ints, (std::vector<int>{1500, 1234}));
}

TEST_F(PskApi, ListsMayBeResetAndFilled) {
    PskModDemod_resetdets(mode);
    PskModDemod_resetModes(mode);
    void* detector = PskDetector_create();
    PskModDemod_setdets(mode, 3, 0, detector);
    settle(mode);
    PskModDemod_binddets(mode, onItem);
    PskModDemod_bindModes(mode, onItem);
    settle(mode);
    EXPECT_EQ(handles.size(), 1u);
    PskDetector_setactivity(detector, 5);
    PskDetector_setsignalStrength(detector, 6);
    PskDetector_setfreq(detector, 7);
    PskDetector_setMode(detector, nullptr);
    settle(detector);
    PskDetector_release(detector);
}

TEST_F(PskApi, TextMayBeQueuedWithoutATransceiver) {
    PskModDemod_QueueText(mode, "waiting~", 0);
    PskModDemod_QueueText(mode, nullptr, 1);
    PskModDemod_QueueText(mode, std::string(5000, 'x').c_str(), 0);
    settle(mode);
}

} // namespace
