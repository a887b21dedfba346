// One transceiver of a listener: its settings, and what comes of it.
#pragma once

#include "host/radio_session.hpp"
#include "host/serve/audio_path.hpp"
#include "host/serve/mode_reader.hpp"
#include "host/serve/spectrum_tap.hpp"

namespace ferrow::serve {

// What receivers use of the station.
struct ReceiverPlace {
    Library& library;
    RadioSession& session;
    SlotDesk& slots;
};

// An order that cannot be carried out; the text is for the listener.
class Refusal : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// For the thread that pumps the library.
class Receiver {
public:
    using Clock = std::chrono::steady_clock;

    // Adds the transceiver to the radio and starts it. Throws Failure if the library makes none.
    Receiver(const ReceiverPlace& place, int id, std::shared_ptr<Peer> peer, const AddOrder& order,
             AudioFormat format);
    // Takes it off the radio.
    ~Receiver();
    Receiver(const Receiver&) = delete;
    Receiver& operator=(const Receiver&) = delete;

    // All or nothing: throws Refusal before anything has been changed.
    void set(const SetOrder& order);
    void view(const ViewOrder& order);
    void setFormat(AudioFormat format) { audio_->setFormat(format); }
    // A new object for the mode: what waited in the old one to be sent is gone.
    void renewMode();

    // Sends what is due: meter, text, labels; and the state, once the library says otherwise of its validity.
    void poll(Clock::time_point now);

    int id() const { return id_; }
    const ServeMode& mode() const { return *mode_; }
    long long frequency() const { return frequency_; }
    int low() const { return low_; }
    int high() const { return high_; }
    int marker() const { return marker_; }
    Transceiver& transceiver() { return transceiver_; }
    // {"is":"transceiver",...}
    nlohmann::json state() const;

private:
    void makeMode();
    void applyGain();
    void applyNoiseReduction();
    void takeAudio(std::span<const float> block);
    void sendMeter(Clock::time_point now);
    bool squelchOpen() const;

    ReceiverPlace place_;
    const int id_;
    std::shared_ptr<Peer> peer_;
    Transceiver& transceiver_;
    std::shared_ptr<SpectrumTap> spectrum_;
    std::unique_ptr<AudioPath> audio_;
    std::unique_ptr<ModeReader> reader_; // may be null

    const ServeMode* mode_;
    long long frequency_;
    int low_, high_;
    int marker_;
    Agc agc_ = Agc::Medium;
    double gain_ = 60;
    std::optional<double> squelch_, nr_;
    double volume_ = 0.5;
    bool mute_ = false;

    int zoom_ = 1, bins_ = 1024;
    long long offset_ = 0;
    double rate_ = 0;

    bool toldValid_ = true;
    std::optional<double> toldStrength_;
    bool toldOpen_ = true;
    Clock::time_point lastMeter_{};
};

} // namespace ferrow::serve
