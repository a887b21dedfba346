#include "radios/hpsdr/packet_builder.hpp"

#include "radios/hpsdr/frequency_word.hpp"
#include "radios/hpsdr/wire.hpp"

#include <cstring>

namespace ferrow {

ControlWords PacketBuilder::nextWords(PacketInputs& inputs) {
    const int turn = bank++;
    ControlState& control = inputs.control;
    // A bus entry takes the turn of the bank, which waits for its next round.
    if (const auto entry = i2cQueue.nextFrame(control.ptt))
        return *entry;
    if (turn == 0) {
        const bool transmit = control.ptt || hang > 1;
        const long long received = control.receivers.empty() ? 0 : control.receivers[0].frequency;
        control.filterWord = selectFilter(transmit ? txFrequency : received, transmit);
    }
    if (turn == 1 && inputs.hasTransmitter)
        txFrequency = inputs.transmitterFrequency;
    control.txFrequency = txFrequency;
    return controlBank(turn, control);
}

void PacketBuilder::frame(std::uint8_t* at, PacketInputs& inputs,
                          std::span<const std::complex<float>> samples) {
    std::memset(at, 0x7F, 3);
    const ControlWords words = nextWords(inputs);
    std::memcpy(at + 3, words.data(), words.size());
    TransmitFormat format;
    format.cwInternal = inputs.control.cwInternal;
    format.gain = inputs.driveGain;
    format.oddZone = inOddZone(txFrequency, inputs.control.clockFrequency);
    format.audioRamp = inputs.control.typeId == 6;
    writeSamples(at + kHpsdrRecords, samples, format, audioRamp);
}

void PacketBuilder::build(std::uint8_t* packet, PacketInputs& inputs,
                          std::span<const std::complex<float>> block) {
    const bool ptt = inputs.control.ptt;
    bool changed = false;
    if (ptt != lastPtt) {
        changed = true;
        bank = 0;
        lastPtt = ptt;
        hang = ptt ? 0 : kHangPackets;
    }
    writeDataHeader(packet, txSequence);
    const bool switching = (changed && hang == 0) || hang == 1;
    if (switching)
        bank = 0;
    frame(packet + kHpsdrFrameA, inputs, block.first(kHpsdrFrameSamples));
    if (bank >= kControlBanks)
        bank = 0;
    if (switching)
        bank = 10;
    frame(packet + kHpsdrFrameB, inputs, block.subspan(kHpsdrFrameSamples, kHpsdrFrameSamples));
    if (bank >= kControlBanks)
        bank = 0;
    ++txSequence;
    if (hang >= 1 && !ptt)
        --hang;
}

} // namespace ferrow
