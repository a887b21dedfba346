#include "host/audio_devices.hpp"
#include "host/handle.hpp"
#include "host/library.hpp"
#include "tests/host/temporary.hpp"

#include <ferrowcore/ferrowcore.h>
#include <gtest/gtest.h>
#include <set>

using namespace ferrow;
using namespace std::chrono_literals;
using ferrow::test::TemporaryFolder;

namespace {

// Started once in a process.
Library& library() {
    static const TemporaryFolder folder;
    static Library started({folder.file("log"), false});
    return started;
}

} // namespace

TEST(Thunks, AreDifferentFunctionsThatReachTheirOwn) {
    std::vector<void (*)(short)> pointers;
    std::vector<int> heard(10);
    for (std::size_t i = 0; i < heard.size(); ++i)
        pointers.push_back(Thunks<short>::take([&heard, i](short x) { heard[i] += x; }));
    EXPECT_EQ(std::set(pointers.begin(), pointers.end()).size(), heard.size());
    for (std::size_t i = 0; i < heard.size(); ++i)
        pointers[i](static_cast<short>(i + 1));
    for (std::size_t i = 0; i < heard.size(); ++i)
        EXPECT_EQ(heard[i], static_cast<int>(i + 1));
    for (const auto pointer : pointers)
        Thunks<short>::giveBack(pointer);
    EXPECT_EQ(Thunks<short>::taken(), 0U);
}

TEST(Thunks, RunOutWithAnError) {
    std::vector<void (*)(unsigned char)> pointers;
    for (std::size_t i = 0; i < kThunksPerSignature; ++i)
        pointers.push_back(Thunks<unsigned char>::take([](unsigned char) {}));
    EXPECT_THROW(Thunks<unsigned char>::take([](unsigned char) {}), Failure);
    Thunks<unsigned char>::giveBack(pointers.back());
    EXPECT_EQ(Thunks<unsigned char>::take([](unsigned char) {}), pointers.back());
}

TEST(Thunks, MayGiveThemselvesBackWhileTheyRun) {
    void (*pointer)(signed char) = nullptr;
    int heard = 0;
    pointer = Thunks<signed char>::take([&](signed char x) {
        Thunks<signed char>::giveBack(pointer);
        heard = x;
    });
    pointer(5);
    EXPECT_EQ(heard, 5);
    EXPECT_EQ(Thunks<signed char>::taken(), 0U);
}

TEST(Handles, SlotsComeBackWithDeleted) {
    library();
    const std::size_t before = Thunks<int>::taken();
    const int live = liveObjects();
    for (int round = 0; round < 3; ++round) {
        std::vector<int> echoes(50);
        std::vector<Object> objects;
        for (std::size_t i = 0; i < echoes.size(); ++i) {
            objects.emplace_back(asyncObject_create());
            objects.back().bind(asyncObject_bindEcho, [&echoes, i](int value) { echoes[i] = value; });
            asyncObject_Ping(objects.back().get(), static_cast<int>(i) + 7);
        }
        EXPECT_EQ(Thunks<int>::taken(), before + 2 * echoes.size());
        EXPECT_TRUE(library().pumpUntil([&] { return echoes.back() != 0; }, 5s));
        for (std::size_t i = 0; i < echoes.size(); ++i)
            EXPECT_EQ(echoes[i], static_cast<int>(i) + 7);
        objects.clear();
        EXPECT_TRUE(library().settle(1));
        EXPECT_EQ(liveObjects(), live);
        EXPECT_EQ(Thunks<int>::taken(), before);
    }
}

TEST(Handles, MovingKeepsOneOwner) {
    library();
    const int live = liveObjects();
    Object first(asyncObject_create());
    Object second = std::move(first);
    EXPECT_FALSE(first);
    EXPECT_TRUE(second);
    EXPECT_EQ(liveObjects(), live + 1);
    second = Object();
    EXPECT_TRUE(library().settle(1));
    EXPECT_EQ(liveObjects(), live);
}

TEST(Devices, NoneIsAlwaysThere) {
    const AudioDevices devices = listAudioDevices(library());
    ASSERT_FALSE(devices.outputs.empty());
    ASSERT_FALSE(devices.inputs.empty());
    EXPECT_EQ(devices.outputs.front().value, -1);
    EXPECT_EQ(devices.outputs.front().label, "None");
    EXPECT_EQ(devices.inputs.front().value, 0);
    EXPECT_EQ(devices.inputs.front().label, "None");
    EXPECT_THROW(devices.usableOutput({AudioChoice::Kind::Device, 4711}), UsageError);
}

TEST(LibraryStart, ALogThatCannotBeWrittenIsAFailure) {
    EXPECT_THROW(Library({"/proc/no/such/log", false}), Failure);
}
