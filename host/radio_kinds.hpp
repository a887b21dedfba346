// The library's radio objects, one kind like the other: made, and set up before the first start.
#pragma once

#include "host/discovery.hpp"
#include "host/handle.hpp"

#include <functional>
#include <optional>

namespace ferrow {

struct RadioOptions {
    int sampleRate = 192000;
    std::optional<int> gain; // RF gain, dB; of an SDRplay receiver a step; nothing: the library's
    bool takeOver = false;   // start it even if it serves another host
};

// The object for a radio, with its place, its limits, rate and gain. Throws UsageError for a gain that it has
// not.
Object makeRadio(const FoundRadio& radio, const RadioOptions& options);

// dB that the library's signal strength lies above that of other radios, where 0 dB is full scale at 0 dB of
// gain.
double strengthAbove(RadioKind kind, int sampleRate);

// Gaps in the stream, and overloads of the converter, for those kinds that tell.
void bindHealth(Object& object, RadioKind kind, std::function<void(int)> onGaps,
                std::function<void(bool)> onOverload);

} // namespace ferrow
