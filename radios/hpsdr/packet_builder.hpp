// Order of the control stream: which bank each frame of each data packet carries, the priority of a change of
// ptt, and the tail of transmit settings behind a key-up.
#pragma once

#include "radios/hpsdr/control_banks.hpp"
#include "radios/hpsdr/i2c_queue.hpp"
#include "radios/hpsdr/sample_writer.hpp"

#include <complex>
#include <cstdint>
#include <functional>
#include <span>

namespace ferrow {

// What a packet is built from. `control.txFrequency` and `control.filterWord` are the builder's to fill.
struct PacketInputs {
    ControlState control;
    bool hasTransmitter = false;        // a transceiver may transmit
    long long transmitterFrequency = 0; // its hardware frequency with the transmit offset, Hz
    double driveGain = 1.0;
};

class PacketBuilder {
public:
    static constexpr int kHangPackets = 50;

    // `filter(frequency, transmit)` gives the filter word; it is asked whenever bank 0 is built.
    explicit PacketBuilder(std::function<int(long long, bool)> filter) : selectFilter(std::move(filter)) {}

    // Writes one whole data packet; `block` has 126 samples. A change of `control.ptt` since the last packet
    // sends banks 0 and 10 at once on key-down, and again when the tail of a key-up ends.
    void build(std::uint8_t* packet, PacketInputs& inputs, std::span<const std::complex<float>> block);

    void restartSequence() { txSequence = 0; }
    void setBank(int next) { bank = next; }
    int nextBank() const { return bank; }
    int hangPackets() const { return hang; }
    long long transmitFrequency() const { return txFrequency; }
    I2cQueue& i2c() { return i2cQueue; }

private:
    void frame(std::uint8_t* at, PacketInputs& inputs, std::span<const std::complex<float>> samples);
    ControlWords nextWords(PacketInputs& inputs);

    std::function<int(long long, bool)> selectFilter;
    I2cQueue i2cQueue;
    AudioRamp audioRamp;
    std::uint32_t txSequence = 0;
    int bank = 0;
    bool lastPtt = false;
    int hang = 0; // packets left of the transmit tail
    long long txFrequency = 14095600;
};

} // namespace ferrow
