#include "sim/radio/recorders.hpp"

#include <cstring>
#include <fmt/format.h>
#include <stdexcept>

namespace ferrow::sim {
namespace {

std::ofstream openForWriting(const std::string& path, std::ios::openmode mode) {
    std::ofstream file(path, mode | std::ios::trunc);
    if (!file)
        throw std::runtime_error(fmt::format("cannot write {}", path));
    return file;
}

template <typename T>
void put(std::uint8_t*& at, T value) {
    std::memcpy(at, &value, sizeof value);
    at += sizeof value;
}

} // namespace

ControlTrace::ControlTrace(const std::string& path) : file_(openForWriting(path, std::ios::out)) {}

void ControlTrace::write(const std::string& radio, std::int64_t timeNs, std::uint32_t sequence, int frame,
                         const ControlBytes& c) {
    const std::string line = fmt::format(
        "{{\"radio\":\"{}\",\"time_ns\":{},\"sequence\":{},\"frame\":{},\"c\":[{},{},{},{},{}]}}\n", radio,
        timeNs, sequence, frame, c[0], c[1], c[2], c[3], c[4]);
    const std::lock_guard lock(mutex_);
    file_ << line;
}

void ControlTrace::flush() {
    const std::lock_guard lock(mutex_);
    file_.flush();
}

TxRecorder::TxRecorder(const std::string& path, bool all)
    : file_(openForWriting(path, std::ios::binary)), all_(all) {
    const std::uint32_t words[2] = {1, 126};
    file_.write("FERROWTX", 8);
    file_.write(reinterpret_cast<const char*>(words), sizeof words);
}

void TxRecorder::write(std::span<const std::uint8_t> packet, const ControlState& control,
                       std::int64_t utcNs) {
    if (!all_ && !control.ptt)
        return;
    std::array<std::uint8_t, kRecordBytes> record{};
    std::uint8_t* at = record.data();
    put(at, readBig32(packet.data() + 4));
    put(at, static_cast<std::uint8_t>(control.ptt));
    put(at, control.drive);
    put(at, controlBytes(packet, 0)[0]);
    put(at, controlBytes(packet, 1)[0]);
    put(at, static_cast<std::uint64_t>(utcNs));
    put(at, control.txFrequency);
    put(at, static_cast<std::uint32_t>(control.cwInternal));
    put(at, static_cast<std::uint32_t>(control.rate));
    put(at, std::uint32_t{0});
    for (int i = 0; i < 126; ++i)
        put(at, transmitWords(packet, i));
    file_.write(reinterpret_cast<const char*>(record.data()), kRecordBytes);
}

} // namespace ferrow::sim
