// The library's log: one spdlog logger named "fc", reached through these calls so that only log.cpp needs
// spdlog's headers. Before openLog the records go to the standard output, as spdlog's own default does.
#pragma once

#include <fmt/format.h>

#include <string_view>
#include <utility>

namespace ferrow {

// The logging library's own levels and numbers.
enum class LogLevel { Trace = 0, Debug = 1, Info = 2, Warn = 3, Err = 4, Critical = 5, Off = 6 };

// Makes the logger "fc" on the file `path` (appending) the default one, flushed on every record of level err.
// Throws what spdlog throws: the file cannot be opened, or the name exists already.
void openLog(const char* path);

// Level of all loggers, and of those to come.
void setLogLevel(LogLevel level);

bool logEnabled(LogLevel level);
void logRecord(LogLevel level, std::string_view text);

template <class... Args>
void logAt(LogLevel level, fmt::format_string<Args...> format, Args&&... args) {
    if (logEnabled(level))
        logRecord(level, fmt::format(format, std::forward<Args>(args)...));
}

template <class... Args>
void logError(fmt::format_string<Args...> format, Args&&... args) {
    logAt(LogLevel::Err, format, std::forward<Args>(args)...);
}

template <class... Args>
void logWarn(fmt::format_string<Args...> format, Args&&... args) {
    logAt(LogLevel::Warn, format, std::forward<Args>(args)...);
}

template <class... Args>
void logInfo(fmt::format_string<Args...> format, Args&&... args) {
    logAt(LogLevel::Info, format, std::forward<Args>(args)...);
}

template <class... Args>
void logTrace(fmt::format_string<Args...> format, Args&&... args) {
    logAt(LogLevel::Trace, format, std::forward<Args>(args)...);
}

} // namespace ferrow
