// The library in this process: start-up, the two pumps, and a clean end.
#pragma once

#include "host/handle.hpp"

#include <chrono>
#include <functional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace ferrow {

struct LibraryOptions {
    std::string logFile;  // empty: a file in the temporary folder, removed at the end if nothing was logged
    bool verbose = false; // log from level info on, and let audio back ends talk on stderr
    bool sound = true;    // look for sound devices
    bool keepLog = true;  // the file in the temporary folder, if something has been logged
};

// Made once in a process. The thread that makes it owns all objects, and is the one that pumps getUpdates: no
// callback but newSpectrum's, which comes on a thread of this class, runs beside the host's own code.
class Library {
public:
    // Throws Failure if the log file cannot be written.
    explicit Library(const LibraryOptions& options);
    ~Library();
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    // Called in every round of the pumps below: a sign of life of this thread. Must not throw.
    std::function<void()> onPump;

    // Runs the callbacks that wait.
    void pump();

    // Pumps until `done` says true, the time is up or an interrupt comes. Returns what `done` says at last.
    bool pumpUntil(const std::function<bool()>& done, std::chrono::milliseconds limit);

    // The same, but an interrupt does not end it: for what has to be brought to an end.
    bool pumpThrough(const std::function<bool()>& done, std::chrono::milliseconds limit);

    // Pumps until no more than `kept` objects are left (see liveObjects). False if there are after the limit.
    bool settle(int kept, std::chrono::milliseconds limit = std::chrono::seconds(5));

    bool verbose() const { return verbose_; }

    // What stands behind `words` in the lines of the log that have them; errors are in it at once.
    std::vector<std::string> logLines(std::string_view words) const;

    // The application object; empty without sound.
    Object& wireless() { return wireless_; }

private:
    bool wait(const std::function<bool()>& done, std::chrono::milliseconds limit, bool interruptible);

    std::string logFile_;
    bool ownLog_ = false;
    bool keepLog_ = true;
    bool verbose_ = false;
    std::jthread renderer_;
    Object wireless_;
};

} // namespace ferrow
