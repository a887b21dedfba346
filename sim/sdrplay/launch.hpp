#pragma once
#include <string>
#include <utility>
#include <vector>

namespace ferrow::sim::rsp {

/// What a program that is to meet the stand-in for the SDRplay API finds in its environment.
struct LaunchSettings {
    std::string scene = "builtin";
    std::string devices;    ///< MODEL:SERIAL,...; empty: one of each model
    std::string recordFile; ///< of calls and streams, or empty
    double clockPpm = 0.0;
    double utcOffset = 0.0;
    double unplugAfter = 0.0; ///< seconds of a stream; 0: never
};

/// Names and values. Throws std::runtime_error if the stand-in's library is not found, std::invalid_argument
/// for devices that cannot be read.
std::vector<std::pair<std::string, std::string>> launchEnvironment(const LaunchSettings& settings);

/// Becomes that program, found along $PATH, or prints the environment for a shell if there is none. Returns
/// the exit code if it comes back: 0 after printing, 3 if the program cannot be run.
int launch(const LaunchSettings& settings, const std::vector<std::string>& program);

} // namespace ferrow::sim::rsp
