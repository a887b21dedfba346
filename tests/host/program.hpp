// Runs ferrow, and ferrow-sim beside it, as a user does.
#pragma once

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace ferrow::test {

struct Outcome {
    int code = -1;      // -1: ended by a signal
    std::string output; // stdout and stderr
};

// A program in the background, its stdout and stderr in one pipe.
class Running {
public:
    explicit Running(std::vector<std::string> arguments) {
        int ends[2];
        EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
        pid_ = fork();
        if (pid_ == 0) {
            dup2(ends[1], STDOUT_FILENO);
            dup2(ends[1], STDERR_FILENO);
            std::vector<char*> argv;
            for (auto& one : arguments)
                argv.push_back(one.data());
            argv.push_back(nullptr);
            execv(argv[0], argv.data());
            _exit(127);
        }
        close(ends[1]);
        output_ = ends[0];
    }
    ~Running() {
        signal(SIGKILL);
        finish();
    }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

    // Reads on until the text has come; false if the program ends without.
    bool waitFor(const std::string& text) {
        while (outcome_.output.find(text) == std::string::npos)
            if (!readSome())
                return false;
        return true;
    }
    void signal(int number) const {
        if (pid_ > 0)
            kill(pid_, number);
    }
    // Waits for more of it; false once it has ended.
    bool readSome() {
        char bytes[4096];
        const ssize_t n = pid_ > 0 ? read(output_, bytes, sizeof bytes) : 0;
        if (n > 0)
            outcome_.output.append(bytes, static_cast<std::size_t>(n));
        return n > 0;
    }
    // What it has written, as far as it has been read.
    const std::string& output() const { return outcome_.output; }
    pid_t pid() const { return pid_; }
    Outcome finish() {
        while (readSome()) {
        }
        if (pid_ > 0) {
            int status = 0;
            waitpid(pid_, &status, 0);
            outcome_.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
            pid_ = -1;
            close(output_);
        }
        return outcome_;
    }

private:
    pid_t pid_ = -1;
    int output_ = -1;
    Outcome outcome_;
};

inline Outcome runFerrow(const std::vector<std::string>& arguments) {
    std::vector<std::string> all{FERROW_PROGRAM};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return Running(std::move(all)).finish();
}

} // namespace ferrow::test
