// A contact as it goes into logs.
#pragma once

#include <chrono>
#include <string>

namespace ferrow {

// Texts that are not known stay empty.
struct Contact {
    using Time = std::chrono::sys_seconds; // UTC
    std::string call, grid;                // the other station's
    std::string mode;                      // FT8, FT4, USB, CW, PSK31, ...
    long long frequency = 0;               // Hz, of transmission
    Time timeOn, timeOff;
    std::string reportSent, reportReceived;
    std::string myCall, myGrid;
    std::string power; // of transmission, watts
    std::string name, comment;
};

} // namespace ferrow
