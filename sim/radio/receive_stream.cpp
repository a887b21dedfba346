#include "sim/radio/receive_stream.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

namespace ferrow::sim {

ReceiveStream::ReceiveStream(std::shared_ptr<const Sky> sky, double clockPpm, WireScale scale, bool fixedGain,
                             TelemetrySettings telemetry, std::uint8_t firmware)
    : synth_(std::move(sky), clockPpm), scale_(scale), fixedGain_(fixedGain),
      telemetry_(std::move(telemetry)), firmware_(firmware) {}

void ReceiveStream::resetSequence() {
    sequence_ = 0;
    wideSequence_ = 0;
}

void ReceiveStream::begin(const ControlState& control, const SkyTime& time, std::int64_t firstBlock) {
    receivers_ = control.receivers;
    synth_.configure(receivers_, control.rate);
    time_ = time;
    block_ = firstBlock;
    makeBlock(control);
}

void ReceiveStream::makeBlock(const ControlState& control) {
    std::array<ReceiverSetting, kMaxReceivers> settings;
    for (std::size_t r = 0; r < settings.size(); ++r)
        settings[r] = {static_cast<double>(control.rxFrequency[r]),
                       r < control.adc.size() ? control.adc[r] : 0};
    synth_.makeBlock(time_, block_, settings, gainDb(control));
    overload_ = synth_.peak() > 1.0f;
    ++block_;
    position_ = 0;
}

void ReceiveStream::buildEndpoint6(Packet& out, const ControlState& control, double seconds) {
    writeHeader(out, 6, sequence_++);
    const int records = recordsPerFrame(receivers_);
    const float scale = scale_.iq();
    const int stride = 6 * receivers_ + 2;
    for (int frame = 0; frame < 2; ++frame) {
        std::uint8_t* at = out.data() + 8 + frame * kFrameBytes;
        std::fill_n(at, 3, std::uint8_t{0x7F});
        Telemetry::Inputs inputs{control.ptt, overload_, seconds, firmware_, 0};
        if (control.ptt && telemetry_.reportsBuffer()) {
            const std::uint8_t event = std::exchange(txEvent_, std::uint8_t{0});
            inputs.txReport = event ? event : txLevel_;
        }
        const ControlBytes c = telemetry_.next(inputs);
        std::copy(c.begin(), c.end(), at + 3);
        std::fill(at + 8, at + kFrameBytes, std::uint8_t{0});
        int done = 0;
        while (done < records) {
            if (position_ == synth_.blockSamples())
                makeBlock(control);
            const int count = std::min(records - done, synth_.blockSamples() - position_);
            for (int r = 0; r < receivers_; ++r) {
                const Cfloat* samples = synth_.samples(r).data() + position_;
                std::uint8_t* record = at + 8 + done * stride + 6 * r;
                for (int i = 0; i < count; ++i, record += stride) {
                    writeSample24(record, samples[i].real() * scale);
                    writeSample24(record + 3, samples[i].imag() * scale);
                }
            }
            position_ += count;
            done += count;
        }
    }
}

void ReceiveStream::setTxReport(std::uint8_t level, std::uint8_t event) {
    txLevel_ = level;
    if (event)
        txEvent_ = event;
}

void ReceiveStream::buildEndpoint4(Packet& out, const ControlState& control) {
    const std::uint32_t quarter = wideSequence_ & 3;
    if (quarter == 0)
        synth_.makeWideband(time_, block_ * Synth::kHop, gainDb(control), wide_);
    writeHeader(out, 4, wideSequence_++);
    const float limit = scale_.wide();
    for (std::size_t i = 0; i < 512; ++i) {
        const float x = std::clamp(wide_[quarter * 512 + i] * limit, -limit, limit - 1.0f);
        const auto word = static_cast<std::int16_t>(std::lround(x));
        out[8 + 2 * i] = static_cast<std::uint8_t>(word);
        out[9 + 2 * i] = static_cast<std::uint8_t>(static_cast<std::uint16_t>(word) >> 8);
    }
}

} // namespace ferrow::sim
