// A radio in memory, to serve.
#pragma once

#include "host/neighbours/rig_port.hpp"

namespace ferrow::test {

class FakeRig : public RigPort {
public:
    std::string description() const override { return "a radio in memory"; }
    FrequencyRange range() const override { return {100'000, 54'000'000}; }
    std::vector<RigMode> modes() const override {
        return {{"USB", 2400}, {"LSB", 2400}, {"CW", 500}, {"AM", 9000}, {"PKTUSB", 3000}};
    }

    Vfo vfo() const override { return vfo_; }
    RigAnswer setVfo(Vfo vfo) override {
        vfo_ = vfo;
        return answer;
    }
    long long frequency(Vfo vfo) const override { return at(vfo).frequency; }
    RigAnswer setFrequency(Vfo vfo, long long hertz) override {
        if (answer == RigAnswer::Done)
            at(vfo).frequency = hertz;
        return answer;
    }
    RigMode mode(Vfo vfo) const override { return at(vfo).mode; }
    RigAnswer setMode(Vfo vfo, const RigMode& mode) override {
        const int before = at(vfo).mode.passband;
        at(vfo).mode = mode;
        if (mode.passband < 0)
            at(vfo).mode.passband = before;
        for (const RigMode& usual : modes())
            if (mode.passband == 0 && usual.name == mode.name)
                at(vfo).mode = usual;
        return answer;
    }
    std::optional<Vfo> split() const override { return split_; }
    RigAnswer setSplit(std::optional<Vfo> transmit) override {
        split_ = transmit;
        return answer;
    }
    bool transmits() const override { return true; }
    bool ptt() const override { return ptt_; }
    RigAnswer setPtt(bool on) override {
        if (answer == RigAnswer::Done)
            ptt_ = on;
        return answer;
    }
    std::optional<double> strength() const override { return level; }
    bool powered() const override { return power; }

    RigAnswer answer = RigAnswer::Done; // to what sets something
    std::optional<double> level = -23.4;
    bool power = true;

private:
    struct State {
        long long frequency;
        RigMode mode;
    };
    State& at(Vfo vfo) { return vfo == Vfo::A ? a_ : b_; }
    const State& at(Vfo vfo) const { return vfo == Vfo::A ? a_ : b_; }

    State a_{14'074'000, {"USB", 2400}}, b_{7'030'000, {"CW", 500}};
    Vfo vfo_ = Vfo::A;
    std::optional<Vfo> split_;
    bool ptt_ = false;
};

} // namespace ferrow::test
