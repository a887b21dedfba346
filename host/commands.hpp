// The program's commands, each in a file of its own.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <string>

namespace ferrow {

// What is left to do once the command line has been read; returns the exit code, throws Failure or
// UsageError.
using Action = std::function<int()>;

// Each adds its command to the program, and sets `chosen` when that is the one given.
void addDiscoverCommand(CLI::App& program, Action& chosen);
void addDevicesCommand(CLI::App& program, Action& chosen);
void addListenCommand(CLI::App& program, Action& chosen);
void addFt8Command(CLI::App& program, Action& chosen);
void addTalkCommand(CLI::App& program, Action& chosen);
void addTuneCommand(CLI::App& program, Action& chosen);
void addTextCommand(CLI::App& program, Action& chosen);
void addSendCommand(CLI::App& program, Action& chosen);
void addServeCommand(CLI::App& program, Action& chosen);
void addDenoiseCommand(CLI::App& program, Action& chosen);
void addDemoCommand(CLI::App& program, Action& chosen);
void addStressCommand(CLI::App& program, Action& chosen);
void addLatencyCommand(CLI::App& program, Action& chosen);

// The whole program: 0 done, 1 something failed, 2 the command line is wrong.
int runFerrow(int argc, const char* const* argv);

} // namespace ferrow
