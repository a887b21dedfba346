// The PSK31 family: a monitor of the whole passband, and a transmitter.
#pragma once

#include "core/async/async_collection.hpp"
#include "core/async/async_event.hpp"
#include "core/async/value_label_item.hpp"
#include "modes/psk/peak_search.hpp"
#include "modes/psk/psk_mod.hpp"
#include "modes/psk_detector.hpp"
#include "modes/text_sender.hpp"
#include "trx/mod_demod.hpp"

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

namespace ferrow {

// 66 detectors listen at once. 0 to 29 (PSK31) and 30 to 59 (PSK63) hunt for signals; 60 to 65, one a mode,
// follow the operator's frequency. One of all, the primary, also reports through this object, and rxFreq and
// txFreq follow it.
//
// Three threads work here: properties change on the object's context, demodulate runs on the transceiver's,
// modulate on the one that pulls. What they share are the atomic words below.
class PskModDemod : public modDemod {
public:
    static constexpr int kDetectors = 66;
    static constexpr int kBank = 30; // detectors of a hunting bank
    static constexpr int kFirstManual = 2 * kBank;
    static constexpr char kEndOfText = '~';

    explicit PskModDemod(const std::shared_ptr<syncTask>& context);

    asyncPersistantCollection<ValueLabelItem> Modes;
    asyncProperty<int> mode{0};                       // one of Modes
    asyncProperty<int> primaryDetector{kFirstManual}; // place in dets
    asyncProperty<int> sigLevel{0};                   // stored for the host
    asyncCollection<PskDetector> dets;
    asyncEvent<std::string> newChars;  // text of the primary
    asyncEvent<std::string> sentChars; // a character each

    // On the object's context: text to send, as much of it as finds room. The number has no meaning.
    void QueueText(std::string text, int number);

    // Returns the real part; takes it for reception unless the transceiver sends.
    buff<float> demodulate(buff<std::complex<float>> block) override;
    // What goes in is not looked at.
    void modulate(buff<std::complex<float>> in, buff<std::complex<float>> out) override;
    void init() override;
    // A press starts with the preamble. A release ends with the postamble and keeps the radio keyed that
    // long; text that is still queued stays for the next press.
    void setPtt(bool on) override;

private:
    static constexpr std::size_t kBlock = 512;
    enum class Command { None, Start, Stop };

    void fillModes();
    void changeMode();
    void changeFrequency();
    const PskDetector* primary() const;

    void takeSample(float sample);
    void processBlock();
    void hunt();
    void report(PskDetector& detector, std::string text, bool isPrimary);
    void followPrimary(int hz, std::uint32_t tuning);
    void publishFrequencies();

    int nextCharacter();
    void endText();

    std::array<std::shared_ptr<PskDetector>, kDetectors>
        bank_; // never changes, whatever the host does to dets

    // The object's context.
    bool following_ = false; // rxFreq changes because the primary's did

    // Reception.
    std::array<float, kBlock> work_{};
    PskPeakSearch spectrum_;
    double peakTrack_ = 1.0;
    int decimPhase_ = 0; // samples until the next one that is taken
    int fill_ = 0, spectrumCount_ = 0, updateCount_ = 0;

    // Between the context and reception.
    std::atomic<std::uint32_t> tuning_{0}; // rises when the host retunes: what was tracked before is void
    std::atomic<bool> followPosted_{false}, publishPosted_{false};

    // Between the context, the transceiver's and the transmitting thread.
    std::atomic<bool> transmitting_{false};
    std::atomic<Command> command_{Command::None};
    std::atomic<int> modeWord_{0};
    std::atomic<bool> carrierOnly_{false};
    std::atomic<double> carrierStep_;
    std::atomic<int> heldChars_{0};         // above 0: the text waits
    std::atomic<std::uint32_t> keyings_{0}; // presses so far
    std::atomic<int> samplesToEnd_{0};      // of the transmission, if it were released now
    TextSender text_{4096, "PskModDemod"};

    // Transmission.
    CPSKMod modulator_;
    std::array<double, 2 * kBlock> generated_{};
};

} // namespace ferrow
