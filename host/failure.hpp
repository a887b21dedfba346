// How the program ends when it cannot go on.
#pragma once

#include <stdexcept>

namespace ferrow {

enum ExitCode { kExitDone = 0, kExitFailed = 1, kExitUsage = 2 };

// Something outside went wrong: ends with kExitFailed.
class Failure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The command line asks for something that cannot be: ends with kExitUsage.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace ferrow
