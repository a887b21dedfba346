// When the machine itself stood still: what a virtual machine does not get, no program can make up for.
#pragma once

#include "tests/soak/event_log.hpp"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

namespace ferrow::soak {

struct Stalls {
    int count = 0;
    double longestMs = 0, seconds = 0;
};

// On each processor a thread of the highest real-time priority that sleeps a millisecond at a time, and notes
// when it came late by more than kLate. Without the right to that priority nothing is noted: an ordinary
// thread is late for other reasons.
class MachineWatch {
public:
    static constexpr double kLateMs = 8; // shorter ones the ring of 10.7 ms has to bear

    // Standstills of `notedMs` and more go to `log` as "stall", if there is one.
    explicit MachineWatch(EventLog* log = nullptr, double notedMs = 2);
    ~MachineWatch();
    MachineWatch(const MachineWatch&) = delete;
    MachineWatch& operator=(const MachineWatch&) = delete;

    // Whether it may note anything, once its threads have begun.
    bool watches() const { return !denied_; }
    // Whether any processor stood still within the last `ms`.
    bool stalledWithin(double ms) const;
    // Since the last call.
    Stalls take();

private:
    void watch(unsigned cpu);

    EventLog* const log_;
    const double notedMs_;
    std::atomic<bool> exit_{false}, denied_{false};
    std::atomic<std::int64_t> last_; // ns of the steady clock
    std::mutex mutex_;               // the rest
    Stalls stalls_;
    std::vector<std::thread> threads_;
};

} // namespace ferrow::soak
