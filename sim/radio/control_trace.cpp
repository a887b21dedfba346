#include "sim/radio/control_trace.hpp"

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace ferrow::sim {

ControlTrace::ControlTrace(const std::string& path) : file_(path, std::ios::trunc) {
    if (!file_)
        throw std::runtime_error(fmt::format("cannot write {}", path));
}

void ControlTrace::write(const std::string& radio, std::int64_t timeNs, std::uint32_t sequence, int frame,
                         const ControlBytes& c) {
    const std::string line = fmt::format(
        "{{\"radio\":\"{}\",\"time_ns\":{},\"sequence\":{},\"frame\":{},\"c\":[{},{},{},{},{}]}}\n", radio,
        timeNs, sequence, frame, c[0], c[1], c[2], c[3], c[4]);
    const std::lock_guard lock(mutex_);
    file_ << line;
}

void ControlTrace::write(const std::string& radio, std::int64_t timeNs, const char* kind,
                         std::span<const std::uint8_t> packet, const nlohmann::json& fields) {
    nlohmann::json bytes = nlohmann::json::object();
    for (std::size_t i = 0; i < packet.size(); ++i)
        if (packet[i] != 0)
            bytes[std::to_string(i)] = packet[i];
    const nlohmann::json line = {{"radio", radio},        {"time_ns", timeNs},
                                 {"packet", kind},        {"sequence", readBig32(packet.data())},
                                 {"size", packet.size()}, {"bytes", bytes},
                                 {"fields", fields}};
    const std::lock_guard lock(mutex_);
    file_ << line.dump() << '\n';
}

void ControlTrace::flush() {
    const std::lock_guard lock(mutex_);
    file_.flush();
}

} // namespace ferrow::sim
