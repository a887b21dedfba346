#pragma once
#include "sim/wire/control_state.hpp"

#include <fstream>
#include <span>
#include <string>

struct sf_private_tag; // a sound file of libsndfile

namespace ferrow::sim {

/// What a row of the record is about.
enum class TxEvent {
    Data,    ///< a data packet of endpoint 2
    Start,   ///< a start command
    Stop,    ///< a stop command
    Unkey,   ///< the radio left the air by itself: its transmit buffer was dry for the hang time
    Watchdog ///< the radio stopped its stream for want of packets
};

/// What the radio makes of it.
struct TxMoment {
    std::int64_t utcNs = 0;
    bool onAir = false;
    double fill = 0.0; ///< of the transmit buffer, samples
    int overflows = 0;
    int underflows = 0;
};

/// Records what a host transmits, as two files that other programs open: NAME.wav with the samples, two
/// channels of 16 bit at 48 kHz, and NAME.csv with a row for every packet and event.
///
/// The left channel is transmit word 2 and the right one word 1, bit for bit: read as I and Q, a signal above
/// the transmit frequency turns forwards (in even Nyquist zones). The two columns `control_a` and `control_b`
/// hold C0 to C4 of the packet's frames in hex. Used under the radio's lock.
class TxRecorder {
public:
    /// `name` without its ending, or with `.wav`. `all`: packets without ptt too. Throws std::runtime_error.
    TxRecorder(const std::string& name, bool all);
    ~TxRecorder();
    TxRecorder(const TxRecorder&) = delete;
    TxRecorder& operator=(const TxRecorder&) = delete;

    void write(std::span<const std::uint8_t> packet, const ControlState& control, const TxMoment& moment);
    void write(TxEvent event, const ControlState& control, const TxMoment& moment);
    /// Puts everything on the disk, with the header of the sound file right so far.
    void flush();

private:
    void begin(TxEvent event, const ControlState& control, const TxMoment& moment);

    std::ofstream table_;
    sf_private_tag* sound_ = nullptr;
    std::int64_t samples_ = 0;
    bool all_;
};

} // namespace ferrow::sim
