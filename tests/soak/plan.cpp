#include "tests/soak/plan.hpp"

#include <algorithm>
#include <stdexcept>

namespace ferrow::soak {
namespace {

constexpr double kPackets = 10105; // a second, of four receivers at 384 kHz

// A stall about four times in a phase of so many seconds, and not more than every second.
std::string stall(double seconds, int ms, bool drop) {
    const double every = std::clamp(seconds * kPackets / 4, 12000.0, 60000.0);
    return "stall:every=" + std::to_string(static_cast<long long>(every)) + ",ms=" + std::to_string(ms) +
           (drop ? ",drop=1" : "");
}

// A turn of all phases; `length`: 1 for one of ten minutes. Bounds of gaps: what the fault takes away, and
// the ring's filling after it, twice over where the reader has lost its place.
std::vector<Phase> turn(double length) {
    const bool brief = length < 0.5;
    std::vector<Phase> all;
    const auto add = [&](double seconds, double least, Phase phase) {
        phase.seconds = std::max(seconds * length, least);
        // A test must bear a busy machine.
        phase.longestGapMs += brief ? 200 : 0;
        phase.quietShare += brief ? 0.25 : 0;
        all.push_back(std::move(phase));
    };
    const int stallMs = brief ? 400 : 1000;
    const double behind = 0.5 + stallMs / 1000.0; // one may begin at the end
    add(90, 4, {.name = "steady"});
    // Samples that are missing or double at regular intervals shift the carrier: the tone is not where it
    // was, and silence tells nothing.
    add(45, 2,
        {.name = "loss",
         .faults = {"loss:every=7"},
         .errorsPerFault = 1,
         .longestGapMs = 1e6,
         .quietShare = 1});
    add(30, 2,
        {.name = "duplicates",
         .faults = {"duplicate:every=11"},
         .errorsPerFault = 1,
         .longestGapMs = 1e6,
         .quietShare = 1});
    // One that comes late is a gap before the one that overtook it, one at its own place, and one behind.
    add(30, 2, {.name = "reorder", .faults = {"reorder:every=13"}, .errorsPerFault = 3});
    add(45, 3,
        {.name = "stalls",
         .behind = behind,
         .faults = {stall(45 * length, stallMs, false)},
         .mayDrop = true,
         .longestGapMs = 2.5 * stallMs,
         .quietShare = 0.8});
    add(45, 3,
        {.name = "dropouts",
         .behind = behind,
         .faults = {stall(45 * length, stallMs, true)},
         .errorsPerFault = 1,
         .longestGapMs = 2.5 * stallMs,
         .quietShare = 0.8});
    add(30, 2,
        {.name = "restarts",
         .faults = {brief ? "restart:every=9000" : "restart:every=20000"},
         .errorsPerFault = 1});
    add(30, 2,
        {.name = "garbage",
         .faults = {"garbage:p=0.01", "wrong-endpoint:p=0.01", "jitter:p=0.001,ms=15"},
         .longestGapMs = 100,
         .quietShare = 0.1});
    add(30, 2, {.name = "fast clock", .clockPpm = 100});
    add(30, 2, {.name = "slow clock", .clockPpm = -100});
    add(45, 4, {.name = "transmit", .transmit = true});
    add(30, 2, {.name = "visitors", .visitors = true});
    add(60, 5, {.name = "vanish", .transmit = true, .vanish = true});
    add(30, 4, {.name = "sound server", .soundLoss = true});
    add(20, 2, {.name = "disk full", .diskFull = true});
    add(30, 2, {.name = "contention", .contention = true, .longestGapMs = 500, .quietShare = 0.1});
    add(20, 1, {.name = "hang", .hang = true});
    return all;
}

} // namespace

Plan planNamed(const std::string& name, double seconds) {
    Plan plan{.name = name};
    if (name == "full") {
        // With what each phase takes beside its own time a full turn is of eleven minutes.
        plan.phases = turn(std::clamp(seconds / 700, 0.001, 1.0));
        plan.settling = seconds < 120 ? 1.2 : 3;
    } else if (name == "drift") {
        plan.drift = true;
        plan.phases = {{.name = "fast clock", .seconds = seconds / 2, .clockPpm = 100, .storm = false},
                       {.name = "slow clock", .seconds = seconds / 2, .clockPpm = -100, .storm = false}};
    } else {
        throw std::invalid_argument("no plan \"" + name + "\"; there are full and drift");
    }
    return plan;
}

} // namespace ferrow::soak
