// Tells, when it is ended by SIGTERM or SIGINT, how often and how long the machine stood still meanwhile.
#include "tests/soak/machine_watch.hpp"

#include <csignal>
#include <fmt/format.h>

int main() {
    sigset_t ends;
    sigemptyset(&ends);
    sigaddset(&ends, SIGTERM);
    sigaddset(&ends, SIGINT);
    sigprocmask(SIG_BLOCK, &ends, nullptr); // before the threads
    ferrow::soak::MachineWatch watch;
    int signal = 0;
    sigwait(&ends, &signal);
    if (!watch.watches()) {
        fmt::print("without the right to a real-time priority no standstill of the machine is noted\n");
        return 0;
    }
    const ferrow::soak::Stalls stalls = watch.take();
    fmt::print(
        "the machine stood still {} times for more than {:.0f} ms, {:.0f} ms at most, {:.1f} s in all\n",
        stalls.count, ferrow::soak::MachineWatch::kLateMs, stalls.longestMs, stalls.seconds);
}
