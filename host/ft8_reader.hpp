// From the recording of a period to the lines that an operator reads.
#pragma once

#include "host/ft8_bands.hpp"
#include "host/ft8_calls.hpp"

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace ferrow {

struct Ft8Line {
    double frequency = 0; // Hz, lowest tone
    double dt = 0;        // seconds after the customary start of a frame
    double snr = 0;       // dB in 2500 Hz, measured by SnrMeter
    double rawTime = 0;   // as ft8decode gives them
    double rawSnr = 0;
    std::string message;
};

// Start of a period in UTC, as far as known.
struct SlotTime {
    std::string clock; // "120015", or "------"
    std::string iso;   // "2026-03-01T12:00:15Z", or empty
};

// From a name like .../260301_120015.wav.
SlotTime slotTimeOf(const std::string& path);

// Decodes periods one after the other; calls heard in full stay known for the hashed ones of later periods.
// For one thread at a time.
class Ft8Reader {
public:
    explicit Ft8Reader(SlotMode mode) : mode_(mode) {}

    // Lines by rising frequency; decodes whose bits make no message are left out. Throws Failure for a file
    // that ft8decode does not take.
    std::vector<Ft8Line> read(const std::string& path);

    SlotMode mode() const { return mode_; }

private:
    SlotMode mode_;
    CallTable calls_;
};

// "120015 -12  0.1 1234 ~  CQ K1ABC FN42", in columns under ft8Heading().
std::string showLine(const SlotTime& time, const Ft8Line& line);
std::string ft8Heading();

nlohmann::json lineJson(const SlotTime& time, const Ft8Line& line, SlotMode mode);

} // namespace ferrow
