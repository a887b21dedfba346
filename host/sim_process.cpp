#include "host/sim_process.hpp"

#include "host/discovery.hpp"
#include "host/failure.hpp"

#include <arpa/inet.h>
#include <csignal>
#include <filesystem>
#include <fmt/format.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace ferrow {
namespace {

namespace fs = std::filesystem;

constexpr const char* kName = "ferrow-sim";
constexpr int kReadyMs = 10000;

} // namespace

std::string findSimulator() {
    std::error_code error;
    const fs::path beside = fs::read_symlink("/proc/self/exe", error).parent_path() / kName;
    if (!error && access(beside.c_str(), X_OK) == 0 && !fs::is_directory(beside, error))
        return beside.string();
    std::string found = programOnPath(kName);
    if (found.empty())
        throw Failure("ferrow-sim is neither beside ferrow nor in $PATH");
    return found;
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

namespace {

std::vector<std::string> arguments(const std::string& address, const std::vector<std::string>& more) {
    std::vector<std::string> all = {"--address", address, "--die-with-parent"};
    all.insert(all.end(), more.begin(), more.end());
    return all;
}

} // namespace

SimProcess::SimProcess(const std::string& program, const std::string& address,
                       const std::vector<std::string>& more)
    : process_(program, arguments(address, more)) {
    if (!process_.speaks(kReadyMs))
        throw Failure("the simulated radio does not start");
}

SimProcess::~SimProcess() {
    process_.signal(SIGTERM);
    process_.wait();
}

} // namespace ferrow
