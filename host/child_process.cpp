#include "host/child_process.hpp"

#include "host/failure.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fmt/format.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace ferrow {

ChildProcess::ChildProcess(const std::string& program, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), program);
    std::vector<char*> argv;
    for (std::string& one : arguments)
        argv.push_back(one.data());
    argv.push_back(nullptr);
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        throw Failure(fmt::format("no pipe to {}", program));
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    posix_spawnattr_setpgroup(&attributes, 0);
    const int error = posix_spawn(&pid_, program.c_str(), &actions, &attributes, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    close(ends[1]);
    if (error != 0) {
        close(ends[0]);
        throw Failure(fmt::format("cannot start {}", program));
    }
    output_ = ends[0];
}

ChildProcess::~ChildProcess() {
    signal(SIGKILL);
    wait();
    close(output_);
}

bool ChildProcess::speaks(int milliseconds) const {
    pollfd waiting{output_, POLLIN, 0};
    char first = 0;
    return poll(&waiting, 1, milliseconds) > 0 && read(output_, &first, 1) == 1;
}

std::string ChildProcess::readToEnd() const {
    std::string text;
    std::array<char, 4096> bytes;
    for (ssize_t n = 0; (n = read(output_, bytes.data(), bytes.size())) > 0 || (n < 0 && errno == EINTR);)
        text.append(bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(n, 0)));
    return text;
}

bool ChildProcess::running() {
    int status = 0;
    if (pid_ > 0 && waitpid(pid_, &status, WNOHANG) == pid_) {
        code_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        pid_ = -1;
    }
    return pid_ > 0;
}

void ChildProcess::signal(int number) const {
    if (pid_ > 0)
        kill(pid_, number);
}

int ChildProcess::wait() {
    int status = 0;
    while (pid_ > 0) {
        if (waitpid(pid_, &status, 0) < 0 && errno == EINTR)
            continue;
        code_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        pid_ = -1;
    }
    return code_;
}

std::string outputOf(const std::string& program, const std::vector<std::string>& arguments) {
    ChildProcess child(program, arguments);
    std::string text = child.readToEnd();
    if (const int code = child.wait(); code != 0)
        throw Failure(fmt::format("{} ended with {}", program, code));
    return text;
}

std::string programOnPath(const std::string& name) {
    const char* path = std::getenv("PATH");
    const std::string folders = path ? path : "";
    for (std::size_t at = 0; at < folders.size();) {
        const std::size_t end = std::min(folders.find(':', at), folders.size());
        const std::filesystem::path candidate = std::filesystem::path(folders.substr(at, end - at)) / name;
        std::error_code ignored;
        if (access(candidate.c_str(), X_OK) == 0 && !std::filesystem::is_directory(candidate, ignored))
            return candidate.string();
        at = end + 1;
    }
    return {};
}

} // namespace ferrow
