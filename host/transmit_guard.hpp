// The watchdog of a transmission.
#pragma once

#include <chrono>
#include <string>
#include <sys/types.h>

namespace ferrow {

// A process of its own that takes the radio off the air when this one dies or hangs while it may transmit: it
// ends this one and sends the radio a stop packet. A radio stops by itself too once no packets come; the
// guard is for a process whose library goes on sending while its main thread does not answer any more, and
// for a radio whose own timer is off.
//
// All members are for the thread that pumps the library. Make it before the library: it forks.
class TransmitGuard {
public:
    // `radio`: dotted IPv4. Throws Failure if there is no process to be had.
    TransmitGuard(const std::string& radio, std::chrono::milliseconds limit);
    // Ends the guard; while armed, that stops the radio.
    ~TransmitGuard();
    TransmitGuard(const TransmitGuard&) = delete;
    TransmitGuard& operator=(const TransmitGuard&) = delete;

    // From here to disarm() a sign of life must come within every `limit`.
    void arm();
    void disarm();
    // A sign of life, as often as one likes.
    void beat() noexcept;
    // Throws Failure if the guard has died: nothing may be sent without one.
    void check() const;

private:
    using Clock = std::chrono::steady_clock;

    void tell(char word) noexcept;
    void hangIfAsked() const;

    pid_t pid_ = -1;
    int pipe_ = -1;
    std::chrono::milliseconds limit_;
    bool armed_ = false;
    bool lost_ = false;
    Clock::time_point lastBeat_{};
    Clock::time_point armedAt_{};
};

} // namespace ferrow
