#include "tests/soak/soak.hpp"

#include "host/failure.hpp"
#include "host/interrupt.hpp"
#include "host/sim_process.hpp"
#include "tests/support/sanitizer.hpp"

#include <algorithm>
#include <csignal>
#include <fmt/format.h>
#include <list>
#include <malloc.h>
#include <sys/mount.h>
#include <thread>
#include <unistd.h>

namespace ferrow::soak {
namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

constexpr int kSlower = test::kSanitized ? 5 : 1;
constexpr auto kGuardLimit = 3s * kSlower;
constexpr auto kProgressLimit = 90s * kSlower;
constexpr double kReturn = 10 * kSlower;
constexpr auto kPause = 2ms;
constexpr auto kActEvery = 50ms;
constexpr int kBusy = 3; // processes
// Ends with the process that started it.
constexpr const char* kBusyLoop =
    "while kill -0 $PPID; do i=0; while [ $i -lt 500000 ]; do i=$((i + 1)); done; done";

// The tone, and neighbours for the others to hear. Without noise: what is not the tone is a fault.
constexpr const char* kScene = R"({"name": "soak", "noise_floor": null, "stations": [
 {"kind": "carrier", "frequency": 14100000, "level": -30},
 {"kind": "ssb", "frequency": 7100000, "level": -40, "source": "speech"},
 {"kind": "am", "frequency": 3650000, "level": -40, "source": "speech"},
 {"kind": "psk", "frequency": 21200000, "level": -50, "text": "soak soak soak "},
 {"kind": "cw", "frequency": 21190000, "level": -50, "text": "SOAK"}]})";

Phase calm(const Phase& phase) {
    return {.name = phase.name, .seconds = phase.seconds, .storm = false};
}

double secondsSince(std::chrono::steady_clock::time_point time) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - time).count();
}

} // namespace

Soak::Soak(const Plan& plan, const Options& options, const fs::path& folder)
    : plan_(plan), options_(options), folder_(folder), scene_(folder / "scene.json"), disk_(folder / "disk"),
      address_(freeLoopbackAddress()), guard_(address_, kGuardLimit), progress_(kProgressLimit),
      events_(folder / "events.csv") {
    std::ofstream(scene_) << kScene;
    fs::create_directories(disk_);
    monitor_.emplace(server_, machine_, events_, kTone);
    LibraryOptions library;
    library.logFile = folder_ / "library.log";
    fs::remove(library.logFile);
    library_.emplace(library);
    library_->onPump = [this] { round(); };
    log_.emplace(library.logFile);
    station_.emplace(*library_, guard_, address_, plan.drift ? 1 : options.transceivers, options.seed,
                     folder_ / "recordings");
}

Soak::~Soak() {
    static_cast<void>(close());
    if (mounted_)
        umount2(disk_.c_str(), MNT_DETACH);
}

int Soak::close() {
    if (!library_)
        return 0;
    progress_.say("the end");
    station_.reset();
    library_->wireless().reset();
    library_->settle(0, 10s * kSlower);
    const int left = liveObjects();
    library_.reset();
    return left;
}

double Soak::elapsed() const {
    return secondsSince(began_);
}

double Soak::secondsIn() const {
    return secondsSince(streamBegan_);
}

// With every pump, whoever called it.
void Soak::round() {
    guard_.beat();
    progress_.round();
    if (station_ && station_->unanswered() > static_cast<double>(progress_.limit().count()))
        progress_.fail("the radio's context does not answer");
}

void Soak::pumpFor(double seconds) {
    const auto began = Clock::now();
    while (secondsSince(began) < seconds) {
        library_->pump();
        std::this_thread::sleep_for(kPause);
    }
}

void Soak::sayProgress(const Phase& phase) {
    if (secondsSince(lastSecond_) < 1)
        return;
    lastSecond_ = Clock::now();
    memory_.add(elapsed(), residentMegabytes());
    inUse_.add(elapsed(), allocatedMegabytes());
    const bool terminal = isatty(STDERR_FILENO) == 1;
    if (!terminal && secondsSince(lastWords_) < 10)
        return;
    lastWords_ = Clock::now();
    fmt::print(stderr, "{}{:6.0f} s  {:<14} {:6.1f} MB  {:>8} sets  {:>6} gaps of the stream{}",
               terminal ? "\r\033[K" : "", elapsed(), phase.name, residentMegabytes(), station_->deeds().sets,
               station_->sequenceErrors(), terminal ? "" : "\n");
    std::fflush(stderr);
}

