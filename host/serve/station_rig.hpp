// The station as rig control sees it: the transceiver that a listener has set last, or one of its own while
// nobody listens.
#pragma once

#include "host/neighbours/rig_port.hpp"
#include "host/serve/orders.hpp"
#include "host/serve/receiver.hpp"

#include <functional>

namespace ferrow::serve {

// What it needs of the station; all called on the station's thread.
struct RigSeat {
    std::string description;
    std::function<Receiver*()> receiver; // null if there is none to be had
    // As if its listener had ordered it; the listener is told. Throws Refusal or Failure, as key() does.
    std::function<void(Receiver&, const SetOrder&)> set;
    std::function<void(Receiver&, bool)> key;
    std::function<bool()> keyed, transmits, powered;
    double s9 = -73; // what a signal of S9 measures
};

class StationRig : public RigPort {
public:
    explicit StationRig(RigSeat seat) : seat_(std::move(seat)) {}

    std::string description() const override { return seat_.description; }
    FrequencyRange range() const override { return {1'000, 4'294'967'295}; }
    std::vector<RigMode> modes() const override;
    long long frequency(Vfo vfo) const override;
    RigAnswer setFrequency(Vfo vfo, long long hertz) override;
    RigMode mode(Vfo vfo) const override;
    RigAnswer setMode(Vfo vfo, const RigMode& mode) override;
    bool transmits() const override { return seat_.transmits(); }
    bool ptt() const override { return seat_.keyed(); }
    RigAnswer setPtt(bool on) override;
    std::optional<double> strength() const override;
    bool powered() const override { return seat_.powered(); }

private:
    RigAnswer carryOut(const std::function<void(Receiver&)>& what, RigAnswer refused);

    RigSeat seat_;
    // The name that a client has given the mode: digital modes go by several.
    std::string name_;
    std::string nameOf_; // the station's mode that it stands for
};

} // namespace ferrow::serve
