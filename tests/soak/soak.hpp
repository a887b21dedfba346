// The run itself: phase after phase, and what was counted in each.
#pragma once

#include "host/library.hpp"
#include "host/transmit_guard.hpp"
#include "tests/soak/log_watch.hpp"
#include "tests/soak/machine_watch.hpp"
#include "tests/soak/memory_line.hpp"
#include "tests/soak/plan.hpp"
#include "tests/soak/progress.hpp"
#include "tests/soak/radio_process.hpp"
#include "tests/soak/run.hpp"
#include "tests/soak/sound_monitor.hpp"
#include "tests/soak/station.hpp"
#include "tests/soak/verdict.hpp"

#include <map>
#include <optional>

namespace ferrow::soak {

// Of a phase, over all of its turns.
struct Counted {
    Phase phase = {};
    int turns = 0;
    double seconds = 0;
    long long packets = 0;        // that the radio sent
    long long faults = 0;         // that struck
    long long sequenceErrors = 0; // that the library counted
    long long dropped = 0;        // tasks for which the library had no room
    long long commandGaps = 0;    // in the packets to the radio
    int starts = 0, expectedStarts = 0;
    Sound sound = {};
    Stalls stalls = {};       // of the machine
    int returns = 0;          // of the radio, or of the sound
    double slowestReturn = 0; // s
    int transmissions = 0;
    double longestOnAir = 0;                  // s
    int stuck = 0;                            // transmissions that did not end when asked
    std::map<std::string, int> failures = {}; // what else went wrong
    std::map<std::string, long long> log = {};
};

class Soak {
public:
    Soak(const Plan& plan, const Options& options, const std::filesystem::path& folder);
    ~Soak();
    Soak(const Soak&) = delete;
    Soak& operator=(const Soak&) = delete;

    // The phases in turn until `seconds` are over.
    void run(double seconds);
    // One phase, with `round` called in every round of the pump.
    void runPhase(const Phase& phase, const std::function<void()>& round = nullptr);
    void judge(Verdict& verdict, nlohmann::json& report);
    // Lets go of everything; the number of objects that the library keeps.
    int close();

    SoundMonitor& monitor() { return *monitor_; }
    Station& station() { return *station_; }
    double secondsIn() const; // since the phase's stream began

private:
    void startRadio(const Phase& phase);
    void waitForSamples(Counted& counted);
    void endRadio(Counted& counted);
    void loop(const Phase& phase, double until, Counted& counted, const std::function<void()>& round);
    void listen(const Phase& phase, Counted& counted, const std::function<void()>& during);
    void pumpFor(double seconds);
    void round();
    void pullPlug(const Phase& phase, Counted& counted);
    void loseSound(Counted& counted);
    void fillDisk(Counted& counted);
    void freeDisk(Counted& counted);
    void hang(Counted& counted);
    void noteTransmissions(const RadioProcess& radio, Counted& counted);
    void sayProgress(const Phase& phase);
    double elapsed() const;

    using Clock = std::chrono::steady_clock;

    const Plan& plan_;
    const Options& options_;
    std::filesystem::path folder_, scene_, disk_;
    std::string address_;
    TransmitGuard guard_; // forks: before any thread
    Progress progress_;
    test::PulseServer server_;
    EventLog events_;
    MachineWatch machine_{&events_};
    std::optional<SoundMonitor> monitor_;
    std::optional<Library> library_;
    std::optional<Station> station_;
    std::optional<RadioProcess> radio_;
    std::optional<LogWatch> log_;
    std::vector<Counted> counted_;
    MemoryLine memory_, inUse_;         // every second
    MemoryLine settled_, settledInUse_; // at the end of each phase
    double warm_ = 0;                   // seconds until every phase has been gone through
    Clock::time_point began_ = Clock::now(), streamBegan_{}, lastAct_{}, lastSecond_{}, lastWords_{};
    int radios_ = 0;
    bool mounted_ = false;
};

} // namespace ferrow::soak
