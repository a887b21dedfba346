// When the machine stood still and when the tone was missing, for whoever asks what comes of what.
#pragma once

#include <chrono>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string_view>

namespace ferrow::soak {

// A table of seconds since its beginning, kind and milliseconds; any thread.
class EventLog {
public:
    explicit EventLog(const std::filesystem::path& file) : out_(file) { out_ << "seconds,kind,ms\n"; }

    void add(std::string_view kind, double ms) {
        const std::chrono::duration<double> time = std::chrono::steady_clock::now() - began_;
        const std::lock_guard lock(mutex_);
        out_ << time.count() << ',' << kind << ',' << ms
             << std::endl; // whoever breaks the run off has it too
    }

private:
    const std::chrono::steady_clock::time_point began_ = std::chrono::steady_clock::now();
    std::mutex mutex_;
    std::ofstream out_;
};

} // namespace ferrow::soak
