// A sound server for one test: a private PulseAudio daemon whose only device is a null sink named "ferrow".
// What is played there is the only thing to be captured. It needs no sound hardware, session or bus, and may
// run as root.
#pragma once

#include <atomic>
#include <chrono>
#include <string>
#include <sys/types.h>
#include <thread>
#include <vector>

namespace ferrow::test {

// A process of the test's own; killed with the object.
class ChildProcess {
public:
    ChildProcess() = default;
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    ~ChildProcess() { kill(); }

    // `output`: descriptor that becomes its standard output; its error stream goes to the file `errors`.
    // Throws std::runtime_error.
    void start(const std::vector<std::string>& command, int output, const std::string& errors);
    // Real-time priority, where the limits allow it: what else the machine does shall not be heard.
    void preferIfAllowed() noexcept;
    void kill() noexcept;
    bool running() const noexcept;

private:
    pid_t pid_ = -1;
};

// Make it before the first use of the library's sound devices: it points this process's ALSA to the server.
class PulseServer {
public:
    // Whether the daemon and its tools are installed.
    static bool installed();

    // Waits until clients can connect. Throws std::runtime_error, with the daemon's words, if that fails.
    PulseServer();
    ~PulseServer();

    // The daemon dies at once; or comes back, as another one.
    void kill() { daemon_.kill(); }
    void restart();

    const std::string& folder() const noexcept { return folder_; }

private:
    std::string folder_;
    ChildProcess daemon_;
};

// Records what the sink plays: stereo, 48000 Hz.
class MonitorRecorder {
public:
    // Returns when the sink delivers. Throws std::runtime_error.
    explicit MonitorRecorder(const PulseServer& server);
    ~MonitorRecorder();

    struct Recording {
        std::vector<float> left, right;
        std::chrono::steady_clock::time_point start; // when the first frame was recorded, or a little later
    };
    Recording finish();

private:
    void collect();

    ChildProcess recorder_;
    int pipe_ = -1;
    std::thread thread_;
    Recording recording_;
    std::atomic<bool> delivers_{false};
};

// Plays mono samples at 48000 Hz into the sink, once.
class SinkPlayer {
public:
    SinkPlayer(const PulseServer& server, const std::vector<float>& samples);

private:
    ChildProcess player_;
};

} // namespace ferrow::test
