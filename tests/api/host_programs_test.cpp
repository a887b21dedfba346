// Random programs of a host: creates, binds, sets, verbs and releases in any order and with absurd values,
// while samples arrive and the pumps run. They must leave no object behind and no sanitizer a word to say.

#include "tests/trx/trx_fixture.hpp"

#include <ferrowcore/ferrowcore.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <limits>
#include <random>
#include <thread>

namespace ferrow {
namespace {

template <class T>
using Setter = void (*)(void*, T);

const Setter<int> vtrxInts[] = {vtrx_setADCs,        vtrx_setTxOffset,      vtrx_setaudioInput,
                                vtrx_setaudioOutput, vtrx_setdrive,         vtrx_setoversample,
                                vtrx_setOwnerID,     vtrx_setwaterfallSpeed};
const Setter<long long> vtrxLongs[] = {vtrx_setspecFreq, vtrx_setspecOffset, vtrx_setvfo,
                                       vtrx_setRxFrequency};
const Setter<double> vtrxDoubles[] = {vtrx_setADC1Gain,     vtrx_setADC1Phase, vtrx_setVoxHold,
                                      vtrx_setVoxThreshold, vtrx_setmicLevel,  vtrx_setsignalStrength,
                                      vtrx_setspecZoom};
const Setter<bool> vtrxBools[] = {vtrx_setDelayAudio,  vtrx_setSendAudio,           vtrx_setSendIQ,
                                  vtrx_setTuningValid, vtrx_setforegroundDisplay,   vtrx_setptt,
                                  vtrx_settune,        vtrx_setbandwidthSufficient, vtrx_setuseResampler,
                                  vtrx_setuseVox};
const Setter<int> radioInts[] = {Radio_setSampleRate,  Radio_setTuneDrive,      Radio_setcwHangTime,
                                 Radio_setdrive,       Radio_setmaxADCs,        Radio_setmaxHwReceivers,
                                 Radio_setsentPackets, Radio_setreceivedPackets};
const Setter<double> radioDoubles[] = {Radio_setValidBandwidthRatio, Radio_setrxLevelCalibration};
const Setter<bool> radioBools[] = {Radio_setRadioPtt, Radio_setcanTransmit, Radio_setcwInternal,
                                   Radio_setdisableVirtualReceivers, Radio_setptt};
const Setter<float> agcFloats[] = {agc_setAttack,  agc_setDecay,   agc_setHang,
                                   agc_setMaxGain, agc_setSquelch, agc_setVolume};
const Setter<int> modeInts[] = {modDemod_setdb1,
                                modDemod_setrxFreq,
                                modDemod_settxFreq,
                                JTModDemod_setDecimation,
                                JTModDemod_setFreqDevTable,
                                JTModDemod_setSaveMode,
                                JTModDemod_setStartDelaySamples,
                                JTModDemod_setTaperSamples,
                                JTModDemod_setendPadding,
                                JTModDemod_setperiod,
                                JTModDemod_setsamplesPerSymbol};

// Handles of one kind. A handle that a callback brings is the host's like one that it made.
struct Handles {
    std::vector<void*> all;
    void add(void* handle) { all.push_back(handle); }
    void* pick(std::mt19937& random) const { return all.empty() ? nullptr : all[random() % all.size()]; }
    void releaseOne(std::mt19937& random) {
        if (all.empty())
            return;
        const std::size_t i = random() % all.size();
        asyncObject_release(all[i]);
        all.erase(all.begin() + static_cast<std::ptrdiff_t>(i));
    }
    void releaseAll() {
        for (void* handle : all)
            asyncObject_release(handle);
        all.clear();
    }
};

Handles vtrxs, agcs, modes;
std::atomic<int> spectra{0};

void onVtrx(void* handle, long long, int, int) {
    vtrx_setmuted(handle, true); // no sound devices in these programs
    vtrxs.add(handle);
}
void onAgc(void* handle) {
    agcs.add(handle);
}
void onInt(int) {}
void onLong(long long) {}
void onDouble(double) {}
void onBool(bool) {}
void onText(const char*) {}
void onItem(unsigned long long, unsigned long long, void* item) {
    asyncObject_release(item);
}
void onAudio(void* array) {
    floatArray_delete(array);
}
void onIq(void* array, double, int) {
    complexArray_delete(array);
}
void onSpectrum(void* array, double low, double high, int) {
    EXPECT_EQ(floatArray_size(array), 2048);
    EXPECT_LE(low, high);
    ++spectra;
    floatArray_delete(array);
}

class HostPrograms : public ::testing::Test {
protected:
    test::Runtime runtime{0};
    std::mt19937 random{20260304};

