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

    // Makes a transceiver at `vfo` Hz; before start().
    Transceiver& add(long long vfo);

    // For commands that transmit, before start().
    void setPower(const TransmitPower& power);
    // Whether the radio is keyed, as the library sees it.
    bool keyed() const { return keyed_; }
    const TransmitReadings& readings() const { return readings_; }

    // Starts radio and transceivers, and waits for samples. Throws Failure if none come.
    void start();

    // Throws Failure when samples have stopped coming. For the loop of a command.
    void checkSamples() const;

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
    bool started_ = false;
    void* arrived_ = nullptr; // handle that vtrxAdded brought last
    std::vector<std::unique_ptr<Transceiver>> transceivers_;
    Object radio_;
};

} // namespace ferrow
