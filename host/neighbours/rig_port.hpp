// What programs beside us (loggers, digital-mode programs, clusters, maps) see of a radio: one receiver with
// two VFOs, and a key. The commands that own a radio implement it; host/neighbours serves it.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace ferrow {

enum class Vfo { A, B };

// A mode by its token of rig control, and the width of its filter.
struct RigMode {
    std::string name; // USB, LSB, CW, CWR, AM, FM, RTTY, PKTUSB (data on upper sideband), PKTLSB, ...
    int passband = 0; // Hz
    bool operator==(const RigMode&) const = default;
};

// How a request ended.
enum class RigAnswer {
    Done,
    BadArgument,  // out of range, or a mode that is not among modes()
    NotSupported, // this radio or this command cannot do it at all
    NotAllowed,   // could, but not now: transmission has not been allowed, or somebody else has the key
    Failed,       // the radio does not answer
};

struct FrequencyRange { // Hz, both ends included
    long long lowest = 0;
    long long highest = 0;
};

// Every member is called on the one thread that runs the io_context which the servers were made with (see
// neighbours.hpp), never two at a time; none may block or throw. What has been set is what the next question
// for it says, even if it reaches the radio later.
class RigPort {
public:
    virtual ~RigPort() = default;

    // For people: which radio this is.
    virtual std::string description() const = 0;
    // What can be tuned to.
    virtual FrequencyRange range() const = 0;
    // Modes that setMode takes, each with its usual passband.
    virtual std::vector<RigMode> modes() const = 0;

    // The VFO that is received.
    virtual Vfo vfo() const { return Vfo::A; }
    virtual RigAnswer setVfo(Vfo vfo) { return vfo == Vfo::A ? RigAnswer::Done : RigAnswer::NotSupported; }

    // The dial in Hz: the suppressed or full carrier, in CW the signal.
    virtual long long frequency(Vfo vfo) const = 0;
    virtual RigAnswer setFrequency(Vfo vfo, long long hertz) = 0;

    virtual RigMode mode(Vfo vfo) const = 0;
    // A passband of 0 asks for the usual one, a negative one for no change.
    virtual RigAnswer setMode(Vfo vfo, const RigMode& mode) = 0;

    // The VFO that transmits, if another than the one that is received: split. Frequency and mode of
    // transmission are those of this VFO.
    virtual std::optional<Vfo> split() const { return std::nullopt; }
    virtual RigAnswer setSplit(std::optional<Vfo> transmit) {
        return transmit ? RigAnswer::NotSupported : RigAnswer::Done;
    }

    // Whether setPtt could ever key it.
    virtual bool transmits() const { return false; }
    // Whether the radio is keyed, by whomever.
    virtual bool ptt() const { return false; }
    // To release a key that is not pressed is no error.
    virtual RigAnswer setPtt(bool on) { return on ? RigAnswer::NotAllowed : RigAnswer::Done; }

    // dB relative to S9; nothing before the first measurement.
    virtual std::optional<double> strength() const { return std::nullopt; }
    // Whether samples come.
    virtual bool powered() const { return true; }
};

} // namespace ferrow
