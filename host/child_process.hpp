// Other programs that this one runs.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace ferrow {

// A running program in a process group of its own: a Ctrl-C is for this program, which then ends the other
// one in order. Killed with the object.
class ChildProcess {
public:
    // `program`: a path. Throws Failure.
    ChildProcess(const std::string& program, std::vector<std::string> arguments);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // Whether it writes something within that time, or had done so.
    bool speaks(int milliseconds) const;
    // All that it writes from now on.
    std::string readToEnd() const;
    bool running();
    void signal(int number) const;
    // Waits for its end; the exit code, -1 if a signal ended it.
    int wait();

private:
    pid_t pid_ = -1;
    int output_ = -1; // the reading end of its stdout
    int code_ = -1;
};

// Runs it to its end and returns what it wrote on stdout. Throws Failure if it ends with anything but 0.
std::string outputOf(const std::string& program, const std::vector<std::string>& arguments);

// Path of a program in $PATH; empty if there is none.
std::string programOnPath(const std::string& name);

} // namespace ferrow