void Soak::startRadio(const Phase& phase) {
    ++radios_;
    std::vector<std::string> arguments = {
        "--receivers", std::to_string(kReceivers),          "--scene",      scene_,
        "--clock-ppm", fmt::format("{:g}", phase.clockPpm), "--fault-seed", std::to_string(options_.seed)};
    for (const std::string& fault : phase.faults) {
        arguments.push_back("--fault");
        arguments.push_back(fmt::format("{}{}start={:.1f},end={:.1f}", fault,
                                        fault.find(':') < fault.size() ? "," : ":", plan_.settling,
                                        plan_.settling + phase.seconds));
    }
    radio_.emplace(address_, folder_ / "radio", arguments);
}

void Soak::waitForSamples(Counted& counted) {
    const auto began = Clock::now();
    if (!library_->pumpThrough([&] { return station_->sinceBlock() < secondsSince(began); },
                               std::chrono::milliseconds(static_cast<int>(1000 * kReturn))))
        ++counted.failures["no samples from the radio"];
    counted.slowestReturn = std::max(counted.slowestReturn, secondsSince(began));
    ++counted.returns;
}

void Soak::noteTransmissions(const RadioProcess& radio, Counted& counted) {
    counted.transmissions += radio.transmissions();
    counted.longestOnAir = std::max(counted.longestOnAir, radio.longestOnAir());
}

void Soak::endRadio(Counted& counted) {
    if (!station_->release())
        ++counted.stuck;
    station_->stop();
    pumpFor(0.3);
    const nlohmann::json statistics = radio_->end();
    counted.packets += statistics["out"]["endpoint6"].get<long long>();
    for (const auto& [kind, strikes] : statistics["faults"].items())
        counted.faults += strikes.get<long long>();
    counted.commandGaps += statistics["endpoint2"]["gaps"].get<long long>();
    counted.starts += statistics["starts"].get<int>();
    ++counted.expectedStarts;
    noteTransmissions(*radio_, counted);
    radio_.reset();
}

void Soak::runPhase(const Phase& phase, const std::function<void()>& round) {
    progress_.say(phase.name);
    auto place =
        std::ranges::find_if(counted_, [&](const Counted& one) { return one.phase.name == phase.name; });
    if (place == counted_.end()) {
        counted_.push_back({.phase = phase});
        place = counted_.end() - 1;
    }
    Counted& counted = *place;
    ++counted.turns;
    const int errorsBefore = station_->sequenceErrors();
    startRadio(phase);
    station_->tuneListener(static_cast<double>(kCarrier) / (1 + phase.clockPpm * 1e-6));
    streamBegan_ = Clock::now();
    station_->start();
    waitForSamples(counted);
    loop(calm(phase), plan_.settling, counted, round);
    listen(phase, counted, [&] { loop(phase, plan_.settling + phase.seconds, counted, round); });
    station_->rest();
    if (!interrupted())
        pumpFor(std::max(plan_.settling + phase.seconds + phase.behind - secondsIn(), 0.0));
    counted.seconds += secondsIn();
    endRadio(counted);
    malloc_trim(0); // what the allocator keeps for later depends on what went on before
    settled_.add(elapsed(), residentMegabytes());
    settledInUse_.add(elapsed(), allocatedMegabytes());
    counted.sequenceErrors += station_->sequenceErrors() - errorsBefore;
    for (const auto& [words, number] : log_->take()) {
        counted.log[words] += number;
        if (words.find("Can't queue") != std::string::npos)
            counted.dropped += number;
    }
}

// Counts the silence of what `during` does, unless that takes the sound away by intention.
void Soak::listen(const Phase& phase, Counted& counted, const std::function<void()>& during) {
    std::list<ChildProcess> busy;
    for (int i = 0; phase.contention && i < kBusy; ++i)
        busy.emplace_back("/bin/sh", std::vector<std::string>{"-c", kBusyLoop});
    if (phase.diskFull)
        fillDisk(counted);
    monitor_->take();
    machine_.take();
    monitor_->count(!phase.transmit && !phase.vanish && !phase.soundLoss);
    during();
    monitor_->count(false);
    const Sound sound = monitor_->take();
    const Stalls stalls = machine_.take();
    counted.stalls.count += stalls.count;
    counted.stalls.seconds += stalls.seconds;
    counted.stalls.longestMs = std::max(counted.stalls.longestMs, stalls.longestMs);
    counted.sound.seconds += sound.seconds;
    counted.sound.quiet += sound.quiet;
    counted.sound.excused += sound.excused;
    counted.sound.gaps += sound.gaps;
    counted.sound.longestGapMs = std::max(counted.sound.longestGapMs, sound.longestGapMs);
    counted.sound.amplitude = sound.amplitude;
    if (phase.diskFull)
        freeDisk(counted);
}

