#include "core/tasks/realtime.hpp"

#include "core/tasks/log.hpp"

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <pthread.h>
#include <sched.h>
#include <string_view>
#include <unistd.h>

namespace ferrow {

int enterRealtimeClass(RealtimeLevel level) noexcept {
    const char* wish = std::getenv("FERROW_REALTIME");
    if (wish != nullptr && std::strcmp(wish, "0") == 0)
        return 0;
    sched_param parameters{};
    parameters.sched_priority = level == RealtimeLevel::Worker ? 5 : 6;
    return pthread_setschedparam(pthread_self(), SCHED_RR, &parameters);
}

void nameThread(const char* name) noexcept {
    std::array<char, 16> cut{};
    std::strncpy(cut.data(), name, cut.size() - 1);
    pthread_setname_np(pthread_self(), cut.data());
}

void holdCpuLatency() {
    const char* const wish = std::getenv("FERROW_CPU_LATENCY");
    if (wish == nullptr)
        return;
    const std::string_view text(wish);
    std::int32_t most = -1;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), most);
    if (error != std::errc{} || end != text.data() + text.size() || most < 0 || most > 1'000'000)
        return logError("FERROW_CPU_LATENCY {}: not a number of microseconds", text);
    // The wish holds for as long as the file is open.
    const int device = open("/dev/cpu_dma_latency", O_WRONLY | O_CLOEXEC);
    if (device < 0 || write(device, &most, sizeof most) != sizeof most) {
        logError("FERROW_CPU_LATENCY {}: refused, error {}", text, errno);
        if (device >= 0)
            close(device);
    }
}

} // namespace ferrow
