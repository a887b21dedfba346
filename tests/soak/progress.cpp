#include "tests/soak/progress.hpp"

#include <algorithm>
#include <cstdlib>
#include <fmt/format.h>

namespace ferrow::soak {

Progress::Progress(std::chrono::seconds limit)
    : limit_(limit), last_(Clock::now().time_since_epoch().count()) {
    watcher_ = std::jthread([this](const std::stop_token& stop) {
        while (!stop.stop_requested()) {
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
            const Clock::time_point last{Clock::duration(last_.load(std::memory_order_relaxed))};
            if (Clock::now() - last > limit_)
                fail(fmt::format("the control loop has not come round for {} s", limit_.count()));
        }
    });
}

Progress::~Progress() = default;

void Progress::round() {
    const auto now = Clock::now().time_since_epoch().count();
    const auto before = last_.exchange(now, std::memory_order_relaxed);
    const double seconds = std::chrono::duration<double>(Clock::duration(now - before)).count();
    longest_ = std::max(longest_.load(), seconds);
}

void Progress::say(const std::string& what) {
    const std::lock_guard lock(mutex_);
    what_ = what;
}

void Progress::fail(const std::string& why) {
    std::string what;
    {
        const std::lock_guard lock(mutex_);
        what = what_;
    }
    fmt::print(stderr, "\nsoak: {}, in \"{}\"; aborting\n", why, what);
    std::abort();
}

} // namespace ferrow::soak
