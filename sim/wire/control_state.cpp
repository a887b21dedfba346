#include "sim/wire/control_state.hpp"

#include <algorithm>

namespace ferrow::sim {
namespace {

constexpr std::uint8_t kI2cGateway = 0xFA;

/// Receiver whose frequency a bank carries, or -1: 0 to 6 lie in banks 2 to 8, 7 onward in 18 to 22.
int receiverOfBank(int bank) {
    if (bank >= 2 && bank <= 8)
        return bank - 2;
    if (bank >= 18 && bank <= 22)
        return bank - 11;
    return -1;
}

} // namespace

bool ControlState::apply(const ControlBytes& c, I2cWrite& i2c) {
    ptt = (c[0] & 1) != 0;
    if ((c[0] & 0xFE) == kI2cGateway) {
        i2c = {c[1], c[2], c[3], c[4]};
        return true;
    }
    const int bank = c[0] >> 1;
    ++bankCount[static_cast<std::size_t>(bank)];
    if (const int receiver = receiverOfBank(bank); receiver >= 0) {
        rxFrequency[static_cast<std::size_t>(receiver)] = readBig32(c.data() + 1);
        return false;
    }
    switch (bank) {
    case 0:
        rate = 48000 << (c[1] & 3);
        filterWord = static_cast<std::uint8_t>(c[2] >> 1);
        extraGain = (c[3] & 0x08) != 0;
        rxAntenna = (c[3] & 0x20) != 0;
        duplex = (c[4] & 0x04) != 0;
        receivers = std::min((c[4] >> 3) + 1, kMaxReceivers);
        break;
    case 1:
        txFrequency = readBig32(c.data() + 1);
        break;
    case 9:
        drive = c[1];
        disableTr = (c[2] & 0x04) != 0;
        enablePa = (c[2] & 0x08) != 0;
        atuTune = (c[2] & 0x10) != 0;
        break;
    case 10:
        gainByte = c[4];
        gainSeen = true;
        break;
    case 14:
        for (std::size_t i = 0; i < 8; ++i)
            adc[i] = static_cast<std::uint8_t>((c[1 + i / 4] >> (2 * (i % 4))) & 3);
        txGainByte = c[3];
        break;
    case 15:
        cwInternal = (c[1] & 1) != 0;
        break;
    case 16:
        cwHangTime = c[1] << 2 | (c[2] & 3);
        break;
    case 23:
        pttHangTime = c[3];
        txLatencyMs = c[4];
        break;
    default:
        break;
    }
    return false;
}

double ControlState::lnaGainDb() const {
    if (!gainSeen)
        return 0.0;
    if (gainByte & 0x40)
        return static_cast<double>(gainByte & 0x3F) - 12.0;
    return 51.0 - static_cast<double>((gainByte & 0x1F) + (extraGain ? 32 : 0));
}

} // namespace ferrow::sim
