#pragma once
#include "sim/wire/control_state.hpp"

#include <fstream>
#include <mutex>
#include <nlohmann/json_fwd.hpp>
#include <span>
#include <string>

namespace ferrow::sim {

/// Control trace: one JSON object a line for every control frame. Shared by all radios of the process.
/// {"radio":"127.0.0.1","time_ns":...,"sequence":n,"frame":0|1,"c":[C0,C1,C2,C3,C4]}
class ControlTrace {
public:
    explicit ControlTrace(const std::string& path);
    void write(const std::string& radio, std::int64_t timeNs, std::uint32_t sequence, int frame,
               const ControlBytes& c);
    /// A packet of protocol 2: {"radio":...,"time_ns":...,"packet":"ddc","sequence":n,"size":1444,
    /// "bytes":{"4":2,...},"fields":{...}}, where `bytes` holds those that are not 0, by offset.
    void write(const std::string& radio, std::int64_t timeNs, const char* kind,
               std::span<const std::uint8_t> packet, const nlohmann::json& fields);
    void flush();

private:
    std::mutex mutex_;
    std::ofstream file_;
};

} // namespace ferrow::sim
