#include "sim/radio/pacer.hpp"

#include <atomic>
#include <ctime>

namespace ferrow::sim {
namespace {

std::atomic<double> utcOffset{0.0};

} // namespace

std::int64_t monotonicNs() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::int64_t>(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}

double utcSeconds() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec) +
           utcOffset.load(std::memory_order_acquire);
}

void setUtcOffset(double seconds) {
    utcOffset.store(seconds, std::memory_order_release);
}

void sleepUntil(std::int64_t until) {
    const timespec at{static_cast<time_t>(until / 1'000'000'000), static_cast<long>(until % 1'000'000'000)};
    clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &at, nullptr);
}

} // namespace ferrow::sim
