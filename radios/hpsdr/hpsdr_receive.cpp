#include "core/tasks/log.hpp"
#include "radios/hpsdr/frequency_word.hpp"
#include "radios/hpsdr/hpsdr_radio.hpp"
#include "radios/hpsdr/pacing.hpp"
#include "radios/hpsdr/power_meter.hpp"
#include "radios/hpsdr/receive_frame.hpp"
#include "radios/hpsdr/wideband.hpp"
#include "radios/hpsdr/wire.hpp"
#include "trx/vtrx.hpp"

#include <algorithm>
#include <cmath>

namespace ferrow {

// The comms thread.
bool HpsdrRadio::postPacket(int slot, long long time) {
    // Every posted packet holds a slot, so their number tells that the queue is full; a task that the queue
    // dropped would take its slot with it.
    if (link->socket.outstandingSlots() >= static_cast<int>(syncTask::kSeqRing)) {
        logError("Can't queue seq process");
        return false;
    }
    const int number = streamNumber.load(std::memory_order_acquire);
    queueSeqItem(seqTask("handleRxPacketRIO", [radio = self(), slot, time, number] {
        radio->handleRxPacketRIO(slot, time, number);
    }));
    return true;
}

void HpsdrRadio::handleRxPacketRIO(int slot, long long time, int startedAs) {
    struct Returned {
        HpsdrLink& link;
        int slot;
        ~Returned() { link.comms.releaseRing.push(slot); }
    } const returned{*link, slot};
    // A packet that waited while the stream was restarted has the old layout and sequence.
    if (startedAs != streamNumber.load(std::memory_order_relaxed))
        return;
    readPacket(link->socket.rxData(slot), time);
}

void HpsdrRadio::readPacket(const std::uint8_t* packet, long long time) {
    const IncomingHead head = readHead(packet);
    if (!head.known)
        return;
    if (head.endpoint == kHpsdrEndpointWideband) {
        handleEp4(packet + kHpsdrFrameA, head.sequence);
        return;
    }
    checkSequence(head.sequence, time);
    transmitTick(head.sequence);
    handleEp6(packet + kHpsdrFrameA);
    handleEp6(packet + kHpsdrFrameB);
}

void HpsdrRadio::checkSequence(std::uint32_t sequence, long long time) {
    if (sequence == expectedSequence) {
        const double measured = static_cast<double>(time - lastPacketTime) * 100 / 1e9;
        const double expected =
            static_cast<double>(samplesPerPacket(static_cast<int>(hwReceivers.size()))) / SampleRate.value();
        if (const auto factor = calibration.step(measured, expected, time, autoFreqCalib.value()))
            frequencyCalibration.set(*factor);
    } else {
        ep6SeqErrors.set(ep6SeqErrors.value() + 1);
    }
    expectedSequence = sequence + 1;
    lastPacketTime = time;
}

void HpsdrRadio::transmitTick(std::uint32_t sequence) {
    const int perPacket = samplesPerPacket(static_cast<int>(hwReceivers.size()));
    if (!blockDue(sequence, perPacket, blockInReceiveSamples(SampleRate.value())))
        return;
    if (ptt.value() && txVtrx != nullptr) {
        const auto transmitter = std::static_pointer_cast<vtrx>(txVtrx->shared_from_this());
        transmitter->queueSeqItem(seqTask("modulate", [transmitter] { transmitter->produceTxChunk(); }));
    } else {
        sendcommandcontrol(silence);
    }
}

void HpsdrRadio::handleEp6(const std::uint8_t* frame) {
    readTelemetry(frame + 3);
    deliverFrame(frame);
    stepAutoGain();
    refreshTelemetry();
}

void HpsdrRadio::readTelemetry(const std::uint8_t* control) {
    const TelemetryReport report = telemetry.read(control, ptt.value(), telemetryFrames == 0);
    if (report.skipped)
        return;
    RadioPtt.set(report.radioPtt);
    if (txVtrx != nullptr)
        txVtrx->hardwareKey.exchange(report.cwKey, std::memory_order_acq_rel);
    if (report.adcOverload)
        adcOvl.set(*report.adcOverload);
    if (report.txOverflow)
        TxBufferOverflow.set(TxBufferOverflow.value() + 1);
    if (report.txUnderflow)
        TxBufferUnderflow.set(TxBufferUnderflow.value() + 1);
    if (report.minTxBufferLevel)
        MinTxBufferLevel.set(*report.minTxBufferLevel);
}

void HpsdrRadio::deliverFrame(const std::uint8_t* frame) {
    const FrameLayout layout = frameLayout(frame[2], static_cast<int>(hwReceivers.size()));
    const float scale = sampleScale(rxScale, rxLevelCalibration.value(), maxAdcValue.value());
    for (int r = 0; r < layout.receivers; ++r) {
        const auto index = static_cast<std::size_t>(r);
        const bool mirrored = inOddZone(hwReceivers[index].frequency, clockFrequency.value());
        deliverSamples(IqReader(frame, layout, r, scale, mirrored), static_cast<std::size_t>(layout.records),
                       index);
    }
}

void HpsdrRadio::stepAutoGain() {
    const AutoGainLimits limits{rfAgcMode.value(), rxGain.value(), minRxRFGain.value(), maxRxRFGain.value(),
                                maxAdcValue.value()};
    const long long window = autoGainWindow(static_cast<int>(hwReceivers.size()), SampleRate.value());
    if (const auto changed = autoGain.step(adcOvl.value(), window, limits))
        rxGain.set(*changed);
}

void HpsdrRadio::refreshTelemetry() {
    const long long before = telemetryFrames++;
    if (before <= telemetryFramesPerRefresh(static_cast<int>(hwReceivers.size()), SampleRate.value()))
        return;
    telemetryFrames = 0;
    const double peak = static_cast<double>(adcPeakRunning) / std::max(maxAdcValue.value(), 1);
    adcPeak.set(peak);
    adcPeakDBFS.set(adcPeakRunning == 0 ? -100.0 : 20.0 * std::log10(peak));
    autoGain.notePeak(adcPeakRunning);
    adcPeakRunning = 0;
    Temp.set(boardTemperature(telemetry.inputs()));
    const bool transmitting = ptt.value();
    const PowerReading power = transmitting ? readPower(telemetry.inputs(), powerTable()) : PowerReading{};
    Current.set(transmitting ? boardCurrent(telemetry.inputs()) : 0.0);
    FwdPwr.set(power.forward);
    RevPwr.set(power.reverse);
    Swr.set(power.swr);
    receivedPackets.set(static_cast<int>(link->comms.receivedPackets.load(std::memory_order_relaxed)));
    sentPackets.set(static_cast<int>(link->comms.sentPackets.load(std::memory_order_relaxed)));
}

std::span<const CalibrationPoint> HpsdrRadio::powerTable() {
    powerRows.clear();
    for (const auto& line : FwdPwrCalibration.items())
        if (line)
            powerRows.push_back({line->inp.value(), line->outp.value()});
    return powerRows;
}

void HpsdrRadio::handleEp4(const std::uint8_t* data, std::uint32_t sequence) {
    const std::size_t position = widebandPosition(sequence);
    const int peak =
        decodeWideband(data, widebandScale(rxScale, maxAdcValue.value()), wideSpectrumNext.data() + position);
    adcPeakRunning = std::max(adcPeakRunning, peak);
    if (position + kWidebandQuarter < wideSpectrumNext.size())
        return;
    wideSpectrum = wideSpectrumNext;
    wideSpectrumNext = buff<float>(kWidebandBlock, 0.0f);
}

} // namespace ferrow
