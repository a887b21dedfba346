// What a host sees of the life of objects, through exported functions only.

#include "tests/support/sanitizer.hpp"

#include <ferrowcore/ferrowcore.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;

std::vector<int> ints, deletedOnes, echoes;
std::vector<float> floats;
std::vector<long long> longs;
std::vector<std::string> texts;
std::vector<void*> handles;

void onInt(int v) {
    ints.push_back(v);
}
void onFloat(float v) {
    floats.push_back(v);
}
void onLong(long long v) {
    longs.push_back(v);
}
void onText(const char* v) {
    texts.emplace_back(v);
}
void onHandle(void* v) {
    handles.push_back(v);
}
void onItem(unsigned long long operation, unsigned long long index, void* item) {
    EXPECT_EQ(operation, 3u);
    EXPECT_EQ(index, 0u);
    handles.push_back(item);
}
void onDeleted(int v) {
    deletedOnes.push_back(v);
}
void onEcho(int v) {
    echoes.push_back(v);
}
void onVtrx(void* handle, long long, int, int) {
    handles.push_back(handle);
}

class HostContract : public ::testing::Test {
protected:
    fs::path log = fs::temp_directory_path() / ("ferrow-host-" + std::to_string(getpid()) + ".log");

    void SetUp() override {
        fs::remove(log);
        init(log.c_str(), 1);
    }
    void TearDown() override {
        for (void* handle : handles)
            asyncObject_release(handle);
        fs::remove(log);
    }

    static bool pumpUntil(const std::function<bool()>& done, double seconds = 5) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
        while (!done() && std::chrono::steady_clock::now() < end) {
            getUpdates();
            getRenderUpdates();
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        getUpdates();
        return done();
    }

    // Everything that the host posted to the object has taken effect when this returns.
    static void settle(void* handle) {
        asyncObject_bindEcho(handle, onEcho);
        const std::size_t before = echoes.size();
        for (int attempt = 0; attempt < 20; ++attempt) { // a full ring refuses a ping too
            asyncObject_Ping(handle, 1);
            if (pumpUntil([&] { return echoes.size() > before; }, 0.5))
                return;
        }
        FAIL() << "no answer";
    }

    std::string logText() const {
        std::ifstream in(log);
        return {std::istreambuf_iterator<char>(in), {}};
    }
};

TEST_F(HostContract, AnyClassAnswersPingAndTellsItsDeletion) {
    using Create = void* (*)(void);
    const std::vector<Create> creates{
        asyncObject_create, ValueLabelItem_create, Wireless_create,    agc_create,
        calibLine_create,   Radio_create,          HpsdrRadio_create,  J16_create,
        J16Filter_create,   J16FilterBands_create, J16FilterRx_create, vtrx_create,
        modDemod_create,    amModDemod_create,     ssbModDemod_create, JTModDemod_create};
    int n = 0;
    for (const Create create : creates) {
        void* handle = create();
        asyncObject_bindDeleted(handle, onDeleted);
        asyncObject_bindEcho(handle, onEcho);
        asyncObject_Ping(handle, ++n);
        ASSERT_TRUE(pumpUntil([&] { return !echoes.empty() && echoes.back() == n; })) << n;
        const std::size_t before = deletedOnes.size();
        asyncObject_release(handle);
        ASSERT_TRUE(pumpUntil([&] { return deletedOnes.size() > before; })) << n;
        EXPECT_EQ(deletedOnes.back(), 1);
    }
}

TEST_F(HostContract, AHostSetIsSilentAndRebindingReplaysNothing) {
    void* gain = agc_create();
    agc_bindAttack(gain, onFloat);
    agc_setAttack(gain, 0.5f);
    settle(gain);
    agc_bindAttack(gain, onFloat);
    getUpdates();
    EXPECT_TRUE(floats.empty());
    agc_release(gain);
}

TEST_F(HostContract, TwoThousandSetsInARowLoseOnlyWhatTheRingCannotHold) {
    void* gain = agc_create();
    for (int i = 0; i < 2000; ++i)
        agc_setManualGain(gain, i);
    for (int i = 0; i < 100; ++i) {
        settle(gain);
        agc_setHang(gain, static_cast<float>(i));
    }
    settle(gain);
    EXPECT_EQ(logText().find("processPropertySetQueue"), std::string::npos);
    agc_release(gain);
}

TEST_F(HostContract, SetsBeyondAFullRingAreRefusedAndLogged) {
    void* radio = HpsdrRadio_create();
    HpsdrRadio_setipAddress(radio, "127.0.0.78");
    Radio_bindvtrxAdded(radio, onVtrx);
    Radio_start(radio);
    // It makes the first transceiver, and then keeps the radio's context busy for more than 100 ms.
    ASSERT_TRUE(pumpUntil([] { return !handles.empty(); }, 10));
    for (int i = 0; i < 2000; ++i)
        HpsdrRadio_setFwVersion(radio, i);
    std::this_thread::sleep_for(std::chrono::milliseconds(500)); // a ping too would be refused
    settle(radio);
    const std::string text = logText();
    int refused = 0;
    for (std::size_t at = 0; (at = text.find("Can't queue property set", at)) != std::string::npos; ++at)
        ++refused;
    EXPECT_EQ(refused, 2000 - 1024);
    HpsdrRadio_setMac(radio, "still alive");
    settle(radio);
    Radio_stop(radio);
    HpsdrRadio_release(radio);
}

