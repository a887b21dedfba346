// spdlog is used header-only here: its registry then stays inside this library and cannot collide with a
// host's own use of spdlog.
#include "core/tasks/log.hpp"

#undef SPDLOG_COMPILED_LIB
#undef SPDLOG_SHARED_LIB
#define SPDLOG_HEADER_ONLY
#define SPDLOG_FMT_EXTERNAL
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

namespace ferrow {

namespace {

spdlog::level::level_enum toSpdlog(LogLevel level) { return static_cast<spdlog::level::level_enum>(level); }

} // namespace

void openLog(const char* path) {
    auto logger = spdlog::basic_logger_mt("fc", path);
    logger->flush_on(spdlog::level::err);
    spdlog::set_default_logger(std::move(logger));
}

void setLogLevel(LogLevel level) { spdlog::set_level(toSpdlog(level)); }

bool logEnabled(LogLevel level) {
    const spdlog::logger* logger = spdlog::default_logger_raw();
    return logger != nullptr && logger->should_log(toSpdlog(level));
}

void logRecord(LogLevel level, std::string_view text) {
    if (spdlog::logger* logger = spdlog::default_logger_raw())
        logger->log(toSpdlog(level), spdlog::string_view_t(text.data(), text.size()));
}

} // namespace ferrow
