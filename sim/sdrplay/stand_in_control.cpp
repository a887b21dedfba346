#include "sim/sdrplay/stand_in.hpp"

namespace ferrow::sim::rsp {

const Control& StandIn::control() {
    static const Control table{
        [] {
            const std::lock_guard lock(instance().mutex_);
            return static_cast<int>(instance().calls_.size());
        },
        [](int index, Call* out) {
            const std::lock_guard lock(instance().mutex_);
            const auto& calls = instance().calls_;
            if (index < 0 || index >= static_cast<int>(calls.size()))
                return 0;
            *out = calls[static_cast<std::size_t>(index)];
            return 1;
        },
        [] {
            const std::lock_guard lock(instance().mutex_);
            instance().calls_.clear();
        },
        [](float version) {
            const std::lock_guard lock(instance().mutex_);
            instance().version_ = version;
        },
        [](const DeviceEntry* entries, int count) {
            const std::lock_guard lock(instance().mutex_);
            instance().entries_.assign(entries, entries + count);
        },
        [](const CarrierEntry* entries, int count) {
            const std::lock_guard lock(instance().mutex_);
            instance().carriers_.assign(entries, entries + count);
        },
        [](int function, int code) {
            const std::lock_guard lock(instance().mutex_);
            instance().failures_.at(static_cast<std::size_t>(function)) = code;
        },
        [](int on) {
            const std::lock_guard lock(instance().mutex_);
            instance().stepped_ = on != 0;
            instance().wake_.notify_all();
        },
        [](int callbacks) {
            StandIn& self = instance();
            std::unique_lock lock(self.mutex_);
            self.credits_ += callbacks;
            self.wake_.notify_all();
            self.done_.wait(lock, [&] { return self.credits_ == 0 || !self.running_ || self.unplugged_; });
        },
        [](unsigned count) {
            const std::lock_guard lock(instance().mutex_);
            instance().samplesPerCall_ = count;
        },
        [](int on) {
            const std::lock_guard lock(instance().mutex_);
            instance().loseAcknowledgements_ = on != 0;
        },
        [](int on) {
            const std::lock_guard lock(instance().mutex_);
            instance().gainControl_ = on != 0;
        },
        [](int tuner, int gRdB) {
            const std::lock_guard lock(instance().mutex_);
            const int index = tuner - 1;
            instance().channel(index).gRdB = gRdB;
            instance().tuners_[static_cast<std::size_t>(index)].grChanged = true;
            instance().postGain(index);
        },
        [](double gainDb, double phaseDegrees) {
            const std::lock_guard lock(instance().mutex_);
            instance().secondGainDb_ = gainDb;
            instance().secondPhase_ = phaseDegrees;
        },
        [](int event, int tuner, const EventParamsT* params) {
            const std::lock_guard lock(instance().mutex_);
            instance().post(event, tuner, params != nullptr ? *params : EventParamsT{});
        },
        [] {
            const std::lock_guard lock(instance().mutex_);
            instance().unplug();
        },
        [](int what) {
            const std::lock_guard lock(instance().mutex_);
            instance().hide_ = what;
        },
        [] {
            const std::lock_guard lock(instance().mutex_);
            return outputRate(instance().liveDev_, instance().channel(instance().active(0) ? 0 : 1));
        },
        [] {
            const std::lock_guard lock(instance().mutex_);
            return static_cast<int>(instance().selected_);
        }};
    return table;
}

} // namespace ferrow::sim::rsp
