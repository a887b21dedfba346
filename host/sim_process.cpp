#include "host/sim_process.hpp"

#include "host/discovery.hpp"
#include "host/failure.hpp"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fmt/format.h>
#include <netinet/in.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace ferrow {
namespace {

namespace fs = std::filesystem;

constexpr const char* kName = "ferrow-sim";
constexpr int kReadyMs = 10000;

struct Started {
    pid_t pid;
    int output; // the reading end of its stdout
};

Started spawn(const std::string& program, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), program);
    std::vector<char*> argv;
    for (std::string& one : arguments)
        argv.push_back(one.data());
    argv.push_back(nullptr);
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        throw Failure("no pipe to the simulator");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    // A Ctrl-C is for this program, which then ends the other one in order.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    posix_spawnattr_setpgroup(&attributes, 0);
    pid_t pid = -1;
    const int error = posix_spawn(&pid, program.c_str(), &actions, &attributes, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    close(ends[1]);
    if (error != 0) {
        close(ends[0]);
        throw Failure(fmt::format("cannot start {}", program));
    }
    return {pid, ends[0]};
}

int waitFor(pid_t pid) {
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool executable(const fs::path& path) {
    return access(path.c_str(), X_OK) == 0 && !fs::is_directory(path);
}

} // namespace

std::string findSimulator() {
    std::error_code error;
    const fs::path beside = fs::read_symlink("/proc/self/exe", error).parent_path() / kName;
    if (!error && executable(beside))
        return beside.string();
    const char* path = std::getenv("PATH");
    const std::string folders = path ? path : "";
    for (std::size_t at = 0; at < folders.size();) {
        const std::size_t end = std::min(folders.find(':', at), folders.size());
        const fs::path candidate = fs::path(folders.substr(at, end - at)) / kName;
        if (executable(candidate))
            return candidate.string();
        at = end + 1;
    }
    throw Failure("ferrow-sim is neither beside ferrow nor in $PATH");
}

std::string askSimulator(const std::string& program, const std::vector<std::string>& arguments) {
    const Started started = spawn(program, arguments);
    std::string text;
    std::array<char, 4096> bytes;
    for (ssize_t n = 0;
         (n = read(started.output, bytes.data(), bytes.size())) > 0 || (n < 0 && errno == EINTR);)
        text.append(bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(n, 0)));
    close(started.output);
    if (const int code = waitFor(started.pid); code != 0)
        throw Failure(fmt::format("{} ended with {}", program, code));
    return text;
}

std::string freeLoopbackAddress() {
    const auto pid = static_cast<unsigned>(getpid());
    for (unsigned attempt = 0; attempt < 100; ++attempt) {
        const std::string text = fmt::format("127.{}.{}.{}", 100 + attempt, pid / 254 % 254, 1 + pid % 254);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(kRadioPort);
        inet_pton(AF_INET, text.c_str(), &address.sin_addr);
        const int probe = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        const bool free = bind(probe, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
        close(probe);
        if (free)
            return text;
    }
    throw Failure("no free address in the loopback network");
}

SimProcess::SimProcess(const std::string& program, const std::string& address) {
    const Started started = spawn(program, {"--address", address, "--die-with-parent"});
    pid_ = started.pid;
    pollfd waiting{started.output, POLLIN, 0};
    char first = 0;
    const bool ready = poll(&waiting, 1, kReadyMs) > 0 && read(started.output, &first, 1) == 1;
    close(started.output); // it writes nothing after its ready line
    if (!ready) {
        kill(pid_, SIGKILL);
        waitFor(pid_);
        throw Failure("the simulated radio does not start");
    }
}

SimProcess::~SimProcess() {
    kill(pid_, SIGTERM);
    waitFor(pid_);
}

} // namespace ferrow
