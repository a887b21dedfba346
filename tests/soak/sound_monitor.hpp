// What comes out of the sound server: a steady tone, if nothing is wrong.
#pragma once

#include "tests/soak/machine_watch.hpp"
#include "tests/support/pulse_server.hpp"

#include <atomic>
#include <complex>
#include <mutex>
#include <thread>
#include <vector>

namespace ferrow::soak {

struct Sound {
    double seconds = 0, quiet = 0; // heard, and of these without the tone
    double excused = 0;            // without it behind a standstill of the machine, in neither
    double longestGapMs = 0;
    int gaps = 0;
    double amplitude = 0; // mean of the windows with a tone
};

// Records the sink's monitor and looks for the tone, window by window.
class SoundMonitor {
public:
    static constexpr int kRate = 48000, kWindow = 960; // frames: 20 ms
    // How long after a standstill of the machine a silence may come of it: what is on its way from the sound
    // server to here, and the ring that fills anew.
    static constexpr double kAfterStallMs = 300;
    // `hertz`: of the tone.
    SoundMonitor(const test::PulseServer& server, const MachineWatch& machine, double hertz);
    ~SoundMonitor();
    SoundMonitor(const SoundMonitor&) = delete;
    SoundMonitor& operator=(const SoundMonitor&) = delete;

    // Whether silence counts from now on.
    void count(bool on) { counts_ = on; }
    // Whether the tone was there in the last windows.
    bool hears() const { return hears_; }

    // Since the last call.
    Sound take();
    // Of each window: the tone's phase in turns, unwrapped; and how much beside the tone there was, as a
    // share of it.
    struct Window {
        double turns, rest;
    };
    std::vector<Window> takeWindows();
    // Looks for a tone of `hertz` from now on, and keeps its windows; 0: the first tone again, and none are
    // kept.
    void follow(double hertz);

private:
    void collect();
    void judge(const float* stereo);

    test::ChildProcess recorder_;
    int pipe_ = -1;
    const MachineWatch& machine_;
    const double usual_;
    std::thread thread_;
    std::atomic<bool> counts_{false}, hears_{false};
    std::mutex mutex_; // the rest
    double hertz_;
    bool keeps_ = false;
    Sound sound_;
    double run_ = 0; // ms of the gap that lasts
    double level_ = 0;
    std::vector<Window> windows_;
    double lastTurns_ = 0;
    long long frames_ = 0;
};

} // namespace ferrow::soak
