#pragma once
#include "sim/wire/control_state.hpp"

#include <fstream>
#include <mutex>
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
    void flush();

private:
    std::mutex mutex_;
    std::ofstream file_;
};

/// Transmit samples to a file: a header of 16 bytes ("FERROWTX", then version 1 and 126 samples a record as
/// 32-bit words), then a record of 536 bytes a data packet, all little-endian:
///   u32 sequence, u8 ptt, u8 drive, u8 C0 of frame A, u8 C0 of frame B, u64 UTC in ns, u32 transmit
///   frequency word, u32 cw internal, u32 rate, u32 0, then 126 pairs of i16: transmit words 1 and 2 as on
///   the wire.
/// Used by one radio's receiving thread.
class TxRecorder {
public:
    /// `all`: packets without ptt too.
    TxRecorder(const std::string& path, bool all);
    void write(std::span<const std::uint8_t> packet, const ControlState& control, std::int64_t utcNs);
    void flush() { file_.flush(); }

    static constexpr int kHeaderBytes = 16;
    static constexpr int kRecordBytes = 32 + 126 * 4;

private:
    std::ofstream file_;
    bool all_;
};

} // namespace ferrow::sim
