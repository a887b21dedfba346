#pragma once
#include "sim/radio/receive_stream.hpp"
#include "sim/wire/protocol2.hpp"

namespace ferrow::sim {

/// All that the host has told a protocol 2 radio. Plain data; the owner guards it.
struct NpControl {
    p2::General general;
    p2::Ddc ddc;
    p2::Duc duc;
    p2::HighPriority high;
};

using NpIqPacket = std::array<std::uint8_t, p2::kIqBytes>;

/// Builds the packets that a protocol 2 radio streams, from the receivers' samples. Receivers run at rates of
/// their own; those at the same frequency, rate and ADC share their samples, as they do in hardware. No clock
/// and no socket; one thread.
class NpReceiveStream {
public:
    NpReceiveStream(std::shared_ptr<const Sky> sky, double clockPpm, WireScale scale, bool fixedGain);

    /// The host started the radio: all sequence numbers at 0.
    void resetSequences() { sequence_.fill(0); }
    /// Rates of the receivers, 0 for none; samples continue at `firstBlock` of `time`. A receiver that was
    /// off begins with sequence number 0.
    void begin(const std::array<int, p2::kMaxReceivers>& rates, const SkyTime& time, std::int64_t firstBlock);

    int rate(int receiver) const { return rates_[static_cast<std::size_t>(receiver)]; }
    std::uint32_t sequence(int receiver) const { return sequence_[static_cast<std::size_t>(receiver)]; }

    void buildIq(int receiver, NpIqPacket& out, const NpControl& control);
    /// A frame of the wideband stream, as 16-bit samples of ADC 0, one behind the other.
    std::span<const std::uint8_t> wideband(std::size_t samples, const NpControl& control);

    /// True if the last block could have driven ADC 0 over full scale.
    bool overload() const { return overload_; }

private:
    void makeBlock(const NpControl& control);
    double gainDb(const NpControl& control, int adc) const;

    Synth synth_;
    WireScale scale_;
    bool fixedGain_;
    SkyTime time_;
    std::int64_t block_ = 0;
    bool overload_ = false;
    std::array<int, p2::kMaxReceivers> rates_{};
    std::array<std::uint32_t, p2::kMaxReceivers> sequence_{};
    // records that wait for their packet, from `read` on
    struct Waiting {
        std::vector<std::uint8_t> bytes;
        std::size_t read = 0;
    };
    std::array<Waiting, p2::kMaxReceivers> waiting_;
    std::vector<float> wide_;
    std::vector<std::uint8_t> wideBytes_;
};

} // namespace ferrow::sim
