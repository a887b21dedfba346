// Small observable records that lists are made of.
#pragma once

#include "core/async/async_object.hpp"
#include "core/async/async_property.hpp"

#include <string>

namespace ferrow {

// A choice in a list: a sample rate, an antenna, an audio device.
class ValueLabelItem : public asyncObject {
public:
    explicit ValueLabelItem(std::shared_ptr<syncTask> context) : asyncObject(std::move(context)) {}

    // Both properties are valid from the start.
    ValueLabelItem(std::shared_ptr<syncTask> context, int value, std::string label)
        : asyncObject(std::move(context)) {
        Value.set(value);
        Label.set(std::move(label));
    }

    asyncProperty<int> Value;         // what the choice stands for
    asyncProperty<std::string> Label; // its text
};

// A point of a piecewise linear curve: a power calibration (reading, watts) or an equaliser (Hz, linear
// gain).
class calibLine : public asyncObject {
public:
    explicit calibLine(std::shared_ptr<syncTask> context) : asyncObject(std::move(context)) {}

    // Both properties are valid from the start.
    calibLine(std::shared_ptr<syncTask> context, double in, double out) : asyncObject(std::move(context)) {
        inp.set(in);
        outp.set(out);
    }

    asyncProperty<double> inp;
    asyncProperty<double> outp;
};

} // namespace ferrow
