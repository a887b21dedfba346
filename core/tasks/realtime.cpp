#include "core/tasks/realtime.hpp"

#include <cstdlib>
#include <cstring>
#include <pthread.h>
#include <sched.h>

namespace ferrow {

int enterRealtimeClass(RealtimeLevel level) noexcept {
    const char* wish = std::getenv("FERROW_REALTIME");
    if (wish != nullptr && std::strcmp(wish, "0") == 0)
        return 0;
    sched_param parameters{};
    parameters.sched_priority = level == RealtimeLevel::Worker ? 5 : 6;
    return pthread_setschedparam(pthread_self(), SCHED_RR, &parameters);
}

} // namespace ferrow
