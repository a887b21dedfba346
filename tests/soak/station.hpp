// A radio of the library with its transceivers, and everything that a host can do to them at random.
#pragma once

#include "host/library.hpp"
#include "host/transmit_guard.hpp"
#include "tests/soak/plan.hpp"

#include <array>
#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace ferrow::soak {

// How often each thing was done.
struct Deeds {
    long long retunes = 0, modes = 0, sets = 0, binds = 0, objects = 0, presses = 0, visitors = 0,
              recordings = 0, spectra = 0, blocks = 0;
};

// Where the tone stands that the first transceiver plays.
constexpr long long kCarrier = 14'100'000;
constexpr int kTone = 700; // Hz
constexpr int kTransceivers = 16, kReceivers = 4, kRate = 384000;

// All members are for the thread that pumps the library.
class Station {
public:
    using Clock = std::chrono::steady_clock;

    Station(Library& library, TransmitGuard& guard, const std::string& address, int transceivers,
            unsigned seed, std::filesystem::path recordings);
    ~Station();
    Station(const Station&) = delete;
    Station& operator=(const Station&) = delete;

    void start();
    void stop();
    // Something of everything; twenty times a second.
    void act(const Phase& phase);

    // All transceivers as at first, with a plain mode: what they need now can be compared with other times.
    void rest();

    // Off the air, whatever goes on; false if the library did not come to it.
    bool release();
    bool keyed() const { return keyed_ || pressed_.has_value(); }
    // The tone's transceiver opens its output anew.
    void reopenSound();
    // Tunes it so that the tone has kTone Hz where the carrier stands at `carrier`.
    void tuneListener(double carrier);
    double tone() const { return tone_; } // as it comes out, exactly

    // Recordings go to this folder from now on; all transceivers that may record do so, if `all`.
    void recordTo(const std::filesystem::path& folder, bool all);
    // Size of the last recording that was announced, and how many.
    std::uintmax_t lastRecording() const { return lastRecording_; }

    int sequenceErrors() const { return sequenceErrors_; }
    // Seconds since the oldest question that the library has not answered; the longest so far.
    double unanswered() const;
    double slowestAnswer() const { return slowestAnswer_; }
    // Since the tone's transceiver had its last block.
    double sinceBlock() const;
    Deeds deeds() const;

private:
    struct Slot;

    void ask();
    void add(std::size_t place);
    void swapMode(Slot& slot);
    void retune(Slot& slot);
    void setSomething(Slot& slot);
    void visit();
    void transmit();
    bool chance(double share) { return std::uniform_real_distribution<>(0, 1)(random_) < share; }
    int between(int low, int high) { return std::uniform_int_distribution<>(low, high)(random_); }

    Library& library_;
    TransmitGuard& guard_;
    std::string address_;
    std::mt19937 random_;
    std::filesystem::path recordings_, saveFolder_;
    Object radio_;
    void* arrived_ = nullptr;
    int awaited_ = -1; // place of the transceiver that is being made
    std::vector<std::shared_ptr<Slot>> slots_;
    std::optional<Clock::time_point> pressed_;
    Clock::time_point lastPress_{}, pressEnd_{};
    bool keyed_ = false;
    int sequenceErrors_ = 0;
    double tone_ = kTone;
    // A question a second, each with its number; answers come in order.
    int asked_ = 0, answered_ = 0;
    std::array<Clock::time_point, 256> askedAt_{};
    Clock::time_point lastQuestion_{};
    double slowestAnswer_ = 0;
    Clock::time_point lastBlock_{};
    std::uintmax_t lastRecording_ = 0;
    Deeds deeds_;
};

} // namespace ferrow::soak
