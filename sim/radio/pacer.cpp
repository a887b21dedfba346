#include "sim/radio/pacer.hpp"

#include "sim/sky/synth.hpp"

#include <algorithm>
#include <atomic>
#include <ctime>
#include <pthread.h>
#include <sys/prctl.h>

namespace ferrow::sim {
namespace {

std::atomic<double> utcOffset{0.0};

double skySeconds(std::int64_t nowNs) {
    static const std::int64_t epoch = monotonicNs();
    return 1e-9 * static_cast<double>(std::max<std::int64_t>(0, nowNs - epoch));
}

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

SkyPlace skyAt(std::int64_t nowNs, double factor) {
    SkyPlace place;
    place.time.trueRate = kBaseRate * factor;
    place.block = static_cast<std::int64_t>(skySeconds(nowNs) * place.time.trueRate / Synth::kHop);
    place.time.utcOfZero =
        utcSeconds() - static_cast<double>(place.block * Synth::kHop) / place.time.trueRate;
    return place;
}

void becomeStreamThread() {
    prctl(PR_SET_TIMERSLACK, 1000UL);
    // a radio's clock does not wait for a busy machine; where the limits forbid it, normal priority has to do
    const sched_param priority{1};
    pthread_setschedparam(pthread_self(), SCHED_RR, &priority);
    skySeconds(monotonicNs());
}

void sleepUntil(std::int64_t until) {
    const timespec at{static_cast<time_t>(until / 1'000'000'000), static_cast<long>(until % 1'000'000'000)};
    clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &at, nullptr);
}

} // namespace ferrow::sim
