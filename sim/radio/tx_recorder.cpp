#include "sim/radio/tx_recorder.hpp"

#include <fmt/format.h>
#include <sndfile.h>
#include <stdexcept>

namespace ferrow::sim {
namespace {

constexpr int kPacketSamples = 2 * kFrameSamples;
constexpr int kRate = 48000;

const char* nameOf(TxEvent event) {
    switch (event) {
    case TxEvent::Data:
        return "data";
    case TxEvent::Start:
        return "start";
    case TxEvent::Stop:
        return "stop";
    case TxEvent::Unkey:
        return "unkey";
    case TxEvent::Watchdog:
        break;
    }
    return "watchdog";
}

std::string hex(const ControlBytes& c) {
    return fmt::format("{:02X}{:02X}{:02X}{:02X}{:02X}", c[0], c[1], c[2], c[3], c[4]);
}

} // namespace

TxRecorder::TxRecorder(const std::string& name, bool all) : all_(all) {
    const std::string base = name.ends_with(".wav") ? name.substr(0, name.size() - 4) : name;
    table_.open(base + ".csv", std::ios::trunc);
    if (!table_)
        throw std::runtime_error(fmt::format("cannot write {}.csv", base));
    SF_INFO info{};
    info.samplerate = kRate;
    info.channels = 2;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    sound_ = sf_open((base + ".wav").c_str(), SFM_WRITE, &info);
    if (sound_ == nullptr)
        throw std::runtime_error(fmt::format("cannot write {}.wav: {}", base, sf_strerror(nullptr)));
    table_ << "event,time_ns,on_air,fill,overflows,underflows,drive,tx_frequency,filter,pa,rate,sequence,ptt,"
              "sample,control_a,control_b\n";
}

TxRecorder::~TxRecorder() {
    sf_close(sound_);
}

void TxRecorder::begin(TxEvent event, const ControlState& control, const TxMoment& moment) {
    table_ << fmt::format("{},{},{:d},{:.0f},{},{},{},{},{},{:d},{}", nameOf(event), moment.utcNs,
                          moment.onAir, moment.fill, moment.overflows, moment.underflows, control.drive,
                          control.txFrequency, control.filterWord, control.enablePa, control.rate);
}

void TxRecorder::write(std::span<const std::uint8_t> packet, const ControlState& control,
                       const TxMoment& moment) {
    if (!all_ && !control.ptt)
        return;
    begin(TxEvent::Data, control, moment);
    table_ << fmt::format(",{},{:d},{},{},{}\n", readBig32(packet.data() + 4), control.ptt, samples_,
                          hex(controlBytes(packet, 0)), hex(controlBytes(packet, 1)));
    std::array<short, 2 * kPacketSamples> words;
    for (int i = 0; i < kPacketSamples; ++i) {
        const auto [first, second] = transmitWords(packet, i);
        words[static_cast<std::size_t>(2 * i)] = second;
        words[static_cast<std::size_t>(2 * i + 1)] = first;
    }
    sf_writef_short(sound_, words.data(), kPacketSamples);
    samples_ += kPacketSamples;
}

void TxRecorder::write(TxEvent event, const ControlState& control, const TxMoment& moment) {
    begin(event, control, moment);
    table_ << fmt::format(",,{:d},{},,\n", control.ptt, samples_);
}

void TxRecorder::flush() {
    table_.flush();
    sf_command(sound_, SFC_UPDATE_HEADER_NOW, nullptr, 0);
    sf_write_sync(sound_);
}

} // namespace ferrow::sim
