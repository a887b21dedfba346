// One transceiver that listens, as rig control sees it: a single VFO, no key.
#pragma once

#include "host/neighbours/rig_port.hpp"
#include "host/tuning.hpp"

#include <functional>
#include <string>

namespace ferrow {

class ListenRig : public RigPort {
public:
    // `tuning` and all that the functions use must outlive it. `tune` has the radio follow a change of
    // `tuning`, whose mode has changed too if that is true; `strength` is in dB of the library's, `s9` the
    // one of them that is S9.
    struct Radio {
        std::string description;
        std::function<void(bool newMode)> tune;
        std::function<std::optional<double>()> strength;
        double s9;
    };
    ListenRig(Tuning& tuning, Radio radio);

    std::string description() const override { return radio_.description; }
    FrequencyRange range() const override;
    std::vector<RigMode> modes() const override;
    long long frequency(Vfo) const override { return tuning_.frequency; }
    RigAnswer setFrequency(Vfo vfo, long long hertz) override;
    RigMode mode(Vfo) const override;
    RigAnswer setMode(Vfo vfo, const RigMode& mode) override;
    std::optional<double> strength() const override;

private:
    Tuning& tuning_;
    Radio radio_;
    std::string name_; // of the mode; more than one may stand for the same
};

} // namespace ferrow
