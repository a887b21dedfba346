// spdlog is used header-only here: its registry then stays inside this library and cannot collide with a
// host's own use of spdlog.
#include "core/tasks/log.hpp"

#undef SPDLOG_COMPILED_LIB
#undef SPDLOG_SHARED_LIB
#define SPDLOG_HEADER_ONLY
#define SPDLOG_FMT_EXTERNAL
#include <atomic>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

namespace ferrow {

namespace {

// The logger outlives the registry on purpose: threads may log while the process leaves.
std::atomic<std::shared_ptr<spdlog::logger>*> current{nullptr};

spdlog::level::level_enum toSpdlog(LogLevel level) {
    return static_cast<spdlog::level::level_enum>(level);
}

spdlog::logger& logger() {
    if (const auto* opened = current.load(std::memory_order_acquire))
        return **opened;
    return *spdlog::default_logger_raw();
}

} // namespace

void openLog(const char* path) {
    auto opened = spdlog::basic_logger_mt("fc", path);
    opened->flush_on(spdlog::level::err);
    spdlog::set_default_logger(opened);
    current.store(new std::shared_ptr<spdlog::logger>(std::move(opened)), std::memory_order_release);
}

void setLogLevel(LogLevel level) {
    spdlog::set_level(toSpdlog(level));
}

bool logEnabled(LogLevel level) {
    return logger().should_log(toSpdlog(level));
}

void logRecord(LogLevel level, std::string_view text) {
    logger().log(toSpdlog(level), spdlog::string_view_t(text.data(), text.size()));
}

} // namespace ferrow
