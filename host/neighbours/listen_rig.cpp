#include "host/neighbours/listen_rig.hpp"

#include "host/neighbours/rig_modes.hpp"

namespace ferrow {

ListenRig::ListenRig(Tuning& tuning, Radio radio)
    : tuning_(tuning), radio_(std::move(radio)), name_(rigModeOf(tuning).name) {}

FrequencyRange ListenRig::range() const {
    return {1'000, 4'294'967'295}; // as frequencies are read
}

std::vector<RigMode> ListenRig::modes() const {
    return rigModes();
}

RigAnswer ListenRig::setFrequency(Vfo vfo, long long hertz) {
    if (vfo != Vfo::A)
        return RigAnswer::NotSupported;
    tuning_.frequency = hertz;
    radio_.tune(false);
    return RigAnswer::Done;
}

RigMode ListenRig::mode(Vfo) const {
    return {name_, rigModeOf(tuning_).passband};
}

RigAnswer ListenRig::setMode(Vfo vfo, const RigMode& mode) {
    if (vfo != Vfo::A)
        return RigAnswer::NotSupported;
    const auto tuning = tuningIn(mode, tuning_);
    if (!tuning)
        return RigAnswer::BadArgument;
    tuning_ = *tuning;
    name_ = mode.name;
    radio_.tune(true);
    return RigAnswer::Done;
}

std::optional<double> ListenRig::strength() const {
    const auto level = radio_.strength();
    return level ? std::optional(*level - radio_.s9) : std::nullopt;
}

} // namespace ferrow
