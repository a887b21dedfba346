// The library's log as it grows: how often it has said what.
#pragma once

#include <fstream>
#include <map>
#include <string>

namespace ferrow::soak {

class LogWatch {
public:
    explicit LogWatch(const std::string& file) : file_(file) {}

    // Records that came since the last call: their words, with # for each number, and how many.
    std::map<std::string, long long> take();

private:
    std::ifstream file_;
};

} // namespace ferrow::soak
