#include "core/tasks/realtime.hpp"
#include "tests/support/runtime.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <pthread.h>
#include <thread>
#include <unistd.h>

namespace ferrow {
namespace {

constexpr const char* kDevice = "/dev/cpu_dma_latency";

int devicesOpen() {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone; // the folder's own
        count += std::filesystem::read_symlink(entry.path(), gone) == kDevice;
    }
    return count;
}

TEST(ThreadName, IsCutToWhatTheSystemTakes) {
    char name[16] = "";
    std::thread([&] {
        nameThread("a name of a thread");
        pthread_getname_np(pthread_self(), name, sizeof name);
    }).join();
    EXPECT_STREQ(name, "a name of a thr");
}

TEST(ThreadName, TellsWorkers) {
    const test::Runtime runtime;
    int workers = 0;
    EXPECT_TRUE(test::waitFor([&] {
        workers = 0;
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task"))
            workers += test::readFile(entry.path() / "comm") == "fc worker\n";
        return workers == static_cast<int>(std::min(std::thread::hardware_concurrency(), 20u));
    })) << workers;
}

TEST(CpuLatency, IsLeftAloneUnlessAsked) {
    unsetenv("FERROW_CPU_LATENCY");
    const test::Runtime runtime;
    EXPECT_EQ(devicesOpen(), 0);
    EXPECT_FALSE(runtime.logged("FERROW_CPU_LATENCY"));
}

TEST(CpuLatency, IsHeldOrTheRefusalIsLogged) {
    setenv("FERROW_CPU_LATENCY", "20", 1);
    const test::Runtime runtime;
    const bool may = access(kDevice, W_OK) == 0;
    EXPECT_EQ(devicesOpen(), may ? 1 : 0);
    EXPECT_EQ(runtime.logged("FERROW_CPU_LATENCY 20: refused"), !may);
}

TEST(CpuLatency, AnythingElseIsLogged) {
    const test::Runtime runtime;
    for (const char* wish : {"", "fast", "-1", "20us", "1000001", "99999999999"}) {
        setenv("FERROW_CPU_LATENCY", wish, 1);
        holdCpuLatency();
        EXPECT_TRUE(
            runtime.logged(std::string("FERROW_CPU_LATENCY ") + wish + ": not a number of microseconds"))
            << wish;
    }
    EXPECT_EQ(devicesOpen(), 0);
}

} // namespace
} // namespace ferrow
