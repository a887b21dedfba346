#include "radios/hpsdr/control_banks.hpp"

#include "radios/hpsdr/frequency_word.hpp"
#include "radios/hpsdr/wire.hpp"

namespace ferrow {

namespace {

std::uint8_t low8(int value) {
    return static_cast<std::uint8_t>(value);
}

std::uint8_t rateCode(int sampleRate) {
    switch (sampleRate) {
    case 96000:
        return 1;
    case 192000:
        return 2;
    case 384000:
        return 3;
    default:
        return 0;
    }
}

// Four bytes of a receiver's frequency; receivers that do not exist stand at a fixed one.
void receiverWord(ControlWords& words, int receiver, const ControlState& state) {
    const auto at = static_cast<std::size_t>(receiver);
    const long long frequency =
        at < state.receivers.size() ? state.receivers[at].frequency : kUnusedReceiverFrequency;
    putBe32(&words[1], frequencyWord(frequency, state.frequencyCalibration, state.clockFrequency));
}

std::uint8_t adcBits(int firstReceiver, const ControlState& state) {
    int bits = 0;
    for (int i = 0; i < 4; ++i) {
        const auto at = static_cast<std::size_t>(firstReceiver + i);
        if (at < state.receivers.size())
            bits |= state.receivers[at].adc << (2 * i);
    }
    return low8(bits);
}

void general(ControlWords& words, const ControlState& state) {
    words[1] = rateCode(state.sampleRate);
    words[2] = static_cast<std::uint8_t>(static_cast<unsigned>(state.filterWord) * 2);
    words[3] = low8((state.extraGain ? 0x08 : 0) | (state.rxAntenna ? 0x20 : 0));
    // Bit 2 asks for full duplex, always.
    words[4] = low8((static_cast<int>(state.receivers.size()) - 1) * 8 | 0x04);
}

void driveAndPa(ControlWords& words, const ControlState& state) {
    words[1] = low8(state.driveByte);
    if (state.typeId == 6 || state.typeId == 7)
        words[2] = low8((state.disableTR ? 0x04 : 0) | (state.enablePA ? 0x08 : 0) |
                        (state.atuTune && state.tune ? 0x10 : 0));
}

std::uint8_t gainByte(const ControlState& state) {
    if (state.hliteRxTxGain)
        return low8(state.rxGain - state.minRxRFGain + 64);
    return low8(state.gainCode + (state.hlite2Gain ? 64 : 32));
}

} // namespace

ControlWords controlBank(int bank, const ControlState& state) {
    ControlWords words{};
    words[0] = low8(bank * 2 | (state.ptt ? 1 : 0));
    if (bank >= 2 && bank <= 8) {
        receiverWord(words, bank - 2, state);
        return words;
    }
    // Bank 23 is a receiver's only on radios that can have more than twelve.
    if (bank >= 18 && bank <= 42 && (bank != 23 || state.maxHwReceivers > 12)) {
        receiverWord(words, bank - 11, state);
        return words;
    }
    switch (bank) {
    case 0:
        general(words, state);
        break;
    case 1:
        putBe32(&words[1],
                frequencyWord(state.txFrequency, state.frequencyCalibration, state.clockFrequency));
        break;
    case 9:
        driveAndPa(words, state);
        break;
    case 10:
        words[4] = gainByte(state);
        break;
    case 14:
        words[1] = adcBits(0, state);
        words[2] = adcBits(4, state);
        words[3] = state.hliteRxTxGain ? low8(state.txGain - state.minRxRFGain - 64) : low8(0);
        break;
    case 15:
        words[1] = state.cwInternal ? 1 : 0;
        break;
    case 16:
        words[1] = low8(state.cwHangTime >> 2);
        words[2] = low8(state.cwHangTime & 3);
        break;
    case 23:
        words[3] = low8(state.pttHangTime);
        words[4] = low8(state.txBufferLatency);
        break;
    default:
        break;
    }
    return words;
}

} // namespace ferrow
