// How many frames are on the way from a radio to the sink, by the phase of its tone.
#pragma once

#include "tests/soak/tone_judge.hpp"

#include <cstddef>
#include <vector>

namespace ferrow::soak {

// The radio makes (1 + ppm) frames for one of the sink's, and the tone's phase tells how many have been
// played: only changes of what lies between are known. A step that comes right behind a standstill of the
// machine is counted by itself and taken out, so that what is left is the work of the control.
class OnTheWay {
public:
    // `hertz`: of the tone, at the sink.
    OnTheWay(double ppm, double hertz) : ppm_(ppm), framesPerTurn_(ToneJudge::kRate / hertz) {}

    // `settled`: whether these windows count.
    void take(const std::vector<ToneJudge::Window>& windows, bool settled);

    // A straight line through the means of whole seconds.
    struct Line {
        double ppm = 0;      // its slope
        double farthest = 0; // frames, of the second that is farthest from it
        std::size_t seconds = 0;
    };
    Line line() const;

    int jumps = 0, disturbed = 0;               // windows with a step, and with much beside the tone
    int excusedJumps = 0, excusedDisturbed = 0; // those behind a standstill

private:
    double ppm_, framesPerTurn_;
    long long played_ = 0, windows_ = 0;
    double last_ = 0, taken_ = 0, sum_ = 0;
    std::vector<double> seconds_;
};

} // namespace ferrow::soak
