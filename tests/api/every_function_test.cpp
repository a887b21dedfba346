// Every exported function, called in a sane life of one object of every class.

#include "tests/api/interface_calls.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <set>
#include <string>
#include <thread>
#include <unistd.h>

namespace ferrow::test {
namespace {

namespace fs = std::filesystem;

int deleted = 0;
int echoed = 0;

bool pumpUntil(const std::function<bool()>& done) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!done() && std::chrono::steady_clock::now() < end) {
        getUpdates();
        getRenderUpdates();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return done();
}

// Everything that the host posted to any of the objects has run when this returns.
void settle(Objects& objects) {
    for (const auto& [owner, handle] : objects.handles) {
        if (owner.find("Array") != std::string::npos)
            continue;
        asyncObject_bindEcho(handle, [](int value) { echoed = value; });
        static int ping = 0;
        const int mine = ++ping;
        asyncObject_Ping(handle, mine);
        ASSERT_TRUE(pumpUntil([mine] { return echoed == mine; })) << owner;
    }
}

std::string contents(const fs::path& path) {
    std::ifstream in(path);
    return {std::istreambuf_iterator<char>(in), {}};
}

TEST(EveryFunction, StandsInTheTableOnce) {
    std::set<std::string> table, interface;
    for (const Call& call : kCalls)
        EXPECT_TRUE(table.insert(call.name).second) << call.name;
    std::ifstream in(fs::path(FERROW_SOURCE_DIR) / "tests/data/exports.txt");
    for (std::string name; in >> name;)
        interface.insert(name);
    EXPECT_EQ(table, interface);
    EXPECT_EQ(table.size(), 634u);
}

TEST(EveryFunction, IsCalledInASaneLife) {
    const fs::path log = fs::temp_directory_path() / ("ferrow-every-" + std::to_string(getpid()) + ".log");
    fs::remove(log);
    const std::string logName = log.string();
    Objects objects;
    objects.log = logName.c_str();
    objects.recording = "/nonexistent.wav";
    int calls = runPhase(Phase::Start, objects);

    calls += runPhase(Phase::Create, objects);
    objects.spectrumIn = objects["doubleArray"];
    objects.spectrumOut = doubleArray_create(32);
    std::fill_n(floatArray_data(objects["floatArray"]), 16, 0.0f);
    std::fill_n(doubleArray_data(objects["doubleArray"]), 16, 1.0);
    for (const auto& [owner, handle] : objects.handles)
        EXPECT_NE(handle, nullptr) << owner;

    calls += runPhase(Phase::Bind, objects);
    int living = 0;
    for (const auto& [owner, handle] : objects.handles)
        if (owner.find("Array") == std::string::npos) {
            asyncObject_bindDeleted(handle, [](int) { ++deleted; });
            ++living;
        }
    EXPECT_EQ(living, 36);
    settle(objects);
    EXPECT_GT(callbacksRun, 10) << "a bind replays what the library has given";

    for (const Phase phase : {Phase::Set, Phase::Verb, Phase::Reset}) {
        calls += runPhase(phase, objects);
        settle(objects);
    }
    EXPECT_EQ(objects.records, -1) << "a recording that is not there";
    EXPECT_EQ(objects.crc, 0);
    EXPECT_TRUE(objects.crcRight);
    EXPECT_STREQ(static_cast<char*>(objects.memory), "0123456789abcde");
    EXPECT_EQ(doubleArray_data(objects.spectrumOut)[0], 16) << "fft_FwdR came last: the sum of the input";

    calls += runPhase(Phase::Release, objects);
    doubleArray_delete(objects.spectrumOut);
    EXPECT_EQ(calls, 634);
    EXPECT_TRUE(pumpUntil([&] { return deleted == living; }))
        << deleted << " of " << living << " objects are gone";

    const std::string text = contents(log);
    for (const char* wrong : {"processPropertySetQueue", "null handle", "handle of another class",
                              "getUpdates ", "Can't queue", "worker"})
        EXPECT_EQ(text.find(wrong), std::string::npos) << wrong << " in:\n" << text;
    EXPECT_EQ(contents(logName + ".dump.txt"), "");
    fs::remove(log);
}

} // namespace
} // namespace ferrow::test
