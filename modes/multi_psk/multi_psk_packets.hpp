// What the MultiPSK program and a receiver say to each other. A body starts with a tag of eight letters;
// numbers are little-endian.
#pragma once

#include "core/buff/buff.hpp"

#include <complex>
#include <cstdint>
#include <span>

namespace ferrow {

enum class MultiPskCommand {
    None,       // nothing to do
    Version,    // answer with versionPacket
    Capability, // answer with capabilityPacket
    Start,      // tune to the frequency and stream
    Tune,       // tune to the frequency
    Stop        // stop the stream
};

struct MultiPskRequest {
    MultiPskCommand command = MultiPskCommand::None;
    std::int32_t frequency = 0; // Hz, of Start and Tune
};

// Any bytes. A body that is too short for its tag is nothing to do. In one with an unknown tag the last byte
// becomes zero.
MultiPskRequest readMultiPskRequest(const buff<char>& body);

// Whole packets, length included.
buff<char> versionPacket();
buff<char> capabilityPacket();               // name, version, rate and tuning range of the receiver
buff<char> frequencyPacket(long long hertz); // its low 32 bits

// The receive baseband as packets of 16-bit pairs, imaginary part first.
class MultiPskStream {
public:
    static constexpr double kFirstGain = 20000000.0;

    // One packet of all of `block`. A sample whose imaginary part would leave +-32000 lowers the gain for
    // itself and for all that follow. The real part may overflow: 16 bits of it remain. What is no finite
    // number is sent as 0.
    buff<char> packet(std::span<const std::complex<float>> block);

    double gain() const noexcept { return gain_; }

private:
    double gain_ = kFirstGain; // only ever falls
};

} // namespace ferrow