TEST_F(HostContract, ListsOfARadioReplayTheirItems) {
    void* radio = HpsdrRadio_create();
    HpsdrRadio_bindSampleRates(radio, onItem);
    ASSERT_TRUE(pumpUntil([] { return handles.size() == 4; }));
    for (void* item : handles) {
        ValueLabelItem_bindValue(item, onInt);
        ValueLabelItem_bindLabel(item, onText);
    }
    getUpdates();
    EXPECT_EQ(ints, (std::vector<int>{48000, 96000, 192000, 384000}));
    EXPECT_EQ(texts, (std::vector<std::string>{"48k", "96k", "192k", "384k"}));
    HpsdrRadio_release(radio);
}

TEST_F(HostContract, WritingAndResettingListsThroughHandles) {
    void* filter = J16Filter_create();
    for (int i = 0; i < 3; ++i) {
        void* row = J16FilterBands_create();
        J16FilterBands_setmaxfrequency(row, 1000 * i);
        J16Filter_setFilterBands(filter, ferrow_list_append, 0, row);
        J16FilterBands_release(row); // the list keeps its own reference
    }
    settle(filter);
    J16Filter_bindFilterBands(filter, onItem);
    getUpdates();
    EXPECT_EQ(handles.size(), 3u);
    J16Filter_setFilterBands(filter, ferrow_list_append, 0, filter); // of another class
    J16Filter_setFilterBands(filter, ferrow_list_append, 0, nullptr);
    J16Filter_resetFilterBands(filter);
    settle(filter);
    J16Filter_bindFilterBands(filter, onItem);
    getUpdates();
    EXPECT_EQ(handles.size(), 3u);
    EXPECT_NE(logText().find("J16Filter.FilterBands.set handle of another class"), std::string::npos);
    J16Filter_release(filter);
}

TEST_F(HostContract, AForeignHandleIsLoggedAndChangesNothing) {
    void* gain = agc_create();
    vtrx_setvfo(gain, 7000000);
    Radio_start(gain);
    vtrx_bindvfo(gain, onLong);
    settle(gain);
    const std::string text = logText();
    EXPECT_NE(text.find("vtrx.vfo.set handle of another class"), std::string::npos);
    EXPECT_NE(text.find("Radio.start() handle of another class"), std::string::npos);
    agc_release(gain);
}

TEST_F(HostContract, AnAddedTransceiverComesWithItsGainsAndFrequency) {
    void* radio = HpsdrRadio_create();
    Radio_bindvtrxAdded(radio, onVtrx);
    Radio_addVtrx(radio, 7100000, 0, 0);
    ASSERT_TRUE(pumpUntil([] { return handles.size() == 1; }));
    void* transceiver = handles[0];
    vtrx_bindvfo(transceiver, onLong);
    vtrx_bindrxagc(transceiver, onHandle);
    vtrx_bindtxagc(transceiver, onHandle);
    vtrx_binddrive(transceiver, onInt);
    ASSERT_TRUE(pumpUntil([] { return handles.size() == 3; }));
    EXPECT_EQ(longs, std::vector<long long>{7100000});
    EXPECT_TRUE(ints.empty());
    agc_bindVolume(handles[2], onFloat);
    getUpdates();
    EXPECT_EQ(floats, std::vector<float>{0}) << "txagc is silent";
    vtrx_setspecOffset(transceiver, 1000);
    vtrx_bindspecFreq(transceiver, onLong);
    settle(transceiver);
    EXPECT_EQ(longs.back(), 7101000);
    HpsdrRadio_release(radio);
}

TEST_F(HostContract, HandlesMayBeReleasedInAnyOrder) {
    for (int order = 0; order < 2; ++order) {
        void* radio = HpsdrRadio_create();
        asyncObject_bindDeleted(radio, onDeleted);
        Radio_bindvtrxAdded(radio, onVtrx);
        Radio_addVtrx(radio, 7100000, 0, 0);
        ASSERT_TRUE(pumpUntil([] { return handles.size() == 1; }));
        void* transceiver = handles[0];
        handles.clear();
        asyncObject_bindDeleted(transceiver, onDeleted);
        void* mode = ssbModDemod_create();
        asyncObject_bindDeleted(mode, onDeleted);
        vtrx_setModulation(transceiver, mode);
        vtrx_start(transceiver);
        const std::size_t before = deletedOnes.size();
        if (order == 0) {
            HpsdrRadio_release(radio);
            ssbModDemod_release(mode);
            vtrx_setvfo(transceiver, 3500000);
            vtrx_release(transceiver);
        } else {
            ssbModDemod_release(mode);
            vtrx_release(transceiver);
            Radio_stop(radio);
            HpsdrRadio_release(radio);
        }
        EXPECT_TRUE(pumpUntil([&] { return deletedOnes.size() == before + 3; })) << order;
    }
}

