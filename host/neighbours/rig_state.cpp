#include "host/neighbours/rig_state.hpp"

#include <fmt/format.h>

namespace ferrow {
namespace {

constexpr int kProtocolVersion = 1;
constexpr int kModel = 2; // network radio
constexpr int kRegion = 1;
constexpr unsigned kVfoAAndB = 0x3;
constexpr unsigned kStrengthLevel = 1U << 30;
// Frequency and mode. Clients would else change over to the other VFO and back as they begin, to look at it,
// and get into each other's way.
constexpr const char* kTargetable = "targetable_vfo=0x3";
constexpr int kPttNone = 0, kPttByCommand = 1;

// Hamlib's numbers of the modes, by place; an empty one is of no use here.
constexpr const char* kModeBits[] = {"AM",      "CW",    "USB", "LSB",    "RTTY",   "FM",    "WFM",
                                     "CWR",     "RTTYR", "AMS", "PKTLSB", "PKTUSB", "PKTFM", "ECSSUSB",
                                     "ECSSLSB", "FA",    "SAM", "SAL",    "SAH",    "DSB"};

unsigned bitOf(const std::string& mode) {
    unsigned bit = 1;
    for (const char* name : kModeBits) {
        if (mode == name)
            return bit;
        bit <<= 1;
    }
    return 0;
}

} // namespace

std::vector<std::string> rigState(const RigPort& port, bool keyed) {
    const std::string endOfRanges = "0 0 0 0 0 0 0", none = "0", noBits = "0x0";
    const auto modes = port.modes();
    unsigned bits = 0;
    for (const RigMode& mode : modes)
        bits |= bitOf(mode.name);
    const FrequencyRange range = port.range();
    const auto rangeLine = [&](const char* power) {
        return fmt::format("{}.000000 {}.000000 {:#x} {} {:#x} 0x1", range.lowest, range.highest, bits, power,
                           kVfoAAndB);
    };
    std::vector<std::string> lines = {fmt::to_string(kProtocolVersion), fmt::to_string(kModel),
                                      fmt::to_string(kRegion), rangeLine("-1 -1"), endOfRanges};
    if (port.transmits())
        lines.push_back(rangeLine("0 0"));
    lines.push_back(endOfRanges);
    lines.push_back(fmt::format("{:#x} 1", bits)); // tuning steps of 1 Hz
    lines.emplace_back("0 0");
    for (const RigMode& mode : modes)
        if (bitOf(mode.name) != 0)
            lines.push_back(fmt::format("{:#x} {}", bitOf(mode.name), mode.passband));
    lines.emplace_back("0 0");
    // RIT, XIT, shift of the intermediate frequency, announcements, preamplifiers, attenuators
    lines.insert(lines.end(), 6, none);
    lines.push_back(noBits); // functions to get
    lines.push_back(noBits); // and to set
    lines.push_back(fmt::format("{:#x}", kStrengthLevel));
    lines.push_back(noBits); // levels to set
    lines.push_back(noBits); // parameters to get
    lines.push_back(noBits); // and to set
    if (keyed)
        lines.insert(lines.end(),
                     {"vfo_ops=0x0",
                      fmt::format("ptt_type={:#x}", port.transmits() ? kPttByCommand : kPttNone), kTargetable,
                      "has_set_vfo=1", "has_get_vfo=1", "has_set_freq=1", "has_get_freq=1", "has_set_conf=0",
                      "has_get_conf=0", "has_power2mW=0", "has_mW2power=0", "timeout=0",
                      fmt::format("rig_model={}", kModel), "done"});
    return lines;
}

} // namespace ferrow