    template <class T>
    T oneOf(std::initializer_list<T> values) {
        return values.begin()[random() % values.size()];
    }
    int anInt() {
        return oneOf({std::numeric_limits<int>::min(),
                      -48000,
                      -1,
                      0,
                      1,
                      2,
                      3,
                      4,
                      7,
                      63,
                      500,
                      2000,
                      48000,
                      44100,
                      96000,
                      192000,
                      384000,
                      2000000,
                      10000000,
                      std::numeric_limits<int>::max()});
    }
    long long aLong() {
        return oneOf({std::numeric_limits<long long>::min(), -14000000LL, -1LL, 0LL, 1000LL, 7000000LL,
                      14095600LL, 14100000LL, 144000000LL, 1LL << 40, std::numeric_limits<long long>::max()});
    }
    double aDouble() {
        return oneOf({std::nan(""), std::numeric_limits<double>::infinity(),
                      -std::numeric_limits<double>::infinity(), -1e300, -1.0, 0.0, 1e-300, 0.25, 0.5, 0.95,
                      1.0, 2.0, 3.7, 100.0, 4096.0, 1e300});
    }
    template <class T, std::size_t N>
    T any(const T (&setters)[N]) {
        return setters[random() % N];
    }

    void* aMode() {
        void* mode = oneOf({modDemod_create, amModDemod_create, ssbModDemod_create, JTModDemod_create})();
        // Where no file can be written.
        JTModDemod_setsaveDirectory(mode, "/nonexistent-folder/");
        JTModDemod_bindnewFile(mode, onText);
        modes.add(mode);
        return mode;
    }

    void bindVtrx(void* t) {
        vtrx_bindvfo(t, onLong);
        vtrx_bindsignalStrength(t, onDouble);
        vtrx_bindTuningValid(t, onBool);
        vtrx_bindptt(t, onBool);
        vtrx_bindrxagc(t, onAgc);
        vtrx_bindnewAudio(t, onAudio);
        vtrx_bindnewIQ(t, onIq);
        vtrx_bindnewSpectrum(t, onSpectrum);
    }

    void stepVtrx(void* t) {
        switch (random() % 16) {
        case 0:
        case 1:
            return any(vtrxInts)(t, anInt());
        case 2:
        case 3:
            return any(vtrxLongs)(t, aLong());
        case 4:
        case 5:
            return any(vtrxDoubles)(t, aDouble());
        case 6:
        case 7:
            return any(vtrxBools)(t, random() % 2 == 0);
        case 8:
            return vtrx_setRxFilter(t, anInt(), anInt());
        case 9:
            return vtrx_setTxFilter(t, anInt(), anInt());
        case 10:
            return vtrx_setModulation(t, random() % 4 == 0   ? nullptr
                                         : modes.all.empty() ? aMode()
                                                             : modes.pick(random));
        case 11:
            return bindVtrx(t);
        case 12:
            if (void* gain = agcs.pick(random))
                return random() % 2 == 0 ? vtrx_setrxagc(t, gain) : vtrx_settxagc(t, gain);
            return agcs.add(agc_create());
        case 13:
            if (random() % 8 == 0)
                return vtrx_remove(t);
            return vtrx_setvfo(t, 14095600 + static_cast<long long>(random() % 40000));
        default:
            return vtrx_start(t);
        }
    }

    void stepOthers() {
        switch (random() % 6) {
        case 0:
            if (void* gain = agcs.pick(random))
                any(agcFloats)(gain, static_cast<float>(aDouble()));
            return;
        case 1:
            if (void* gain = agcs.pick(random))
                agc_setEnabled(gain, random() % 2 == 0);
            return;
        case 2:
            if (void* mode = modes.pick(random))
                any(modeInts)(mode, anInt());
            return;
        case 3:
            if (void* mode = modes.pick(random)) {
                void* tones = floatArray_create(static_cast<int>(random() % 5));
                for (int i = 0; i < floatArray_size(tones); ++i)
                    floatArray_data(tones)[i] = static_cast<float>(aDouble());
                JTModDemod_queueMsg(mode, tones, anInt(), anInt());
                floatArray_delete(tones);
            }
            return;
        case 4:
            aMode();
            return modes.all.size() > 6 ? modes.releaseOne(random) : void();
        default:
            return vtrxs.all.size() > 6 ? vtrxs.releaseOne(random) : agcs.releaseOne(random);
        }
    }

