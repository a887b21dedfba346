// Who transmits, and what: one listener at a time.
#pragma once

#include "host/ft8_sender.hpp"
#include "host/serve/microphone.hpp"
#include "host/serve/receiver.hpp"
#include "host/transmitter.hpp"

namespace ferrow::serve {

struct TransmitLimits {
    std::chrono::milliseconds silence{1000};  // of the listener who has the key
    std::chrono::milliseconds longest{180000}; // a transmission
    std::chrono::milliseconds patience{2000};  // of a press or release
};

// For the thread that pumps the library. Nothing here waits, but for cancel().
class TransmitDesk {
public:
    using Clock = std::chrono::steady_clock;

    // What the desk tells. `changed`: something of what is to be told to all listeners; `failed`: to the one
    // who has the key.
    struct Reports {
        std::function<void()> changed;
        std::function<void(int listener, const std::string& about, const std::string& text)> failed;
    };

    // `guard` may be null: nothing is ever sent.
    TransmitDesk(Library& library, RadioSession& session, TransmitGuard* guard, TransmitPower power,
                 TransmitLimits limits, Reports reports);
    // Ends a transmission.
    ~TransmitDesk();

    bool allowed() const { return guard_ != nullptr; }
    bool keyed() const { return session_.keyed(); }
    std::optional<int> owner() const { return work_ ? std::optional(work_->listener) : std::nullopt; }
    // A new transceiver gets the transmitter's drive.
    void welcome(Receiver& receiver) const;

    // Orders of a listener; throw Refusal.
    void key(int listener, Receiver& receiver, bool on);
    void tune(int listener, Receiver& receiver, bool on);
    void send(int listener, Receiver& receiver, const std::string& text);
    void ft8(int listener, Receiver& receiver, const Ft8Order& order);
    // Ends what the listener sends, if anything.
    void stop(int listener);
    // Of the one who has the key, while a voice is sent; others' are ignored.
    void voice(int listener, const MicrophoneFrame& frame);

    // The receiver is about to go, or its radio is gone: returns once its transmission is over.
    void cancel(const Receiver& receiver);
    void cancelAll();

    // From the loop of the station. `lastWord`: when the owner was heard last.
    void poll(Clock::time_point now, Clock::time_point lastWord);

private:
    enum class Kind { Voice, Tone, Text, Slots };
    enum class Phase { Pressing, OnAir, Releasing };
    struct Work {
        int listener = 0;
        Receiver& receiver;
        Kind kind = Kind::Voice;
        Transmitter transmitter;
        std::optional<SlotSender> sender = std::nullopt;
        std::unique_ptr<Microphone> microphone = nullptr;
        Phase phase = Phase::Pressing;
        Clock::time_point began = Clock::now(), phaseBegan = began;
        bool renew = false; // the receiver needs its mode anew: it had another, or characters are left in it
    };

    Work& begin(int listener, Receiver& receiver, Kind kind);
    void press(Work& work);
    // Straight key of CW, which the library keys by itself; else the transmitter.
    void setKey(Work& work, bool on);
    void release(Work& work);
    void finish();
    void pollWork(Clock::time_point now);
    void pollSlots();
    void fail(const std::string& text);
    const char* wordOf(Kind kind) const;

    Library& library_;
    RadioSession& session_;
    TransmitGuard* guard_;
    TransmitPower power_;
    TransmitLimits limits_;
    Reports reports_;
    std::unique_ptr<Work> work_;
};

} // namespace ferrow::serve