TEST_F(HostContract, ARadioWithoutHardwareLeavesItsTransceiverUnassigned) {
    void* radio = Radio_create();
    Radio_bindvtrxAdded(radio, onVtrx);
    Radio_addVtrx(radio, 7100000, -1, 0);
    ASSERT_TRUE(pumpUntil([] { return handles.size() == 1; }));
    vtrx_setvfo(handles[0], 14000000);
    settle(handles[0]);
    settle(radio);
    Radio_removeVtrx(radio, handles[0]);
    Radio_removeVtrx(radio, handles[0]);
    settle(radio);
    Radio_release(radio);
}

TEST_F(HostContract, Arrays) {
    void* array = floatArray_create(5);
    EXPECT_EQ(floatArray_size(array), 5);
    float* data = floatArray_data(array);
    for (int i = 0; i < 5; ++i)
        data[i] = static_cast<float>(i);
    EXPECT_EQ(floatArray_data(array)[4], 4);
    floatArray_delete(array);
    void* pairs = complexArray_create(3);
    EXPECT_EQ(complexArray_size(pairs), 3);
    complexArray_data(pairs)[5] = 1;
    complexArray_delete(pairs);
    for (const int n : {0, -1}) {
        void* empty = doubleArray_create(n);
        EXPECT_EQ(doubleArray_size(empty), 0);
        doubleArray_delete(empty);
    }
    floatArray_delete(nullptr);
    doubleArray_delete(nullptr);
    complexArray_delete(nullptr);
}

TEST_F(HostContract, Memory) {
    EXPECT_EQ(mem_malloc(15), nullptr);
    EXPECT_EQ(mem_malloc(0), nullptr);
    EXPECT_EQ(mem_malloc(-16), nullptr);
    void* block = mem_malloc(16);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 64, 0u);
    mem_memcpy(block, "0123456789abcde", 16);
    EXPECT_STREQ(static_cast<char*>(block), "0123456789abcde");
    mem_memcpy(block, "x", -1);
    mem_free(block);
    mem_free(nullptr);
}

TEST_F(HostContract, Transforms) {
    const double pi = 3.14159265358979323846;
    void* in = doubleArray_create(32); // 16 pairs
    void* out = doubleArray_create(32);
    for (int n = 0; n < 16; ++n) {
        doubleArray_data(in)[2 * n] = std::cos(2 * pi * 3 * n / 16);
        doubleArray_data(in)[2 * n + 1] = std::sin(2 * pi * 3 * n / 16);
    }
    fft_Fwd(in, out);
    for (int k = 0; k < 16; ++k)
        EXPECT_NEAR(std::hypot(doubleArray_data(out)[2 * k], doubleArray_data(out)[2 * k + 1]),
                    k == 3 ? 16 : 0, 1e-12);
    fft_Rev(out, out);
    for (int n = 0; n < 32; ++n)
        EXPECT_NEAR(doubleArray_data(out)[n], 16 * doubleArray_data(in)[n], 1e-12);
    void* real = doubleArray_create(16);
    for (int n = 0; n < 16; ++n)
        doubleArray_data(real)[n] = std::cos(2 * pi * 5 * n / 16);
    fft_FwdR(real, out);
    for (int k = 0; k <= 8; ++k)
        EXPECT_NEAR(doubleArray_data(out)[2 * k], k == 5 ? 8 : 0, 1e-12) << k;
    void* small = doubleArray_create(4);
    doubleArray_data(small)[0] = 77;
    fft_Fwd(in, small);
    fft_FwdR(real, small);
    EXPECT_EQ(doubleArray_data(small)[0], 77);
    EXPECT_NE(logText().find("fft_Fwd has 32 values in and room for 4"), std::string::npos);
    for (void* array : {in, out, real, small})
        doubleArray_delete(array);
}

TEST_F(HostContract, ProcessExitWithRunningThreadsIsClean) {
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // a fork would lose the pool's threads
    EXPECT_EXIT(
        {
            ferrow::test::leaveHandlesBehind();
            void* radio = HpsdrRadio_create();
            HpsdrRadio_setipAddress(radio, "127.0.0.77");
            Radio_start(radio);
            void* mode = ssbModDemod_create();
            Radio_bindvtrxAdded(radio, onVtrx);
            pumpUntil([] { return !handles.empty(); }, 2);
            if (!handles.empty()) {
                vtrx_setModulation(handles[0], mode);
                vtrx_start(handles[0]);
            }
            std::exit(0);
        },
        ::testing::ExitedWithCode(0), "");
}

} // namespace
