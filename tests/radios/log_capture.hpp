// The library's log as a test sees it: everything logged since the capture was made.
#pragma once

#include "core/tasks/log.hpp"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <unistd.h>

namespace ferrow::test {

class LogCapture {
public:
    explicit LogCapture(LogLevel level = LogLevel::Trace) {
        setLogLevel(level);
        start = contents().size();
    }
    ~LogCapture() { setLogLevel(LogLevel::Err); }

    // What opens the log on a file, once per process: a program that needs the whole runtime puts its start
    // here before the first capture.
    static void (*&opener())(const char*) {
        static void (*open)(const char*) = openLog;
        return open;
    }

    std::string text() const { return contents().substr(start); }

    // Records of which `words` is a part.
    int count(const std::string& words) const {
        std::istringstream lines(text());
        int found = 0;
        for (std::string line; std::getline(lines, line);)
            found += line.find(words) != std::string::npos;
        return found;
    }

    // Records of the given level name whose text is exactly `words`.
    int exactly(const std::string& level, const std::string& words) const {
        std::istringstream lines(text());
        const std::string tail = "[fc] [" + level + "] " + words;
        int found = 0;
        for (std::string line; std::getline(lines, line);)
            found +=
                line.size() >= tail.size() && line.compare(line.size() - tail.size(), tail.size(), tail) == 0;
        return found;
    }

private:
    static const std::string& path() {
        static const std::string name = [] {
            std::string pattern = std::filesystem::temp_directory_path() / "ferrow-log-XXXXXX";
            const int file = mkstemp(pattern.data());
            close(file);
            opener()(pattern.c_str());
            setLogLevel(LogLevel::Trace);
            std::atexit([] { std::remove(path().c_str()); });
            return pattern;
        }();
        return name;
    }

    // A record of level err flushes those before it.
    static std::string contents() {
        const std::string& name = path();
        logError("flush");
        std::ostringstream all;
        all << std::ifstream(name).rdbuf();
        return all.str();
    }

    std::size_t start = 0;
};

} // namespace ferrow::test
