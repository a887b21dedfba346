#include "host/library.hpp"

#include "host/failure.hpp"
#include "host/interrupt.hpp"
#include "host/quiet_stream.hpp"

#include <ferrowcore/runtime.h>
#include <ferrowcore/wireless.h>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <unistd.h>

namespace ferrow {
namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

constexpr auto kPumpPause = 5ms;

} // namespace

Library::Library(const LibraryOptions& options)
    : logFile_(options.logFile), keepLog_(options.keepLog), verbose_(options.verbose) {
    if (logFile_.empty()) {
        ownLog_ = true;
        logFile_ = (fs::temp_directory_path() / fmt::format("ferrow-{}.log", getpid())).string();
    }
    try {
        init(logFile_.c_str(), options.verbose ? 1 : 0);
    } catch (const std::exception& error) {
        throw Failure(fmt::format("cannot start the library: {}", error.what()));
    }
    renderer_ = std::jthread([](const std::stop_token& stop) {
        while (!stop.stop_requested()) {
            getRenderUpdates();
            std::this_thread::sleep_for(kPumpPause);
        }
    });
    if (!options.sound)
        return;
    // Back ends of the sound system report on every device that they fail to open.
    const QuietStream quiet(stderr, !options.verbose);
    wireless_ = Object(Wireless_create());
}

Library::~Library() {
    wireless_.reset();
    settle(0);
    renderer_.request_stop();
    renderer_.join();
    std::error_code error;
    if (!ownLog_)
        return;
    if (!keepLog_ || (fs::file_size(logFile_, error) == 0 && !error))
        fs::remove(logFile_, error);
    else if (!error)
        fmt::print(stderr, "ferrow: the library's log is in {}\n", logFile_);
}

std::vector<std::string> Library::logLines(std::string_view words) const {
    std::vector<std::string> found;
    std::ifstream file(logFile_);
    for (std::string line; std::getline(file, line);)
        if (const auto place = line.find(words); place != std::string::npos)
            found.push_back(line.substr(place + words.size()));
    return found;
}

void Library::pump() {
    getUpdates();
    if (onPump)
        onPump();
}

bool Library::wait(const std::function<bool()>& done, std::chrono::milliseconds limit, bool interruptible) {
    const auto end = std::chrono::steady_clock::now() + limit;
    for (;;) {
        pump();
        if (done())
            return true;
        if ((interruptible && interrupted()) || std::chrono::steady_clock::now() >= end)
            return false;
        std::this_thread::sleep_for(kPumpPause);
    }
}

bool Library::pumpUntil(const std::function<bool()>& done, std::chrono::milliseconds limit) {
    return wait(done, limit, true);
}

bool Library::pumpThrough(const std::function<bool()>& done, std::chrono::milliseconds limit) {
    return wait(done, limit, false);
}

bool Library::settle(int kept, std::chrono::milliseconds limit) {
    return pumpThrough([kept] { return liveObjects() <= kept; }, limit);
}

} // namespace ferrow
