#pragma once
#include "sim/wire/protocol1.hpp"

#include <array>
#include <cstdint>
#include <vector>

namespace ferrow::sim {

/// One write to the radio's I2C gateway, as it came.
struct I2cWrite {
    std::uint8_t command, device, reg, data;
};

/// All that the host has told the radio in the control frames of endpoint 2. Plain data; the owner guards it.
struct ControlState {
    bool ptt = false;

    int rate = 48000;
    std::uint8_t filterWord = 0; ///< J16 outputs, 7 bits
    bool extraGain = false;
    bool rxAntenna = false;
    bool duplex = false;
    int receivers = 1;

    std::uint32_t txFrequency = 0;
    std::array<std::uint32_t, kMaxReceivers> rxFrequency{};

    std::uint8_t drive = 0;
    bool disableTr = false;
    bool enablePa = false;
    bool atuTune = false;

    std::uint8_t gainByte = 0;
    bool gainSeen = false;
    std::array<std::uint8_t, 8> adc{};
    std::uint8_t txGainByte = 0;

    bool cwInternal = false;
    int cwHangTime = 0;
    std::uint8_t pttHangTime = 22; ///< ms
    std::uint8_t txLatencyMs = 10;

    std::array<std::uint64_t, 128> bankCount{}; ///< frames seen per bank number

    /// Takes the five bytes of one control frame. Returns true if it was an I2C write, which goes to `i2c`.
    bool apply(const ControlBytes& c, I2cWrite& i2c);

    /// RF gain in front of the ADC in dB, from the gain byte: 64 + code stands for code - 12; 32 +
    /// attenuation for 51 - attenuation, where the extra-gain flag of bank 0 counts as 32 dB of attenuation.
    /// 0 before any came.
    double lnaGainDb() const;
};

} // namespace ferrow::sim
