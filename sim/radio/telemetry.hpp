#pragma once
#include "sim/wire/control_state.hpp"

#include <cstdint>
#include <vector>

namespace ferrow::sim {

/// A span of the stream's time in seconds, for telemetry bits that come and go.
struct TimeSpan {
    double start = 0.0;
    double end = 1e18;
    bool holds(double t) const { return t >= start && t < end; }
};

/// What the radio's sensors read. Raw values are 12-bit ADC counts.
struct TelemetrySettings {
    int ain1Forward = 0; ///< while keyed; 0 otherwise
    int ain2Reverse = 0; ///< while keyed
    int ain3Current = 0; ///< while keyed
    int ain4 = 0;
    int ain5Temperature = 1062; ///< 34.5 degrees
    int ain6 = 0;
    std::vector<TimeSpan> overload; ///< forced ADC overload, beside the real one
    std::vector<TimeSpan> pttIn;    ///< the radio's own ptt line
    std::vector<TimeSpan> cwKey;
};

/// Count that stands for a temperature on ain5.
int countOfTemperature(double celsius);
/// Count that stands for a drain current on ain3.
int countOfCurrent(double milliamperes);

/// The radio's transmit buffer: filled by the host's 48 kHz samples, drained by the radio's clock once the
/// fill has reached the latency that the host asked for. A buffer that stays dry for the hang time takes the
/// radio off the air, until the next packet with ptt. One unit of the reported level is 32 samples.
class TxBuffer {
public:
    static constexpr double kCapacity = 4096.0;

    /// The transmit flag of a packet, with the latency and the hang time of bank 23.
    void key(bool on, int latencyMs, int hangMs);
    void fill(int samples);
    void drain(double seconds, double clockFactor);

    bool onAir() const { return keyed_; }
    /// In samples.
    double level() const { return level_; }
    /// Fill in units, 0 to 127.
    std::uint8_t levelUnits() const;
    /// 0xC0 after an underflow, 0x80 after an overflow, each once; 0 if there was none.
    std::uint8_t takeEvent();
    /// True once after the radio has left the air by itself.
    bool takeUnkeyed();
    int overflows() const { return overflows_; }
    int underflows() const { return underflows_; }

private:
    void clear();

    bool keyed_ = false;
    bool draining_ = false;
    double start_ = 480.0;
    double hang_ = 0.022; // seconds
    double dry_ = 0.0;    // seconds without a packet while nothing is drained
    double level_ = 0.0;
    int overflows_ = 0;
    int underflows_ = 0;
    bool tellOverflow_ = false;
    bool tellUnderflow_ = false;
    bool unkeyed_ = false;
};

/// Fills C0 to C4 of the frames that the radio sends: acknowledgements of I2C writes first, else four
/// addresses in turn. Used by the streaming thread alone.
class Telemetry {
public:
    explicit Telemetry(TelemetrySettings settings) : settings_(std::move(settings)) {}

    struct Inputs {
        bool keyed = false;    ///< the host's transmit flag
        bool overload = false; ///< the ADC is driven over full scale
        double seconds = 0.0;  ///< since the start of the stream
        std::uint8_t firmware = 0;
        std::uint8_t txReport = 0;
    };
    ControlBytes next(const Inputs& in);
    void acknowledge(const I2cWrite& write) { acks_.push_back(write); }
    /// True if the coming frame holds address 0, where the transmit buffer is reported.
    bool reportsBuffer() const { return acks_.empty() && turn_ == 0; }

private:
    TelemetrySettings settings_;
    std::vector<I2cWrite> acks_;
    int turn_ = 0;
};

} // namespace ferrow::sim
