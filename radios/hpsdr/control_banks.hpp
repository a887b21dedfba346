// The control words that a data packet carries to the radio: 46 banks of five bytes.
#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace ferrow {

inline constexpr int kControlBanks = 46;
inline constexpr long long kUnusedReceiverFrequency = 10000000;

// C0 to C4 of a control frame.
using ControlWords = std::array<std::uint8_t, 5>;

struct ReceiverTuning {
    long long frequency = 0; // Hz
    int adc = 0;             // 0 to 3
};

// Everything that the banks are computed from. `receivers` must outlive the call.
struct ControlState {
    bool ptt = false;
    bool tune = false; // of the transceiver that transmits; false without one
    int sampleRate = 48000;
    int filterWord = 0;
    bool extraGain = false;
    bool rxAntenna = false;
    long long txFrequency = 14095600; // Hz, with the transmit offset
    double frequencyCalibration = 1.0;
    int clockFrequency = 73728000;
    std::span<const ReceiverTuning> receivers;
    int maxHwReceivers = 1;
    int driveByte = 0;
    int typeId = 0;
    bool disableTR = false;
    bool enablePA = false;
    bool atuTune = false;
    bool hliteRxTxGain = false;
    bool hlite2Gain = false;
    int rxGain = 24;
    int txGain = 0;
    int minRxRFGain = -12;
    std::uint8_t gainCode = 26;
    bool cwInternal = false;
    int cwHangTime = 120;
    int pttHangTime = 22;
    int txBufferLatency = 10;
};

// The words of `bank`, 0 to 45, with the transmit flag in C0.
ControlWords controlBank(int bank, const ControlState& state);

} // namespace ferrow
