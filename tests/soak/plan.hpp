// What a run consists of: phases, each with a simulated radio of its own making.
#pragma once

#include <string>
#include <vector>

namespace ferrow::soak {

struct Phase {
    std::string name = {};
    double seconds = 30; // of the radio's stream, behind the settling
    double behind = 0.5; // seconds of the stream behind the last fault: all have been noticed
    std::vector<std::string> faults = {}; // of the simulated radio, as its --fault takes them
    double clockPpm = 0;
    bool storm = true;       // retunes, other modes, property sets, objects made and released
    bool transmit = false;   // press and release in turn
    bool vanish = false;     // the radio's process is killed and started again
    bool soundLoss = false;  // ... and the sound server's
    bool diskFull = false;   // recordings onto a disk that fills up
    bool contention = false; // three busy processes beside
    bool hang = false;       // a program that hangs while it transmits
    bool visitors = false;   // radios come and go beside the first
    int errorsPerFault = 0;  // gaps that the library counts for each fault that struck
    bool mayDrop = false;    // more comes at once than the queue of a radio holds
    double longestGapMs = 0; // of the sound; 0: none at all
    double quietShare = 0;   // largest share of the time that may be silent
};

struct Plan {
    std::string name = {};
    std::vector<Phase> phases = {}; // in turn, again and again, until the time is over
    double settling = 3; // seconds of each stream, in which nothing strikes and silence does not count
    bool drift = false;  // the sound's place in time is followed, with nothing else going on
};

// Throws std::invalid_argument for a name that is none. `seconds`: of the whole run; what phases there are
// stays.
Plan planNamed(const std::string& name, double seconds);

} // namespace ferrow::soak
