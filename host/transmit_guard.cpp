#include "host/transmit_guard.hpp"

#include "host/discovery.hpp"
#include "host/failure.hpp"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fmt/format.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <termios.h>
#include <thread>
#include <unistd.h>

namespace ferrow {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr char kArm = 'A', kDisarm = 'D', kBeat = 'B';
constexpr milliseconds kShortestPause = 20ms, kLongestPause = 250ms; // between two beats
constexpr int kBeatsPerLimit = 8;

// Repeated, since datagrams may be lost and nothing answers.
void stopRadio(in_addr radio) {
    const std::array<std::uint8_t, 64> stop = {0xEF, 0xFE, 0x04, 0x00};
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(kRadioPort);
    address.sin_addr = radio;
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    for (int i = 0; i < 3; ++i) {
        sendto(fd, stop.data(), stop.size(), 0, reinterpret_cast<const sockaddr*>(&address), sizeof address);
        std::this_thread::sleep_for(20ms);
    }
    close(fd);
}

// The life of the guard process.
[[noreturn]] void watch(int pipe, pid_t host, in_addr radio, milliseconds limit) {
    setpgid(0, 0); // a Ctrl-C or Ctrl-Z is not for the guard
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGTSTP, SIGTTOU, SIGPIPE})
        std::signal(number, SIG_IGN);
    close(STDOUT_FILENO); // whoever reads it waits for the host's end, not for the guard's
    termios terminal{};
    const bool isTerminal = tcgetattr(STDIN_FILENO, &terminal) == 0;
    bool armed = false;
    auto last = Clock::now();
    for (;;) {
        const auto left = std::chrono::ceil<milliseconds>(last + limit - Clock::now());
        pollfd waiting{pipe, POLLIN, 0};
        const int ready = poll(&waiting, 1, armed ? static_cast<int>(std::max(left, 0ms).count()) : -1);
        if (ready > 0) {
            std::array<char, 256> words;
            const ssize_t size = read(pipe, words.data(), words.size());
            if (size == 0) { // the host is gone
                if (armed)
                    stopRadio(radio);
                _exit(0);
            }
            for (ssize_t i = 0; i < size; ++i)
                if (const char word = words[static_cast<std::size_t>(i)]; word != kBeat)
                    armed = word == kArm;
            last = Clock::now();
        } else if (armed && Clock::now() >= last + limit) {
            if (getppid() == host)
                kill(host, SIGKILL);
            stopRadio(radio);
            if (isTerminal)
                tcsetattr(STDIN_FILENO, TCSANOW, &terminal);
            const auto seconds = std::chrono::duration<double>(limit).count();
            fmt::print(stderr, "ferrow: the watchdog ended the transmission: no sign of life for {:g} s\n",
                       seconds);
            _exit(1);
        }
    }
}

} // namespace

TransmitGuard::TransmitGuard(const std::string& radio, milliseconds limit) : limit_(limit) {
    in_addr address{};
    int ends[2];
    if (inet_pton(AF_INET, radio.c_str(), &address) != 1 || pipe2(ends, O_CLOEXEC) != 0)
        throw Failure("cannot make the transmit watchdog");
    std::signal(SIGPIPE, SIG_IGN);
    std::fflush(nullptr);
    const pid_t host = getpid();
    pid_ = fork();
    if (pid_ == 0) {
        close(ends[1]);
        watch(ends[0], host, address, limit);
    }
    close(ends[0]);
    pipe_ = ends[1];
    fcntl(pipe_, F_SETFL, O_NONBLOCK);
    if (pid_ < 0) {
        close(pipe_);
        throw Failure("cannot start the transmit watchdog");
    }
}

TransmitGuard::~TransmitGuard() {
    close(pipe_);
    while (waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
    }
}

// A full pipe holds signs of life enough.
void TransmitGuard::tell(char word) noexcept {
    if (write(pipe_, &word, 1) < 0 && errno == EPIPE)
        lost_ = true;
    lastBeat_ = Clock::now();
}

void TransmitGuard::arm() {
    check();
    if (!armed_)
        armedAt_ = Clock::now();
    armed_ = true;
    tell(kArm);
}

void TransmitGuard::disarm() {
    armed_ = false;
    tell(kDisarm);
}

void TransmitGuard::beat() noexcept {
    if (!armed_ ||
        Clock::now() - lastBeat_ < std::clamp(limit_ / kBeatsPerLimit, kShortestPause, kLongestPause))
        return;
    hangIfAsked();
    tell(kBeat);
}

void TransmitGuard::check() const {
    if (lost_)
        throw Failure("the transmit watchdog has died");
}

// For trying the watchdog out: the main thread stops, the library goes on.
void TransmitGuard::hangIfAsked() const {
    const char* seconds = std::getenv("FERROW_HANG_AFTER");
    if (seconds == nullptr || Clock::now() - armedAt_ < std::chrono::duration<double>(std::atof(seconds)))
        return;
    for (;;)
        pause();
}

} // namespace ferrow
