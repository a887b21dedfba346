// A listener's voice on its way to the transmitter.
#pragma once

#include "host/handle.hpp"
#include "host/tuning.hpp"

#include <memory>
#include <span>

namespace ferrow::serve {

// A mode of the library that sends what is put in here: single sideband by the transmit filter, AM, or narrow
// FM. put() is for the thread that pumps the library; the library takes on one of its own.
class Microphone {
public:
    // `deviation` in Hz, of fm.
    Microphone(Mode mode, double deviation);
    ~Microphone();

    // Samples at 48000 a second, -1 to 1. What does not fit any more is lost.
    void put(std::span<const float> samples);

    // The mode's object, for a transceiver.
    Object take() { return std::move(object_); }

private:
    struct Line;
    std::shared_ptr<Line> line_;
    Object object_;
};

} // namespace ferrow::serve
