#include "host/commands.hpp"
#include "host/failure.hpp"
#include "host/interrupt.hpp"
#include "host/library.hpp"
#include "host/radio_kinds.hpp"
#include "host/sim_process.hpp"

#include <algorithm>
#include <array>
#include <chrono>
#include <ferrowcore/arrays.h>
#include <ferrowcore/async.h>
#include <ferrowcore/modes.h>
#include <ferrowcore/radio.h>
#include <ferrowcore/vtrx.h>
#include <fmt/format.h>
#include <fstream>
#include <memory>
#include <nlohmann/json.hpp>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace ferrow {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr int kMost = 2048;
constexpr double kBlockSeconds = 512.0 / 48000;
constexpr int kBlocksOff = 20;    // that a transceiver may be behind the clock at the end of a trial
constexpr double kUsedPart = 0.8; // of the receiver's width that carries transceivers
constexpr long long kCentre = 14'100'000;
constexpr auto kSettling = 1500ms;
constexpr auto kPatience = 5s;

struct Options {
    int rateKhz = 384;
    int transceivers = 0; // 0: search
    int most = 1024;
    double seconds = 5;
    bool spectrum = false;
    LibraryOptions library;
    bool json = false;
};

// What the callback of one transceiver has seen. Callbacks carry no context, so each has a number of its own.
struct Heard {
    long long blocks = 0;
    Clock::time_point last{};
    Clock::duration worst{};
};
std::array<Heard, kMost> heard;

template <std::size_t Index>
void takeAudio(void* array) {
    floatArray_delete(array);
    Heard& mine = heard[Index];
    const auto now = Clock::now();
    if (mine.blocks++ > 0)
        mine.worst = std::max(mine.worst, now - mine.last);
    mine.last = now;
}

template <std::size_t... Indices>
constexpr auto audioCallbacks(std::index_sequence<Indices...>) {
    return std::array<void (*)(void*), sizeof...(Indices)>{&takeAudio<Indices>...};
}
constexpr auto kAudioCallbacks = audioCallbacks(std::make_index_sequence<kMost>());

double processSeconds() {
    rusage use{};
    getrusage(RUSAGE_SELF, &use);
    const auto seconds = [](const timeval& t) {
        return static_cast<double>(t.tv_sec) + 1e-6 * static_cast<double>(t.tv_usec);
    };
    return seconds(use.ru_utime) + seconds(use.ru_stime);
}

double residentMegabytes() {
    long pages = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> pages >> resident;
    return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1e6;
}

struct Trial {
    int transceivers = 0;
    double seconds = 0;
    double cores = 0;       // CPU time of this process a second
    double worstMs = 0;     // between two blocks of a transceiver
    double residentMb = 0;  // memory of this process
    long long missed = 0;   // blocks that have not come
    long long dropped = 0;  // chunks that the library had no room for
    int sequenceErrors = 0; // of the radio's stream

    bool good() const { return missed == 0 && dropped == 0 && sequenceErrors == 0; }
};

nlohmann::json trialJson(const Trial& trial) {
    return {{"transceivers", trial.transceivers},
            {"seconds", trial.seconds},
            {"cores", trial.cores},
            {"worst_block_ms", trial.worstMs},
            {"resident_mb", trial.residentMb},
            {"missed_blocks", trial.missed},
            {"dropped_chunks", trial.dropped},
            {"sequence_errors", trial.sequenceErrors},
            {"in_time", trial.good()}};
}

class Stress {
public:
    Stress(Library& library, const std::string& address, const Options& options)
        : library_(library), options_(options) {
        FoundRadio found;
        found.address = address;
        found.receivers = 1;
        RadioOptions radio;
        radio.sampleRate = options.rateKhz * 1000;
        radio_ = makeRadio(found, radio);
        bindHealth(
            radio_, found.kind, [this](int value) { sequenceErrors_ = value; }, [](bool) {});
        radio_.bind(Radio_bindvtrxAdded, [this](void* handle, long long, int, int) { arrived_ = handle; });
    }

    ~Stress() {
        Radio_stop(radio_.get());
        resize(0);
        library_.pump();
    }
    Stress(const Stress&) = delete;
    Stress& operator=(const Stress&) = delete;

    Trial run(int transceivers) {
        resize(transceivers);
        if (!std::exchange(started_, true))
            Radio_start(radio_.get());
        pumpFor(kSettling);
        Trial trial;
        trial.transceivers = transceivers;
        const auto used = handles_.size();
        std::fill_n(heard.begin(), used, Heard());
        const long long dropsBefore = drops();
        const int errorsBefore = sequenceErrors_;
        const double cpuBefore = processSeconds();
        const auto began = Clock::now();
        pumpFor(std::chrono::duration_cast<std::chrono::milliseconds>(
            std::chrono::duration<double>(options_.seconds)));
        trial.seconds = std::chrono::duration<double>(Clock::now() - began).count();
        trial.cores = (processSeconds() - cpuBefore) / trial.seconds;
        trial.residentMb = residentMegabytes();
        trial.dropped = drops() - dropsBefore;
        trial.sequenceErrors = sequenceErrors_ - errorsBefore;
        const auto due = static_cast<long long>(trial.seconds / kBlockSeconds) - kBlocksOff;
        for (std::size_t i = 0; i < used; ++i) {
            trial.missed += std::max(due - heard[i].blocks, 0LL);
            trial.worstMs =
                std::max(trial.worstMs, std::chrono::duration<double, std::milli>(heard[i].worst).count());
        }
        return trial;
    }

private:
    // Transceivers stand side by side over the receiver's width.
    long long frequencyOf(std::size_t i) const {
        const double width = options_.rateKhz * 1000 * kUsedPart;
        const double place = static_cast<double>(i * 619 % kMost) / kMost - 0.5; // 619: spreads any number
        return kCentre + static_cast<long long>(place * width);
    }