void Soak::loop(const Phase& phase, double until, Counted& counted, const std::function<void()>& round) {
    auto last = Clock::now();
    bool hung = false;
    while (secondsIn() < until && !interrupted()) {
        library_->pump();
        if (round)
            round();
        sayProgress(phase);
        if (Clock::now() - lastAct_ >= kActEvery) {
            lastAct_ = Clock::now();
            station_->act(phase);
        }
        if (phase.vanish && secondsSince(last) > 2) {
            pullPlug(phase, counted);
            last = Clock::now();
        }
        if (phase.soundLoss && secondsSince(last) > 2) {
            loseSound(counted);
            last = Clock::now();
        }
        if (phase.hang && (!hung || secondsSince(last) > 5)) {
            hang(counted);
            hung = true;
            last = Clock::now();
        }
        std::this_thread::sleep_for(kPause);
    }
}

// The radio goes without a word, and comes back as one that knows nothing.
void Soak::pullPlug(const Phase& phase, Counted& counted) {
    radio_->pull();
    noteTransmissions(*radio_, counted);
    pumpFor(0.3);
    Phase plain = phase;
    plain.faults.clear();
    guard_.disarm(); // there is no radio that could be on the air
    startRadio(plain);
    if (station_->keyed())
        guard_.arm();
    station_->stop();
    station_->start();
    waitForSamples(counted);
    if (!station_->release())
        ++counted.stuck;
}

void Soak::loseSound(Counted& counted) {
    server_.kill();
    monitor_.reset();
    pumpFor(1);
    server_.restart();
    monitor_.emplace(server_, machine_, events_, kTone);
    station_->reopenSound();
    const auto began = Clock::now();
    if (!library_->pumpThrough([this] { return monitor_->hears(); },
                               std::chrono::milliseconds(static_cast<int>(1000 * kReturn))))
        ++counted.failures["no sound after the server's return"];
    ++counted.returns;
    counted.slowestReturn = std::max(counted.slowestReturn, secondsSince(began));
}

// As root a file system of 64 KiB, which two or three recordings fill; else recordings go nowhere.
void Soak::fillDisk(Counted& counted) {
    mounted_ = mount("tmpfs", disk_.c_str(), "tmpfs", 0, "size=64k") == 0;
    if (!mounted_)
        ++counted.log["(no file system could be mounted: recordings go to a folder that is not there)"];
    station_->recordTo(mounted_ ? disk_ : fs::path("/dev/full"), true);
}

void Soak::freeDisk(Counted& counted) {
    station_->recordTo(folder_ / "recordings", true);
    const auto whole = [this] { return station_->lastRecording() >= 20000; };
    if (!library_->pumpThrough(whole, std::chrono::milliseconds(static_cast<int>(1000 * kReturn))))
        ++counted.failures["no whole recording after the disk had room again"];
    station_->recordTo(folder_ / "recordings", false);
    if (mounted_)
        umount2(disk_.c_str(), MNT_DETACH);
    mounted_ = false;
}

// `ferrow tune`, whose main thread stops while its library goes on transmitting: its watchdog has a second.
void Soak::hang(Counted& counted) {
    constexpr double kHangAfter = 0.5, kWatchdog = 1;
    const std::string address = address_.substr(0, address_.rfind('.')) + ".253";
    RadioProcess radio(address, folder_ / "second radio", {"--scene", scene_});
    ChildProcess tune("/usr/bin/env", {fmt::format("FERROW_HANG_AFTER={}", kHangAfter), FERROW_PROGRAM,
                                       "tune", "--radio", address, "--frequency", "14.2M", "--seconds", "30",
                                       "--watchdog", fmt::format("{}", kWatchdog), "--json"});
    if (!library_->pumpThrough([&] { return !tune.running(); }, 20s * kSlower))
        ++counted.failures["the watchdog did not end the program that hung"];
    pumpFor(0.2);
    static_cast<void>(radio.end());
    if (radio.transmissions() != 1)
        ++counted.failures["the program that hangs did not transmit"];
    if (radio.longestOnAir() > (kHangAfter + kWatchdog + 0.5) * kSlower)
        ++counted.failures["the program that hangs was on the air too long"];
    noteTransmissions(radio, counted);
}

void Soak::run(double seconds) {
    for (int turn = 0; elapsed() < seconds && !interrupted(); ++turn) {
        for (const Phase& phase : plan_.phases) {
            if (interrupted() || (turn > 0 && elapsed() >= seconds))
                break;
            runPhase(phase);
        }
        if (turn == 0)
            warm_ = elapsed();
    }
}

} // namespace ferrow::soak
