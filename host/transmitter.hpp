// Press and release, with the watchdog.
#pragma once

#include "host/radio_session.hpp"
#include "host/transmit_guard.hpp"

#include <chrono>
#include <nlohmann/json_fwd.hpp>
#include <string>

namespace ferrow {

// Keys one transceiver of a session. Everything for the thread that pumps the library.
class Transmitter {
public:
    using Clock = std::chrono::steady_clock;

    Transmitter(Library& library, RadioSession& session, Transceiver& transceiver, TransmitGuard& guard);
    ~Transmitter();
    Transmitter(const Transmitter&) = delete;
    Transmitter& operator=(const Transmitter&) = delete;

    // Arms the watchdog, for as long as the library may key: before a transmission of its own accord (by
    // voice, in a slot) and by press().
    void arm();
    // Disarms it, unless the radio is keyed.
    void disarm();

    // Returns once the radio is keyed, or an interrupt has come. Throws Failure if it is not keyed.
    void press();
    // Returns once the radio is off the air, and disarms. Throws Failure, with the radio stopped, if that
    // does not come about.
    void release();

    // Whether it is on the air, or about to be.
    bool busy() const { return transceiver_.ptt() || session_.keyed(); }
    // For the loop of a command: throws Failure if radio or watchdog is gone.
    void check() const;

    Transceiver& transceiver() { return transceiver_; }
    const RadioSession& session() const { return session_; }

private:
    Library& library_;
    RadioSession& session_;
    Transceiver& transceiver_;
    TransmitGuard& guard_;
};

// "2.1 W, SWR 1.3, 640 mA, 34.5 °C" of what the radio tells; "buffer ran dry twice" behind it.
std::string showReadings(const TransmitReadings& readings);
nlohmann::json readingsJson(const TransmitReadings& readings);

} // namespace ferrow
