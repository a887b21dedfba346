#include "tests/support/pulse_server.hpp"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sched.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace ferrow::test {

namespace {

using Clock = std::chrono::steady_clock;

bool onPath(const char* program) {
    const char* path = std::getenv("PATH");
    std::string folders = path != nullptr ? path : "/usr/bin";
    for (std::size_t begin = 0; begin <= folders.size();) {
        const auto end = std::min(folders.find(':', begin), folders.size());
        if (access((folders.substr(begin, end - begin) + "/" + program).c_str(), X_OK) == 0)
            return true;
        begin = end + 1;
    }
    return false;
}

bool answers(const std::string& socketPath) {
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, socketPath.c_str(), sizeof address.sun_path - 1);
    const bool connected = connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    close(fd);
    return connected;
}

} // namespace

void ChildProcess::start(const std::vector<std::string>& command, int output, const std::string& errors) {
    kill();
    std::vector<char*> arguments;
    for (const std::string& word : command)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errors.c_str(), O_WRONLY | O_CREAT | O_APPEND,
                                     0600);
    const int error = posix_spawnp(&pid_, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        pid_ = -1;
        throw std::runtime_error(command[0] + ": " + std::strerror(error));
    }
}

void ChildProcess::preferIfAllowed() noexcept {
    sched_param parameters{};
    parameters.sched_priority = 6;
    static_cast<void>(sched_setscheduler(pid_, SCHED_RR, &parameters));
}

void ChildProcess::kill() noexcept {
    if (pid_ <= 0)
        return;
    ::kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
    pid_ = -1;
}

bool ChildProcess::running() const noexcept {
    siginfo_t info{};
    return pid_ > 0 && waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           info.si_pid == 0;
}

bool PulseServer::installed() {
    return onPath("pulseaudio") && onPath("parec") && onPath("pacat");
}

PulseServer::PulseServer() {
    std::string pattern = (std::filesystem::temp_directory_path() / "ferrow-pulse-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr)
        throw std::runtime_error("no folder " + pattern + ": " + std::strerror(errno));
    folder_ = pattern;
    std::ofstream(folder_ + "/asound.conf") << "pcm.!default { type pulse }\nctl.!default { type pulse }\n"
                                               "pcm.pulse { type pulse }\n";
    for (const auto& [name, value] : {std::pair{"XDG_RUNTIME_DIR", folder_},
                                      {"HOME", folder_},
                                      {"PULSE_SERVER", "unix:" + folder_ + "/native"},
                                      {"ALSA_CONFIG_PATH", folder_ + "/asound.conf"},
                                      {"JACK_NO_START_SERVER", std::string("1")}})
        setenv(name, value.c_str(), 1);
    unsetenv("PULSE_SINK");
    unsetenv("PULSE_SOURCE");
    restart();
}

PulseServer::~PulseServer() {
    daemon_.kill();
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

void PulseServer::restart() {
    daemon_.kill();
    const std::string socketPath = folder_ + "/native", words = folder_ + "/pulse.log";
    std::filesystem::remove(socketPath);
    daemon_.start({"pulseaudio", "-n", "--daemonize=no", "--exit-idle-time=-1", "--use-pid-file=no",
                   "--log-target=stderr", "-L",
                   "module-native-protocol-unix socket=" + socketPath + " auth-anonymous=1", "-L",
                   "module-null-sink sink_name=ferrow rate=48000 channels=2 format=float32le"},
                  STDERR_FILENO, words);
    daemon_.preferIfAllowed();
    const auto end = Clock::now() + std::chrono::seconds(20);
    while (!answers(socketPath)) {
        if (!daemon_.running() || Clock::now() > end) {
            std::ifstream log(words);
            throw std::runtime_error("pulseaudio does not start: " +
                                     std::string(std::istreambuf_iterator<char>(log), {}));
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

MonitorRecorder::MonitorRecorder(const PulseServer& server) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe");
    pipe_ = ends[0];
    recorder_.start({"parec", "--device=ferrow.monitor", "--format=float32le", "--rate=48000", "--channels=2",
                     "--latency-msec=10", "--raw"},
                    ends[1], server.folder() + "/parec.log");
    close(ends[1]);
    thread_ = std::thread([this] { collect(); });
    const auto end = Clock::now() + std::chrono::seconds(10);
    while (!delivers_ && Clock::now() < end)
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    if (delivers_)
        return;
    finish();
    throw std::runtime_error("the monitor delivers nothing");
}

MonitorRecorder::~MonitorRecorder() {
    if (thread_.joinable())
        finish();
}

// Chunks come late, never early: the earliest one tells when the recording began.
void MonitorRecorder::collect() {
    std::vector<char> bytes;
    std::vector<char> part(65536);
    auto start = Clock::time_point::max();
    for (ssize_t n; (n = read(pipe_, part.data(), part.size())) > 0;) {
        bytes.insert(bytes.end(), part.begin(), part.begin() + n);
        const std::chrono::duration<double> length(static_cast<double>(bytes.size() / 8) / 48000);
        delivers_ = true;
        start = std::min(start, Clock::now() - std::chrono::duration_cast<Clock::duration>(length));
    }
    const std::size_t frames = bytes.size() / 8;
    for (std::size_t i = 0; i < frames; ++i) {
        float frame[2];
        std::memcpy(frame, bytes.data() + 8 * i, sizeof frame);
        recording_.left.push_back(frame[0]);
        recording_.right.push_back(frame[1]);
    }
    recording_.start = start;
}

MonitorRecorder::Recording MonitorRecorder::finish() {
    recorder_.kill();
    thread_.join();
    close(pipe_);
    return std::move(recording_);
}

SinkPlayer::SinkPlayer(const PulseServer& server, const std::vector<float>& samples) {
    const std::string file = server.folder() + "/played.raw";
    std::ofstream(file, std::ios::binary)
        .write(reinterpret_cast<const char*>(samples.data()),
               static_cast<std::streamsize>(samples.size() * sizeof(float)));
    player_.start({"pacat", "--playback", "--device=ferrow", "--format=float32le", "--rate=48000",
                   "--channels=1", "--latency-msec=50", "--raw", file},
                  STDERR_FILENO, server.folder() + "/pacat.log");
}

} // namespace ferrow::test
