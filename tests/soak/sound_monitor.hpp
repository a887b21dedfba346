// What comes out of the sound server: a steady tone, if nothing is wrong.
#pragma once

#include "tests/soak/machine_watch.hpp"
#include "tests/soak/tone_judge.hpp"
#include "tests/support/pulse_server.hpp"

#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

namespace ferrow::soak {

// Records the sink's monitor and looks for the tone.
class SoundMonitor {
public:
    // How long after a standstill of the machine a silence may come of it: what is on its way from the sound
    // server to here, and the ring that fills anew.
    static constexpr double kAfterStallMs = 300;
    // `hertz`: of the tone. Windows without it go to `log` as "quiet" while silence counts.
    SoundMonitor(const test::PulseServer& server, const MachineWatch& machine, EventLog& log, double hertz);
    ~SoundMonitor();
    SoundMonitor(const SoundMonitor&) = delete;
    SoundMonitor& operator=(const SoundMonitor&) = delete;

    // Whether silence counts from now on.
    void count(bool on) { counts_ = on; }
    // As the judge's, from any thread.
    bool hears() const;
    Sound take();
    std::vector<ToneJudge::Window> takeWindows();
    void follow(double hertz);

private:
    void collect();

    test::ChildProcess recorder_;
    int pipe_ = -1;
    const MachineWatch& machine_;
    EventLog& log_;
    std::thread thread_;
    std::atomic<bool> counts_{false};
    mutable std::mutex mutex_; // the rest
    ToneJudge judge_;
};

} // namespace ferrow::soak
