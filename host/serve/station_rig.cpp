#include "host/serve/station_rig.hpp"

#include "host/neighbours/rig_modes.hpp"

#include <array>
#include <string_view>

namespace ferrow::serve {
namespace {

// The first row of a mode of the station is how rig control calls it; the others are taken as well.
struct Row {
    std::string_view rig, station;
};
constexpr std::array kRows{Row{"USB", "usb"},    Row{"LSB", "lsb"},    Row{"AM", "am"},
                           Row{"FM", "fm"},      Row{"CW", "cw"},      Row{"RTTY", "rtty"},
                           Row{"PKTUSB", "ft8"}, Row{"PKTUSB", "ft4"}, Row{"PKTUSB", "usb"},
                           Row{"PKTLSB", "lsb"}};

std::string_view rigNameOf(std::string_view station) {
    for (const Row& row : kRows)
        if (row.station == station)
            return row.rig;
    return "PKTUSB"; // PSK and its like
}

bool isData(const Receiver& receiver) {
    return receiver.mode().family == Family::Slots || receiver.mode().family == Family::Psk;
}

// In CW rig control speaks of the signal, the station of the dial below it.
long long offsetOf(const ServeMode& mode, int marker) {
    return mode.family == Family::Cw ? marker : 0;
}

// Empty for a mode that there is not. A transceiver that reads data stays with it when asked for data.
std::string_view stationModeOf(std::string_view rig, const Receiver& receiver) {
    if (rig == "PKTUSB")
        return isData(receiver) ? receiver.mode().name : "usb";
    for (const Row& row : kRows)
        if (row.rig == rig)
            return row.station;
    return {};
}

// Sidebands keep their lower edge, the others their middle.
SetOrder filterOrder(const ServeMode& wanted, int passband, const Receiver& receiver) {
    SetOrder order;
    const bool newMode = wanted.name != std::string_view(receiver.mode().name);
    if (passband == 0 || (passband < 0 && newMode) || (passband > 0 && wanted.family != Family::Voice)) {
        order.low = wanted.low;
        order.high = wanted.high;
    } else if (passband > 0 && wanted.voice == Mode::Usb) {
        order.low = wanted.low;
        order.high = wanted.low + passband;
    } else if (passband > 0 && wanted.voice == Mode::Lsb) {
        order.low = wanted.high - passband;
        order.high = wanted.high;
    } else if (passband > 0) {
        order.low = -passband / 2;
        order.high = passband / 2;
    }
    return order;
}

} // namespace

std::vector<RigMode> StationRig::modes() const {
    std::vector<RigMode> all;
    for (const char* name : {"USB", "LSB", "CW", "AM", "FM", "RTTY", "PKTUSB", "PKTLSB"})
        for (const Row& row : kRows)
            if (row.rig == name) {
                const ServeMode* mode = findMode(row.station);
                all.push_back({name, mode->high - mode->low});
                break;
            }
    return all;
}

RigAnswer StationRig::carryOut(const std::function<void(Receiver&)>& what, RigAnswer refused) {
    Receiver* const receiver = seat_.receiver();
    if (receiver == nullptr)
        return RigAnswer::Failed;
    try {
        what(*receiver);
        return RigAnswer::Done;
    } catch (const Refusal&) {
        return refused;
    } catch (const std::exception&) {
        return RigAnswer::Failed;
    }
}

long long StationRig::frequency(Vfo) const {
    const Receiver* const receiver = seat_.receiver();
    return receiver == nullptr ? 0 : receiver->frequency() + offsetOf(receiver->mode(), receiver->marker());
}

RigAnswer StationRig::setFrequency(Vfo vfo, long long hertz) {
    if (vfo != Vfo::A)
        return RigAnswer::NotSupported;
    return carryOut(
        [&](Receiver& receiver) {
            SetOrder order;
            order.id = receiver.id();
            order.frequency = hertz - offsetOf(receiver.mode(), receiver.marker());
            seat_.set(receiver, order);
        },
        RigAnswer::BadArgument);
}

RigMode StationRig::mode(Vfo) const {
    const Receiver* const receiver = seat_.receiver();
    if (receiver == nullptr)
        return {"USB", 0};
    const std::string_view station = receiver->mode().name;
    return {nameOf_ == station ? name_ : std::string(rigNameOf(station)), receiver->high() - receiver->low()};
}

RigAnswer StationRig::setMode(Vfo vfo, const RigMode& mode) {
    if (vfo != Vfo::A)
        return RigAnswer::NotSupported;
    return carryOut(
        [&](Receiver& receiver) {
            const std::string_view station = stationModeOf(mode.name, receiver);
            if (station.empty())
                throw Refusal("no such mode");
            SetOrder order = filterOrder(*findMode(station), mode.passband, receiver);
            order.id = receiver.id();
            if (station != receiver.mode().name)
                order.mode = std::string(station);
            seat_.set(receiver, order);
            name_ = mode.name;
            nameOf_ = station;
        },
        RigAnswer::BadArgument);
}

RigAnswer StationRig::setPtt(bool on) {
    return carryOut([&](Receiver& receiver) { seat_.key(receiver, on); }, RigAnswer::NotAllowed);
}

std::optional<double> StationRig::strength() const {
    Receiver* const receiver = seat_.receiver();
    const auto level = receiver == nullptr ? std::nullopt : receiver->transceiver().signalStrength();
    return level ? std::optional(*level - seat_.s9) : std::nullopt;
}

} // namespace ferrow::serve
