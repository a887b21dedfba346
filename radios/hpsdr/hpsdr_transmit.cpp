#include "core/tasks/log.hpp"
#include "radios/hpsdr/hpsdr_radio.hpp"
#include "radios/hpsdr/wire.hpp"
#include "trx/hertz.hpp"
#include "trx/vtrx.hpp"

#include <algorithm>

namespace ferrow {

void HpsdrRadio::updateGains() {
    const bool transmitting = ptt.value() || builder.hangPackets() > 1;
    gain = gainCodes(transmitting ? txGain.value() : rxGain.value(), minRxRFGain.value(), HLiteGain.value(),
                     HLite2Gain.value(), gain);
    updateRxScale();
}

void HpsdrRadio::updateRxScale() {
    rxScale = undoGain(scalePtt ? txGain.value() : rxGain.value());
}

int HpsdrRadio::filterWord(long long frequency, bool transmitting) {
    FilterTables tables;
    tables.useJ16 = UseJ16.value();
    j16Rows.clear();
    for (const auto& row : J16Set.items())
        if (row)
            j16Rows.push_back({row->maxfrequency.value(), row->rx.value(), row->tx.value()});
    bandRows.clear();
    rxWords.clear();
    if (const auto& set = FilterSet.value()) {
        for (const auto& band : set->FilterBands.copy())
            bandRows.push_back(band ? FilterBandRow{band->maxfrequency.value(), band->tx.value()}
                                    : FilterBandRow{});
        for (const auto& row : set->FilterRx.copy())
            rxWords.push_back(row ? row->rx.value() : 0);
    }
    tables.j16 = j16Rows;
    tables.bands = bandRows;
    tables.rxWords = rxWords;
    const std::size_t count = hwReceivers.size();
    for (std::size_t i = 0; i < count; ++i)
        receiverFrequencies[i] = hwReceivers[i].frequency;
    return selectFilter(tables, frequency, transmitting, std::span(receiverFrequencies).first(count));
}

PacketInputs HpsdrRadio::packetInputs() {
    PacketInputs inputs;
    int level = drive.value();
    if (txVtrx != nullptr) {
        const bool tuning = txVtrx->tune.value();
        level = tuning ? TuneDrive.value() : txVtrx->drive.value();
        inputs.control.tune = tuning;
        inputs.hasTransmitter = true;
        inputs.transmitterFrequency =
            std::max(0LL, boundedHertz(txVtrx->vfo.value()) - boundedHertz(TransceiverOffset.value())) +
            txVtrx->TxOffset.value();
    }
    const DriveEntry& entry = driveTable[level];
    inputs.driveGain = entry.gain;

    const std::size_t count = hwReceivers.size();
    for (std::size_t i = 0; i < count; ++i)
        tunings[i] = {hwReceivers[i].frequency, hwReceivers[i].adc};
    ControlState& control = inputs.control;
    control.ptt = ptt.value();
    control.sampleRate = SampleRate.value();
    control.extraGain = gain.extraGain;
    control.rxAntenna = RXAntenna.value();
    control.frequencyCalibration = frequencyCalibration.value();
    control.clockFrequency = clockFrequency.value();
    control.receivers = std::span<const ReceiverTuning>(tunings).first(count);
    control.maxHwReceivers = maxHwReceivers.value();
    control.driveByte = entry.drive;
    control.typeId = TypeID.value();
    control.disableTR = disableTR.value();
    control.enablePA = enablePA.value();
    control.atuTune = ATUTune.value();
    control.hliteRxTxGain = HLiteRxTxGain.value();
    control.hlite2Gain = HLite2Gain.value();
    control.rxGain = rxGain.value();
    control.txGain = txGain.value();
    control.minRxRFGain = minRxRFGain.value();
    control.gainCode = gain.gainCode;
    control.cwInternal = cwInternal.value();
    control.cwHangTime = cwHangTime.value();
    control.pttHangTime = PTTHangTime.value();
    control.txBufferLatency = TXBufferLatency.value();
    return inputs;
}

namespace {

constexpr int kNoRoom = DatagramSocket::kTransmitSlots; // stands for the slot of a packet that will be lost

} // namespace

// The slots go round as the ring does. Without room in the ring the next slot is one that still waits there,
// so it is left alone and the packet is built aside.
int HpsdrRadio::allocateSend(std::size_t length) {
    return link->comms.sendRing.full() ? kNoRoom : link->socket.allocateSend(static_cast<int>(length));
}

std::uint8_t* HpsdrRadio::packetAt(int slot) {
    return slot == kNoRoom ? lostPacket.data() : link->socket.txData(slot);
}

bool HpsdrRadio::queuePacket(int slot) {
    return slot != kNoRoom && link->comms.sendRing.push(slot);
}

void HpsdrRadio::sendcommandcontrol(const buff<std::complex<float>>& block) {
    // The samples that are still in flight when ptt changes have the gain of before.
    if (gainSettle < 4) {
        ++gainSettle;
    } else {
        scalePtt = ptt.value();
        updateRxScale();
    }
    const int slot = allocateSend(kHpsdrPacketSize);
    if (slot < 0) {
        logError("scc no tx buffers");
        return;
    }
    PacketInputs inputs = packetInputs();
    const bool tail = builder.hangPackets() > 1;
    builder.build(packetAt(slot), inputs, {block.data(), block.size()});
    // A stream that was stopped in a transmission's tail starts anew with the transmit gain.
    if (tail && builder.hangPackets() == 1)
        updateGains();
    if (!queuePacket(slot))
        logError("HpsdrRadio::sendcommandcontrol can't queue");
}

void HpsdrRadio::transmit(buff<std::complex<float>> block) {
    if (block.size() != kHpsdrBlockSamples) {
        logError("HpsdrRadio::transmit block of {} samples", block.size());
        return;
    }
    sendcommandcontrol(block);
}

void HpsdrRadio::writeBias() {
    if (biasEnabled.value())
        builder.i2c().writeBias(paBias0.value(), paBias1.value(), FwVersion.value());
}

void HpsdrRadio::writeExtBias() {
    if (biasEnabled.value())
        builder.i2c().writeExternalBias(paExtBias0.value());
}

void HpsdrRadio::writeMac(std::uint32_t value) {
    builder.i2c().writeMac(value, FwVersion.value());
}

void HpsdrRadio::writeIP(std::uint32_t value) {
    builder.i2c().writeIP(value, FwVersion.value());
}

void HpsdrRadio::writeStatus(std::uint32_t value) {
    builder.i2c().writeStatus(value, FwVersion.value());
}

} // namespace ferrow
