#include "tests/soak/machine_watch.hpp"

#include <algorithm>
#include <chrono>
#include <limits>
#include <pthread.h>
#include <sched.h>
#include <utility>

namespace ferrow::soak {
namespace {

using Clock = std::chrono::steady_clock;

std::int64_t nanoseconds(Clock::time_point time) {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(time.time_since_epoch()).count();
}

} // namespace

MachineWatch::MachineWatch(EventLog* log, double notedMs)
    : log_(log), notedMs_(notedMs), last_(std::numeric_limits<std::int64_t>::min() / 2) {
    for (unsigned cpu = 0; cpu < std::thread::hardware_concurrency(); ++cpu)
        threads_.emplace_back([this, cpu] { watch(cpu); });
}

MachineWatch::~MachineWatch() {
    exit_ = true;
    for (std::thread& thread : threads_)
        thread.join();
}

bool MachineWatch::stalledWithin(double ms) const {
    return static_cast<double>(nanoseconds(Clock::now()) - last_) < 1e6 * ms;
}

Stalls MachineWatch::take() {
    const std::lock_guard lock(mutex_);
    return std::exchange(stalls_, {});
}

void MachineWatch::watch(unsigned cpu) {
    cpu_set_t own;
    CPU_ZERO(&own);
    CPU_SET(cpu, &own);
    sched_param most{};
    most.sched_priority = sched_get_priority_max(SCHED_FIFO);
    if (pthread_setaffinity_np(pthread_self(), sizeof own, &own) != 0 ||
        pthread_setschedparam(pthread_self(), SCHED_FIFO, &most) != 0) {
        denied_ = true;
        return;
    }
    constexpr auto kSleep = std::chrono::milliseconds(1);
    while (!exit_) {
        const auto due = Clock::now() + kSleep;
        std::this_thread::sleep_until(due);
        const auto now = Clock::now();
        const double late = std::chrono::duration<double, std::milli>(now - due).count();
        if (log_ != nullptr && late >= notedMs_)
            log_->add("stall", late);
        if (late < kLateMs)
            continue;
        last_ = nanoseconds(now);
        const std::lock_guard lock(mutex_);
        ++stalls_.count;
        stalls_.longestMs = std::max(stalls_.longestMs, late);
        stalls_.seconds += late / 1000;
    }
}

} // namespace ferrow::soak
