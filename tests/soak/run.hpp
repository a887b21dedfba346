// A whole run: the library under load in this process, radio and sound server as processes beside it.
#pragma once

#include <filesystem>
#include <string>

namespace ferrow::soak {

struct Options {
    double minutes = 10;
    std::string plan = "full";
    unsigned seed = 1;
    int transceivers = 16;
    std::filesystem::path
        folder; // for logs and what the radios record; empty: a temporary one, removed if all is well
    std::filesystem::path json; // report
};

// True if all criteria are met. The table goes to the standard output, progress to the error stream. Throws
// Failure.
bool run(const Options& options);

} // namespace ferrow::soak
