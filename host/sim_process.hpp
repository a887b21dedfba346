// The simulated radio as a process beside this one.
#pragma once

#include "host/child_process.hpp"

#include <string>
#include <vector>

namespace ferrow {

// Path of ferrow-sim: beside this executable, else in $PATH. Throws Failure.
std::string findSimulator();

// An address of the loopback network where nothing uses the radios' port. Throws Failure.
std::string freeLoopbackAddress();

// A running one; ends with this object, or with this process.
class SimProcess {
public:
    // With `more` on its command line. Waits until it is ready. Throws Failure if it does not become so.
    SimProcess(const std::string& program, const std::string& address,
               const std::vector<std::string>& more = {});
    ~SimProcess();
    SimProcess(const SimProcess&) = delete;
    SimProcess& operator=(const SimProcess&) = delete;

private:
    ChildProcess process_;
};

} // namespace ferrow