    void resize(int wanted) {
        while (handles_.size() > static_cast<std::size_t>(wanted)) {
            vtrx_remove(handles_.back());
            asyncObject_release(handles_.back());
            asyncObject_release(modes_.back());
            handles_.pop_back();
            modes_.pop_back();
        }
        while (handles_.size() < static_cast<std::size_t>(wanted))
            add();
    }

    void add() {
        const std::size_t i = handles_.size();
        arrived_ = nullptr;
        Radio_addVtrx(radio_.get(), frequencyOf(i), 0, 0);
        const auto limit = Clock::now() + kPatience;
        while (arrived_ == nullptr) {
            if (interrupted() || Clock::now() > limit)
                throw Failure(interrupted() ? "interrupted" : "the library makes no transceiver");
            library_.pump();
            std::this_thread::sleep_for(100us);
        }
        void* const made = arrived_;
        void* const mode = ssbModDemod_create();
        vtrx_setmuted(made, true);
        vtrx_setModulation(made, mode);
        vtrx_setRxFilter(made, 200, 2800);
        vtrx_setRxFrequency(made, frequencyOf(i));
        vtrx_setforegroundDisplay(made, options_.spectrum);
        vtrx_bindnewAudio(made, kAudioCallbacks[i]);
        vtrx_setSendAudio(made, true);
        vtrx_start(made);
        handles_.push_back(made);
        modes_.push_back(mode);
    }

    void pumpFor(std::chrono::milliseconds time) {
        const auto end = Clock::now() + time;
        while (Clock::now() < end) {
            if (interrupted())
                throw Failure("interrupted");
            library_.pump();
            std::this_thread::sleep_for(1ms);
        }
    }

    long long drops() const { return static_cast<long long>(library_.logLines("Can't queue").size()); }

    Library& library_;
    const Options& options_;
    Object radio_;
    void* arrived_ = nullptr;
    bool started_ = false;
    int sequenceErrors_ = 0;
    std::vector<void*> handles_, modes_;
};

void say(const Options& options, const Trial& trial) {
    fmt::print(
        options.json ? stderr : stdout,
        "{:>5} transceivers, {:>4.1f} s: {:>6.1f} % of a core, {:.3f} % each, worst block {:>5.1f} ms, "
        "{} missed, {} dropped, {} sequence errors\n",
        trial.transceivers, trial.seconds, 100 * trial.cores,
        100 * trial.cores / std::max(trial.transceivers, 1), trial.worstMs, trial.missed, trial.dropped,
        trial.sequenceErrors);
    std::fflush(options.json ? stderr : stdout);
}

int runStress(const Options& options) {
    const std::string address = freeLoopbackAddress();
    const SimProcess radio(findSimulator(), address);
    Library library(options.library);
    watchInterrupts();
    Stress stress(library, address, options);
    std::vector<Trial> trials;
    const auto attempt = [&](int transceivers) {
        trials.push_back(stress.run(transceivers));
        say(options, trials.back());
        return trials.back().good();
    };
    int largest = 0;
    if (options.transceivers > 0) {
        largest = attempt(options.transceivers) ? options.transceivers : 0;
    } else {
        int tooMany = options.most + 1;
        for (int n = 1; n < tooMany;) {
            if (attempt(n))
                largest = n;
            else
                tooMany = n;
            const int next = tooMany > options.most ? std::min(2 * n, options.most) : (largest + tooMany) / 2;
            // To a tenth.
            if (next <= largest || 10 * (tooMany - largest) <= largest)
                break;
            n = next;
        }
    }
    nlohmann::json all = {{"rate_khz", options.rateKhz},
                          {"spectrum", options.spectrum ? "foreground" : "background"},
                          {"cores", std::thread::hardware_concurrency()},
                          {"largest", largest},
                          {"trials", nlohmann::json::array()}};
    for (const Trial& trial : trials)
        all["trials"].push_back(trialJson(trial));
    if (options.json)
        fmt::print("{}\n", all.dump(2));
    else if (options.transceivers == 0)
        fmt::print("largest number in real time: {}\n", largest);
    return options.transceivers > 0 && largest == 0 ? kExitFailed : kExitDone;
}

} // namespace

void addStressCommand(CLI::App& program, Action& chosen) {
    const auto options = std::make_shared<Options>();
    CLI::App* command = program.add_subcommand(
        "stress", "how many SSB transceivers this machine serves at once from one simulated radio");
    command->add_option("--rate", options->rateKhz, "kHz of the radio's receiver")
        ->check(CLI::IsMember({48, 96, 192, 384}))
        ->capture_default_str();
    command
        ->add_option("--transceivers", options->transceivers,
                     "one trial with this many, which fails if a block is missed; else the largest number is "
                     "looked for")
        ->check(CLI::Range(1, kMost));
    command->add_option("--most", options->most, "where the search ends")
        ->check(CLI::Range(1, kMost))
        ->capture_default_str();
    command->add_option("--seconds", options->seconds, "of a trial")
        ->check(CLI::Range(1.0, 86400.0))
        ->capture_default_str();
    command->add_flag("--spectrum", options->spectrum, "every transceiver's spectrum in the foreground");
    command->add_option("--log", options->library.logFile, "the library's log file");
    command->add_flag("--json", options->json, "print JSON");
    options->library.sound = false;
    options->library.keepLog = false;
    command->callback([options, &chosen] { chosen = [options] { return runStress(*options); }; });
}

} // namespace ferrow
