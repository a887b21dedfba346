// Writes for the bus behind the radio's gateway. Each replaces one control bank in the stream and is followed
// by a pause, counted in control frames.
#pragma once

#include "radios/hpsdr/control_banks.hpp"

#include <cstdint>
#include <deque>
#include <optional>

namespace ferrow {

struct I2cEntry {
    std::uint8_t device = 0; // C2
    std::uint8_t registerC3 = 0;
    std::uint8_t data = 0; // C4
    int gap = 0;           // control frames that pass before the next entry
};

// `device` of the radio's own store: it moved with firmware 60, and so did the sense of the bias bytes.
std::uint8_t i2cDevice(int fwVersion);
inline constexpr std::uint8_t kI2cExternalBias = 0xAE;
std::uint8_t biasValue(int bias, int fwVersion);

class I2cQueue {
public:
    // The bias entries are only made while the host has enabled the bias; that test is the caller's.
    void setBias0(int bias, int fwVersion);
    void setBias1(int bias, int fwVersion);
    void setExternalBias(int bias);
    void writeBias(int bias0, int bias1, int fwVersion);
    void writeExternalBias(int bias);
    void writeStatus(std::uint32_t value, int fwVersion);
    void writeIP(std::uint32_t value, int fwVersion);
    void writeMac(std::uint32_t value, int fwVersion);

    // Once per control frame, before its words are chosen: the entry that this frame carries, if any, with
    // the transmit flag in C0.
    std::optional<ControlWords> nextFrame(bool ptt);

    std::size_t size() const { return entries.size(); }

private:
    void add(std::uint8_t device, int registerC3, int data, int gap);

    std::deque<I2cEntry> entries;
    int framesSinceI2c = 0;
    int i2cGap = 0;
};

} // namespace ferrow
