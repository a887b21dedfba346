#include "sim/sdrplay/launch.hpp"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fmt/format.h>
#include <stdexcept>
#include <unistd.h>

namespace ferrow::sim::rsp {
namespace {

namespace fs = std::filesystem;

constexpr const char* kFile = "sdrplay-standin/libsdrplay_api.so.3";
constexpr int kCannotOpen = 3;

// Beside the program as it was built, or where it has been installed.
std::string standInFile() {
    std::error_code error;
    const fs::path folder = fs::read_symlink("/proc/self/exe", error).parent_path();
    for (const char* from : {".", FERROW_SIM_LIBDIR})
        if (const fs::path file = folder / from / kFile; fs::exists(file, error))
            return fs::canonical(file).string();
    throw std::runtime_error(fmt::format("{} is neither in {} nor in {}", kFile, folder.string(),
                                         (folder / FERROW_SIM_LIBDIR).lexically_normal().string()));
}

void checkDevices(const std::string& devices) {
    std::size_t at = 0;
    while (at <= devices.size() && !devices.empty()) {
        const std::size_t end = std::min(devices.find(',', at), devices.size());
        const std::string one = devices.substr(at, end - at);
        const std::string model = one.substr(0, one.find(':'));
        const bool known =
            model == "RSP1" || model == "RSP1A" || model == "RSP2" || model == "RSPduo" || model == "RSPdx";
        const std::size_t serial = one.find(':') == std::string::npos ? 0 : one.size() - model.size() - 1;
        if (!known || serial == 0 || serial > 63)
            throw std::invalid_argument("\"" + one +
                                        "\" is not MODEL:SERIAL with a model of RSP1, RSP1A, RSP2, RSPduo, "
                                        "RSPdx and a serial number of 1 to 63 characters");
        at = end + 1;
    }
}

// For a shell that evaluates it.
std::string quoted(const std::string& text) {
    std::string out = "'";
    for (const char c : text)
        out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return out + "'";
}

} // namespace

std::vector<std::pair<std::string, std::string>> launchEnvironment(const LaunchSettings& settings) {
    checkDevices(settings.devices);
    const auto absolute = [](const std::string& path) { return fs::absolute(path).string(); };
    std::vector<std::pair<std::string, std::string>> all = {
        {"FERROW_SDRPLAY_LIBRARY", standInFile()},
        {"FERROW_STANDIN_SCENE", settings.scene == "builtin" ? settings.scene : absolute(settings.scene)}};
    const auto add = [&](const char* name, const std::string& value) {
        if (!value.empty())
            all.emplace_back(name, value);
    };
    const auto addNumber = [&](const char* name, double value) {
        if (value != 0.0)
            all.emplace_back(name, fmt::format("{}", value));
    };
    add("FERROW_STANDIN_DEVICES", settings.devices);
    add("FERROW_STANDIN_RECORD", settings.recordFile.empty() ? "" : absolute(settings.recordFile));
    addNumber("FERROW_STANDIN_CLOCK_PPM", settings.clockPpm);
    addNumber("FERROW_STANDIN_UTC_OFFSET", settings.utcOffset);
    addNumber("FERROW_STANDIN_UNPLUG", settings.unplugAfter);
    return all;
}

int launch(const LaunchSettings& settings, const std::vector<std::string>& program) {
    for (const auto& [name, value] : launchEnvironment(settings)) {
        if (program.empty())
            fmt::print("export {}={}\n", name, quoted(value));
        else
            setenv(name.c_str(), value.c_str(), 1);
    }
    if (program.empty())
        return 0;
    std::vector<char*> arguments;
    for (const std::string& one : program)
        arguments.push_back(const_cast<char*>(one.c_str()));
    arguments.push_back(nullptr);
    std::fflush(nullptr);
    execvp(arguments[0], arguments.data());
    fmt::print(stderr, "ferrow-sim: cannot run {}: {}\n", program[0], std::strerror(errno));
    return kCannotOpen;
}

} // namespace ferrow::sim::rsp