    void stepRadio(void* radio) {
        switch (random() % 12) {
        case 0:
        case 1:
            return any(radioInts)(radio, anInt());
        case 2:
            return any(radioDoubles)(radio, aDouble());
        case 3:
            return any(radioBools)(radio, random() % 2 == 0);
        case 4:
            return Radio_setTransceiverOffset(radio, aLong());
        case 5:
            return Radio_addVtrx(radio, aLong(), anInt(), anInt() % 2);
        case 6:
            if (void* t = vtrxs.pick(random))
                Radio_removeVtrx(radio, t);
            return;
        case 7:
            Radio_bindptt(radio, onBool);
            Radio_bindSampleRate(radio, onInt);
            return;
        case 8:
            return Radio_setSampleRate(radio, oneOf({48000, 96000, 192000, 384000}));
        case 9:
            return Radio_stop(radio);
        default:
            return Radio_start(radio);
        }
    }

    static void pump() {
        getUpdates();
        getRenderUpdates();
    }

    // Every weak reference goes once the host has let go of everything.
    static bool expire(const std::vector<std::weak_ptr<asyncObject>>& objects) {
        vtrxs.releaseAll();
        agcs.releaseAll();
        modes.releaseAll();
        return test::waitFor(
            [&] {
                pump();
                vtrxs.releaseAll(); // what still came by a callback
                agcs.releaseAll();
                return std::all_of(objects.begin(), objects.end(), [](const auto& o) { return o.expired(); });
            },
            20);
    }
};

TEST_F(HostPrograms, OnARadioThatDeliversSamples) {
    auto fake = std::make_shared<test::FakeRadio>(rootSyncTask);
    fake->addReceiver(14095600, 48000);
    std::vector<std::weak_ptr<asyncObject>> objects{fake};
    void* radio = makeHandle<asyncObject>(fake);
    std::atomic<bool> leave{false};
    std::thread feeder([&leave, fake] {
        std::uint32_t n = 0;
        const auto filler = [&n](std::complex<float>* to, std::size_t count) {
            for (std::size_t i = 0; i < count; ++i, n = n * 1664525 + 1013904223)
                to[i] = {static_cast<float>(n >> 8) * 1e-8f, static_cast<float>(n & 0xffff) * 1e-6f};
        };
        while (!leave) {
            for (std::size_t i = 0; i < fake->hwReceivers.size(); ++i)
                fake->deliverSamples(filler, 700, i);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });
    fake.reset();
    Radio_bindvtrxAdded(radio, onVtrx);
    for (int i = 0; i < 3; ++i)
        Radio_addVtrx(radio, 14095600 + 1000 * i, 0, 0);
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(2500);
    while (std::chrono::steady_clock::now() < end) {
        for (auto burst = random() % 60; burst > 0; --burst) {
            if (void* t = vtrxs.pick(random))
                stepVtrx(t);
            stepOthers();
            if (random() % 4 == 0)
                stepRadio(radio);
        }
        pump();
        std::this_thread::sleep_for(std::chrono::milliseconds(random() % 3));
    }
    EXPECT_GT(spectra, 0);
    for (void* mode : modes.all)
        objects.push_back(*static_cast<Handle*>(mode));
    for (void* t : vtrxs.all)
        objects.push_back(*static_cast<Handle*>(t));
    leave = true;
    feeder.join();
    asyncObject_release(radio);
    EXPECT_TRUE(expire(objects)) << "an object outlives all handles";
    EXPECT_EQ(test::readFile(runtime.notePath()), "") << "something was thrown that is no exception";
}

TEST_F(HostPrograms, OnAnHpsdrRadioWithoutAPeer) {
    std::vector<std::weak_ptr<asyncObject>> objects;
    for (int program = 0; program < 3; ++program) {
        void* radio = HpsdrRadio_create();
        objects.push_back(*static_cast<Handle*>(radio));
        HpsdrRadio_setipAddress(radio, oneOf({"127.0.0.91", "", "no address"}));
        Radio_bindvtrxAdded(radio, onVtrx);
        HpsdrRadio_bindSampleRates(radio, onItem);
        HpsdrRadio_bindMac(radio, onText);
        Radio_addVtrx(radio, 14095600, 0, 0);
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(700);
        while (std::chrono::steady_clock::now() < end) {
            for (auto burst = random() % 20; burst > 0; --burst) {
                if (void* t = vtrxs.pick(random))
                    stepVtrx(t);
                stepOthers();
            }
            if (random() % 2 == 0) // each start takes a while
                stepRadio(radio);
            HpsdrRadio_setMac(radio, "00:11:22:33:44:55");
            pump();
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        asyncObject_release(radio);
    }
    EXPECT_TRUE(expire(objects)) << "a radio outlives its handle";
    EXPECT_EQ(test::readFile(runtime.notePath()), "");
}

TEST_F(HostPrograms, StartStopAddRemoveWhileChunksAreDelivered) {
    auto fake = std::make_shared<test::FakeRadio>(rootSyncTask);
    fake->addReceiver(14095600, 48000);
    void* radio = makeHandle<asyncObject>(fake);
    Radio_bindvtrxAdded(radio, onVtrx);
    Radio_setmaxHwReceivers(radio, 4);
    std::atomic<bool> leave{false};
    std::thread feeder([&] {
        while (!leave)
            for (std::size_t i = 0; i < fake->hwReceivers.size(); ++i) {
                fake->deliverSamples([](std::complex<float>* to, std::size_t n) { std::fill_n(to, n, 0.1f); },
                                     512, i);
                std::this_thread::sleep_for(std::chrono::microseconds(300));
            }
    });
    void* mode = ssbModDemod_create();
    for (int round = 0; round < 60; ++round) {
        Radio_addVtrx(radio, 7000000 + 100000 * round, 0, 0);
        Radio_start(radio);
        ASSERT_TRUE(test::waitFor([&] {
            pump();
            return !vtrxs.all.empty();
        }));
        for (void* t : vtrxs.all) {
            vtrx_setModulation(t, mode);
            vtrx_start(t);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(round % 7));
        Radio_stop(radio);
        if (round % 3 != 0)
            Radio_removeVtrx(radio, vtrxs.all.front());
        else if (round % 2 != 0)
            vtrx_remove(vtrxs.all.front());
        vtrxs.releaseAll();
    }
    leave = true;
    feeder.join();
    std::vector<std::weak_ptr<asyncObject>> objects{fake, *static_cast<Handle*>(mode)};
    asyncObject_release(mode);
    asyncObject_release(radio);
    fake.reset();
    EXPECT_TRUE(expire(objects));
}

TEST_F(HostPrograms, APropertyStormEndsWithTheLastValue) {
    auto fake = std::make_shared<test::FakeRadio>(rootSyncTask);
    fake->addReceiver(14095600, 48000);
    void* radio = makeHandle<asyncObject>(fake);
    Radio_bindvtrxAdded(radio, onVtrx);
    Radio_addVtrx(radio, 14095600, 0, 0);
    ASSERT_TRUE(test::waitFor([&] {
        pump();
        return !vtrxs.all.empty();
    }));
    auto* t = static_cast<vtrx*>(static_cast<Handle*>(vtrxs.all[0])->get());
    for (int round = 0; round < 200; ++round) {
        for (int i = 0; i < 100; ++i) {
            vtrx_setspecZoom(vtrxs.all[0], i);
            vtrx_setvfo(vtrxs.all[0], 14000000 + round * 100 + i);
            vtrx_setADCs(vtrxs.all[0], i % 16);
        }
        test::settle(t->context()); // a full ring would lose sets
    }
    EXPECT_EQ(t->vfo.value(), 14000000 + 199 * 100 + 99);
    EXPECT_EQ(t->specFreq.value(), t->vfo.value());
    EXPECT_EQ(t->specZoom.value(), 99);
    EXPECT_EQ(t->ADCs.value(), 3);
    std::vector<std::weak_ptr<asyncObject>> objects{fake, *static_cast<Handle*>(vtrxs.all[0])};
    asyncObject_release(radio);
    fake.reset();
    EXPECT_TRUE(expire(objects));
}

} // namespace
} // namespace ferrow
