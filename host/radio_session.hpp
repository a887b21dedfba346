// A radio at work for the host, from the first setting to the last Deleted.
#pragma once

#include "host/discovery.hpp"
#include "host/library.hpp"
#include "host/library_words.hpp"
#include "host/radio_kinds.hpp"
#include "host/transceiver.hpp"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ferrow {

// How strongly a radio transmits.
struct TransmitPower {
    int drive = 255; // 0 to 255
    bool amplifier = false;
    bool tuner = false; // start the antenna tuner with a carrier
};

// What the radio tells while it transmits.
struct TransmitReadings {
    double forward = 0, reverse = 0; // watts
    double swr = 0;
    double current = 0;     // milliamperes
    double temperature = 0; // degrees Celsius
    int lowestFill = 0;     // of the radio's transmit buffer, 0 to 128
    int underflows = 0, overflows = 0;
};

class RadioSession {
public:
    // Throws Failure if the radio serves another host already, or an API does not know it.
    RadioSession(Library& library, const FoundRadio& radio, const RadioOptions& options);
    // Stops, if that has not been done.
    ~RadioSession();
    RadioSession(const RadioSession&) = delete;
    RadioSession& operator=(const RadioSession&) = delete;

    // Makes a transceiver at `vfo` Hz. start() starts those that are there by then; one that comes later is
    // its owner's to start. Throws Failure if the library makes none.
    Transceiver& add(long long vfo);
    // Takes one off the radio and gives it back to the library; what its callbacks name must live on until
    // they have ended, but for onAudio.
    void remove(Transceiver& transceiver);

    // For commands that transmit, before start().
    void setPower(const TransmitPower& power);
    // Whether the radio is keyed, as the library sees it.
    bool keyed() const { return keyed_; }
    const TransmitReadings& readings() const { return readings_; }

    // Starts radio and transceivers, and waits for samples. Throws Failure if none come.
    void start();

    // For hosts whose transceivers come and go while the radio runs: starts it without any. What comes of it
    // is seen by alive().
    void open();
    // Ends the stream and begins it anew, with the transceivers that there are.
    void restart();
    // Tunes all transceivers once more: for radios that have forgotten, once samples flow again.
    void retuneAll();
    // Whether packets or sound have come in the last seconds. A radio that tells of neither, having no
    // transceiver, counts as alive.
    bool alive() const;
    // Whether any have come at all; and whether the radio's kind tells of packets.
    bool heard() const { return packets_ || samplesSince({}); }
    bool tellsPackets() const { return found_.kind == RadioKind::Hpsdr; }
    // For the loop of such a host: lets go of what has ended.
    void poll();

    // Throws Failure when samples have stopped coming. For the loop of a command.
    void checkSamples() const;

    // Why there are no samples, as far as it is known; empty if not.
    std::string trouble() const { return complaint(); }

    // Stops the radio, and no more. For emergencies.
    void halt();

    // Stops the radio, gives everything back, and waits until the library has let go of it.
    void stop();

    // Gaps in the stream of the radio's packets so far.
    int sequenceErrors() const { return sequenceErrors_; }
    bool adcOverload() const { return adcOverload_; }
    const std::vector<std::unique_ptr<Transceiver>>& transceivers() const { return transceivers_; }

private:
    void bindReadings();
    void startOnce();
    // Whether the radio has no receiver before its first start, which makes a transceiver too.
    bool startMakesFirst() const {
        return found_.kind == RadioKind::WsProxy || found_.kind == RadioKind::HpsdrNp;
    }
    // ": connect: Connection refused" or the like, if the library has said so.
    std::string complaint() const;
    std::string place() const; // for messages
    bool samplesSince(Transceiver::Clock::time_point time) const;

    Library& library_;
    std::optional<LibraryWords> words_; // for the kinds that speak on the standard output
    FoundRadio found_;
    double strengthAbove_;       // dB
    int before_ = liveObjects(); // those of others, such as items of the device lists
    int sequenceErrors_ = 0;
    bool adcOverload_ = false;
    bool keyed_ = false;
    TransmitReadings readings_;
    std::optional<Transceiver::Clock::time_point> lastPackets_;
    bool packets_ = false;
    bool started_ = false;
    void* arrived_ = nullptr; // handle that vtrxAdded brought last
    std::vector<std::unique_ptr<Transceiver>> transceivers_;
    std::vector<std::unique_ptr<Transceiver>> leaving_; // released, their callbacks may still come
    Object radio_;
};

} // namespace ferrow
