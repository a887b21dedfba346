#pragma once
#include "sim/radio/telemetry.hpp"
#include "sim/sky/synth.hpp"
#include "sim/wire/control_state.hpp"

namespace ferrow::sim {

/// How full scale of the ADC stands on the wire. With b bits a signal of full scale has amplitude 2^(b + 7)
/// in the 24-bit I/Q samples and 2^(b - 1) in the wideband samples.
struct WireScale {
    int adcBits = 12;
    float iq() const { return static_cast<float>(1 << (adcBits + 7)); }
    float wide() const { return static_cast<float>(1 << (adcBits - 1)); }
};

/// Builds the packets that the radio streams: endpoint 6 from the receivers' samples and the telemetry,
/// endpoint 4 from wideband snapshots. No clock and no socket; one thread.
class ReceiveStream {
public:
    ReceiveStream(std::shared_ptr<const Sky> sky, double clockPpm, WireScale scale, bool fixedGain,
                  TelemetrySettings telemetry, std::uint8_t firmware);

    /// The host started the radio: sequence numbers at 0.
    void resetSequence();
    /// Rate or number of receivers from `control`; samples continue at `firstBlock` of `time`.
    void begin(const ControlState& control, const SkyTime& time, std::int64_t firstBlock);

    void buildEndpoint6(Packet& out, const ControlState& control, double seconds);
    /// Quarter 0 takes a new snapshot, the other three go on with it.
    void buildEndpoint4(Packet& out, const ControlState& control);

    Telemetry& telemetry() { return telemetry_; }
    /// What the coming frames report of the transmit buffer; an event (128 and up) goes out once.
    void setTxReport(std::uint8_t level, std::uint8_t event);
    bool txEventPending() const { return txEvent_ != 0; }
    int samplesPerPacket() const { return 2 * recordsPerFrame(receivers_); }
    std::uint32_t sequence() const { return sequence_; }

private:
    void makeBlock(const ControlState& control);
    double gainDb(const ControlState& control) const { return fixedGain_ ? 0.0 : control.lnaGainDb(); }

    Synth synth_;
    WireScale scale_;
    bool fixedGain_;
    Telemetry telemetry_;
    std::uint8_t firmware_;
    SkyTime time_;
    std::int64_t block_ = 0;
    int receivers_ = 1;
    int position_ = 0;
    bool overload_ = false;
    std::uint8_t txLevel_ = 0;
    std::uint8_t txEvent_ = 0;
    std::uint32_t sequence_ = 0;
    std::uint32_t wideSequence_ = 0;
    std::vector<float> wide_ = std::vector<float>(2048);
};

} // namespace ferrow::sim
