// Measurements in real time, on a machine that may stand still by itself.
#pragma once

#include "tests/soak/machine_watch.hpp"

namespace ferrow::soak {

// What `attempt` returns. It is done again, up to five times in all, where a processor stood still for more
// than `borneMs` meanwhile: such an attempt tells nothing of the program.
template <class Attempt>
auto undisturbed(double borneMs, const Attempt& attempt) {
    constexpr int kAttempts = 5;
    MachineWatch watch;
    for (int i = 1;; ++i) {
        watch.take();
        auto result = attempt();
        if (i == kAttempts || watch.take().longestMs <= borneMs)
            return result;
    }
}

} // namespace ferrow::soak
