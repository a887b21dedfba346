// A started library for tests of its inside: log in a temporary file, pool, root context.
#pragma once

#include "core/async/async_object.hpp"
#include "core/tasks/log.hpp"
#include "core/tasks/runtime.hpp"
#include "core/tasks/sync_task.hpp"
#include "core/tasks/thread_pool.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <thread>
#include <unistd.h>

namespace ferrow::test {

inline std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// Waits until `done()` holds, at most `seconds`; returns whether it does.
inline bool waitFor(const std::function<bool()>& done, double seconds = 5) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (!done()) {
        if (std::chrono::steady_clock::now() > end)
            return done();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

// Started once in this process, with its log in a folder of its own.
class Runtime {
public:
    explicit Runtime(int mode = 1)
        : folder_(std::filesystem::temp_directory_path() /
                  ("ferrow-test-" + std::to_string(getpid()) + "-" +
                   ::testing::UnitTest::GetInstance()->current_test_info()->name())) {
        std::filesystem::create_directories(folder_);
        std::filesystem::remove(logPath());
        initRuntime(logPath().c_str(), mode);
    }
    ~Runtime() {
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }

    std::string folder() const { return folder_.string(); }
    std::string logPath() const { return (folder_ / "fc.log").string(); }
    std::string notePath() const { return logPath() + ".dump.txt"; }

    // The log so far; what was not flushed yet comes with a record of level err.
    std::string log() const {
        logError("-- read by the test --");
        return readFile(logPath());
    }
    bool logged(const std::string& words) const { return log().find(words) != std::string::npos; }

private:
    std::filesystem::path folder_;
};

// Waits until everything that stands in the queues of `context` now has run.
inline void settle(const std::shared_ptr<syncTask>& context) {
    std::atomic<bool> reached{false};
    std::make_shared<asyncObject>(context)->queueSeqItem(seqTask("settle", [&reached] { reached = true; }));
    ASSERT_TRUE(waitFor([&] { return reached.load(); }));
}

} // namespace ferrow::test
