// The receive stream as the clock of everything else: when a transmit block falls due, and how many frames
// the refresh intervals have. `hwReceivers` is at least 1; a rate too low for the arithmetic gives intervals
// of 0.
#pragma once

#include "radios/hpsdr/receive_frame.hpp"
#include "radios/hpsdr/wire.hpp"

#include <cstdint>

namespace ferrow {

// Samples of one receiver in a packet of two frames.
inline int samplesPerPacket(int hwReceivers) {
    return 2 * layoutFor(hwReceivers).records;
}

// Receive samples that a block of 126 transmit samples lasts.
inline long long blockInReceiveSamples(int sampleRate) {
    return static_cast<long long>(sampleRate) * kHpsdrBlockSamples / kHpsdrTransmitRate;
}

// True for the packets of the receive stream that a transmit block follows.
inline bool blockDue(std::uint32_t sequence, int perPacket, long long perBlock) {
    if (perBlock < 1)
        return false;
    const auto samples = static_cast<std::uint64_t>(perPacket);
    const auto block = static_cast<std::uint64_t>(perBlock);
    return sequence * samples / block != (std::uint64_t{sequence} + 1) * samples / block;
}

// Frames between two refreshes of the telemetry.
inline long long telemetryFramesPerRefresh(int hwReceivers, int sampleRate) {
    return hwReceivers * (static_cast<long long>(sampleRate) * 80 / kHpsdrTransmitRate);
}

// Frames in a window of the automatic gain.
inline long long autoGainWindow(int hwReceivers, int sampleRate) {
    return hwReceivers * (static_cast<long long>(sampleRate) * 1000 / kHpsdrTransmitRate);
}

} // namespace ferrow
