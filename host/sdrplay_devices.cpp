#include "host/sdrplay_devices.hpp"

#include "host/failure.hpp"

#include <ferrowcore/async.h>
#include <ferrowcore/sdrplay.h>
#include <fmt/format.h>
#include <fmt/ranges.h>

namespace ferrow {
namespace {

constexpr auto kPatience = std::chrono::seconds(20); // a service that is just being started takes its time
constexpr std::string_view kTried = "sdrplay tried ";

// Callbacks have no context, and one may come behind Deleted.
std::vector<std::string> names;
bool gone = false;

FoundRadio readName(const std::string& name) {
    const auto dash = std::min(name.find('-'), name.size());
    FoundRadio radio;
    radio.kind = RadioKind::SdrPlay;
    radio.address = name.substr(0, dash);
    radio.model = dash < name.size() ? name.substr(dash + 1) : "";
    radio.receivers = radio.model == "RSPduo" ? 2 : 1;
    return radio;
}

} // namespace

SdrplayDevices findSdrplayDevices(Library& library) {
    names.clear();
    gone = false;
    const std::size_t before = library.logLines(kTried).size();
    void* controller = SDRPlayController_create();
    asyncObject_bindDeleted(controller, [](int) { gone = true; });
    SDRPlayController_bindnewRadio(controller, [](const char* name) { names.emplace_back(name); });
    SDRPlayController_Discover(controller);
    SDRPlayController_release(controller); // it lives on until it has asked
    if (!library.pumpThrough([] { return gone; }, kPatience))
        throw Failure("the SDRplay API does not answer");
    library.pump();
    SdrplayDevices found;
    for (const std::string& name : names)
        found.devices.push_back(readName(name));
    found.tried = library.logLines(kTried);
    found.tried.erase(found.tried.begin(), found.tried.begin() + static_cast<std::ptrdiff_t>(before));
    return found;
}

FoundRadio findSdrplayDevice(Library& library, const std::string& serial) {
    const SdrplayDevices found = findSdrplayDevices(library);
    if (!found.tried.empty())
        throw Failure(fmt::format("the SDRplay API library is not there. Tried:\n  {}\n"
                                  "Install the vendor's API, version 3.08, or name its file in "
                                  "FERROW_SDRPLAY_LIBRARY",
                                  fmt::join(found.tried, "\n  ")));
    if (found.devices.empty())
        throw Failure("the SDRplay API tells of no device: is one connected, is no other program using it, "
                      "and is the API's version 3.08?");
    std::vector<std::string> urls;
    for (const FoundRadio& device : found.devices) {
        if (serial.empty() || device.address == serial)
            return device;
        urls.push_back(device.url());
    }
    throw Failure(fmt::format("no SDRplay device has the serial number {}; there are: {}", serial,
                              fmt::join(urls, ", ")));
}

} // namespace ferrow
