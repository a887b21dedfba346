// Ends the process when its control loop does not come round any more: the core file, or the report of a
// sanitizer, then tells where each thread stands.
#pragma once

#include <atomic>
#include <chrono>
#include <mutex>
#include <string>
#include <thread>

namespace ferrow::soak {

class Progress {
public:
    explicit Progress(std::chrono::seconds limit);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // One round done.
    void round();
    // What goes on, for the words at the end.
    void say(const std::string& what);
    // Longest time between two rounds, s.
    double longestRound() const { return longest_; }
    std::chrono::seconds limit() const { return limit_; }

    // Says why, and aborts.
    [[noreturn]] void fail(const std::string& why);

private:
    using Clock = std::chrono::steady_clock;

    const std::chrono::seconds limit_;
    std::atomic<Clock::rep> last_;
    std::atomic<double> longest_{0};
    std::mutex mutex_;
    std::string what_;
    std::jthread watcher_;
};

} // namespace ferrow::soak
