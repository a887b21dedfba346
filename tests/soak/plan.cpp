#include "tests/soak/plan.hpp"

#include <algorithm>
#include <stdexcept>

namespace ferrow::soak {
namespace {

constexpr double kCycle = 600;  // seconds of a full turn of all phases
constexpr double kShortest = 3; // of a phase

// `seconds` of a turn of ten minutes. Bounds of gaps: what the fault takes away, the ring's filling after it,
// and twice that where the reader has lost its place.
std::vector<Phase> fullTurn() {
    std::vector<Phase> all;
    const auto add = [&](Phase phase) { all.push_back(std::move(phase)); };
    add({.name = "steady", .seconds = 90});
    // A packet of every seven is a seventh of the sound.
    add({.name = "loss",
         .seconds = 45,
         .faults = {"loss:every=7"},
         .errorsPerFault = 1,
         .longestGapMs = 400,
         .quietShare = 0.5});
    add({.name = "duplicates",
         .seconds = 30,
         .faults = {"duplicate:every=11"},
         .errorsPerFault = 1,
         .longestGapMs = 400,
         .quietShare = 0.3});
    // One that comes late is a gap before the one that overtook it, one at its own place, and one behind.
    add({.name = "reorder", .seconds = 30, .faults = {"reorder:every=13"}, .errorsPerFault = 3});
    add({.name = "stalls",
         .seconds = 45,
         .faults = {"stall:every=60000,ms=1000"},
         .mayDrop = true,
         .longestGapMs = 2500,
         .quietShare = 0.6});
    add({.name = "dropouts",
         .seconds = 45,
         .faults = {"stall:every=60000,ms=1000,drop=1"},
         .errorsPerFault = 1,
         .longestGapMs = 2500,
         .quietShare = 0.6});
    add({.name = "restarts", .seconds = 30, .faults = {"restart:every=20000"}, .errorsPerFault = 1});
    add({.name = "garbage",
         .seconds = 30,
         .faults = {"garbage:p=0.01", "wrong-endpoint:p=0.01", "jitter:p=0.001,ms=15"},
         .longestGapMs = 100,
         .quietShare = 0.1});
    add({.name = "fast clock", .seconds = 30, .clockPpm = 100});
    add({.name = "slow clock", .seconds = 30, .clockPpm = -100});
    add({.name = "transmit", .seconds = 45, .transmit = true});
    add({.name = "visitors", .seconds = 30, .visitors = true});
    add({.name = "vanish", .seconds = 60, .transmit = true, .vanish = true});
    add({.name = "sound server", .seconds = 30, .soundLoss = true});
    add({.name = "disk full", .seconds = 20, .diskFull = true});
    add({.name = "contention",
         .seconds = 30,
         .transmit = true,
         .contention = true,
         .longestGapMs = 500,
         .quietShare = 0.1});
    add({.name = "hang", .seconds = 20, .hang = true});
    return all;
}

double lengthOf(const std::vector<Phase>& phases) {
    double sum = 0;
    for (const Phase& phase : phases)
        sum += phase.seconds;
    return sum;
}

} // namespace

Plan planNamed(const std::string& name, double seconds) {
    Plan plan{.name = name};
    if (name == "full") {
        plan.phases = fullTurn();
        const double factor = std::min(seconds, kCycle) / lengthOf(plan.phases);
        for (Phase& phase : plan.phases)
            phase.seconds = std::max(phase.seconds * factor, kShortest);
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
