// The SDRplay receivers that the vendor's API knows of.
#pragma once

#include "host/discovery.hpp"
#include "host/library.hpp"

#include <string>
#include <vector>

namespace ferrow {

struct SdrplayDevices {
    std::vector<FoundRadio> devices;
    // Where the API's library was looked for, with the reason why each place failed; empty if it was found.
    std::vector<std::string> tried;
};

// Asks the API, in the order in which it tells. Waits for the answer; without the API that is at once.
SdrplayDevices findSdrplayDevices(Library& library);

// The device that an address names: by its serial number, or the first. Throws Failure with all that a user
// needs to know if there is none.
FoundRadio findSdrplayDevice(Library& library, const std::string& serial);

} // namespace ferrow
