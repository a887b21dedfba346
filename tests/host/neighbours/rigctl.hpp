// Hamlib's rigctl, as a client of ours.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/wait.h>

namespace ferrow::test {

inline bool hasRigctl() {
    return std::system("command -v rigctl > /dev/null 2>&1") == 0;
}

struct RigctlOutcome {
    int code = -1;
    std::string output; // stdout and stderr
};

// `commands` as they stand behind the options; `options` in front of them.
inline RigctlOutcome rigctl(const std::string& server, const std::string& commands,
                            const std::string& options = "") {
    const std::string line = "timeout 60 rigctl " + options + " -m 2 -r " + server + " " + commands + " 2>&1";
    RigctlOutcome outcome;
    FILE* pipe = popen(line.c_str(), "r");
    if (!pipe)
        return outcome;
    char bytes[512];
    while (const std::size_t n = std::fread(bytes, 1, sizeof bytes, pipe))
        outcome.output.append(bytes, n);
    const int status = pclose(pipe);
    outcome.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return outcome;
}

} // namespace ferrow::test
