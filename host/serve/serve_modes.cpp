#include "host/serve/serve_modes.hpp"

#include <array>
#include <nlohmann/json.hpp>

namespace ferrow::serve {
namespace {

constexpr int kCentre = 1500; // Hz, where the receivers of PSK and RTTY stand at first
constexpr int kPitch = 650;   // Hz, of CW in the library

constexpr ServeMode voice(const char* name, Mode mode, int low, int high) {
    return {name, Family::Voice, low, high, mode, SlotMode::Ft8, 0};
}
// The whole of a sideband: the bank reads all signals in it.
constexpr ServeMode psk(const char* name) {
    return {name, Family::Psk, 100, 3000, Mode::Usb, SlotMode::Ft8, kCentre};
}
constexpr ServeMode slots(const char* name, SlotMode mode) {
    return {name, Family::Slots, 100, 3300, Mode::Usb, mode, 0};
}

constexpr std::array<ServeMode, 14> kModes = {{
    voice("usb", Mode::Usb, 200, 2800),
    voice("lsb", Mode::Lsb, -2800, -200),
    voice("am", Mode::Am, -4500, 4500),
    voice("fm", Mode::Fm, -6000, 6000),
    {"cw", Family::Cw, -250, 250, Mode::Cw, SlotMode::Ft8, kPitch},
    slots("ft8", SlotMode::Ft8),
    slots("ft4", SlotMode::Ft4),
    psk("psk31"),
    psk("psk63"),
    psk("psk125"),
    psk("qpsk31"),
    psk("qpsk63"),
    psk("qpsk125"),
    {"rtty", Family::Rtty, 1000, 2200, Mode::Usb, SlotMode::Ft8, kCentre},
}};

} // namespace

const char* nameOf(Family family) {
    switch (family) {
    case Family::Voice:
        return "voice";
    case Family::Cw:
        return "cw";
    case Family::Psk:
        return "psk";
    case Family::Rtty:
        return "rtty";
    case Family::Slots:
        break;
    }
    return "slots";
}

const ServeMode* findMode(std::string_view name) {
    for (const ServeMode& mode : kModes)
        if (name == mode.name)
            return &mode;
    return nullptr;
}

nlohmann::json modesJson() {
    nlohmann::json list = nlohmann::json::array();
    for (const ServeMode& mode : kModes) {
        nlohmann::json one = {
            {"name", mode.name}, {"family", nameOf(mode.family)}, {"low", mode.low}, {"high", mode.high}};
        one["marker"] = mode.marker > 0 ? nlohmann::json(mode.marker) : nlohmann::json();
        if (mode.family == Family::Slots)
            one["period"] = formatOf(mode.slots).periodMs / 1000.0;
        list.push_back(std::move(one));
    }
    return list;
}

} // namespace ferrow::serve
