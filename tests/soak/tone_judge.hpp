// Looks for a steady tone in what was recorded, window by window.
#pragma once

#include <vector>

namespace ferrow::soak {

struct Sound {
    double seconds = 0, quiet = 0; // heard, and of these without the tone
    double excused = 0;            // without it behind a standstill of the machine, in neither
    double longestGapMs = 0;
    int gaps = 0;
    double amplitude = 0; // mean of the windows with a tone
};

// One thread.
class ToneJudge {
public:
    static constexpr int kRate = 48000, kWindow = 960; // frames: 20 ms

    // `hertz`: of the tone.
    explicit ToneJudge(double hertz) : usual_(hertz), hertz_(hertz) {}

    // A window of the first channel of `stereo`. `counts`: whether silence does; `excused`: whether the
    // machine has stood still just before, so that a silence that begins now is told apart.
    void judge(const float* stereo, bool counts, bool excused);
    // Whether the tone was there in the last window.
    bool hears() const { return hears_; }
    // Since the last call.
    Sound take();

    // Of each window: the tone's phase in turns, unwrapped; and how much beside the tone there was, as a
    // share of it.
    struct Window {
        double turns, rest;
        bool excused;
    };
    std::vector<Window> takeWindows();
    // Looks for a tone of `hertz` from now on, and keeps its windows; 0: the first tone again, and none are
    // kept.
    void follow(double hertz);

private:
    const double usual_;
    double hertz_;
    bool hears_ = false, keeps_ = false;
    Sound sound_;
    double run_ = 0;   // ms of the gap that lasts
    double level_ = 0; // of the tone, as it usually is
    std::vector<Window> windows_;
    double lastTurns_ = 0;
    long long frames_ = 0;
};

} // namespace ferrow::soak
