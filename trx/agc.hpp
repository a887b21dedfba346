// Gain control, squelch and volume of a transceiver, as the host sees it.
#pragma once

#include "core/async/async_object.hpp"
#include "core/async/async_property.hpp"
#include "core/buff/buff.hpp"
#include "trx/dsp/gain_control.hpp"

namespace ferrow {

class agc : public asyncObject {
public:
    explicit agc(std::shared_ptr<syncTask> context) : asyncObject(std::move(context)) {}

    asyncProperty<float> Attack{0.01f};    // seconds
    asyncProperty<float> Decay{0.2f};      // seconds
    asyncProperty<float> Hang{2.0f};       // seconds
    asyncProperty<float> MaxGain{80.0f};   // dB
    asyncProperty<float> Volume{1.0f};     // linear
    asyncProperty<float> Squelch{-180.0f}; // dB; -180 or below is off
    asyncProperty<double> ManualGain{1.0}; // exponent of ten
    asyncProperty<bool> Enabled{true};     // automatic

    // The transceiver's context: alters `block` in place and returns it. `level` is the signal strength in
    // dB.
    buff<float> process(buff<float> block, bool holdGain, bool applyVolume, float level);

private:
    GainControl control_;
};

} // namespace ferrow
