// Generator of a keyed PSK signal at 48000 samples a second.
#pragma once

#include "modes/psk/mode_word.hpp"

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace ferrow {

// Characters to symbols to samples. One thread at a time; only construction and setIdentification allocate.
class CPSKMod {
public:
    static constexpr int kRate = 48000;
    static constexpr int kRing = 2048;   // characters that can be queued
    static constexpr int kEnvelope = 32; // symbols of the preamble, and of the postamble

    // What a source answers instead of a character.
    static constexpr int kIdle = -3; // nothing to send now: reversals
    static constexpr int kCarrierOn = -2;
    static constexpr int kCarrierOff = -1;

    // The states of a transmission, by number.
    enum class State { Off = 0, Text = 1, Preamble = 3, Postamble = 4, Identification = 5, Tune = 6 };

    explicit CPSKMod(int modeWord = 0);
    virtual ~CPSKMod() = default;

    // Fixes scheme, speed and shapes, from the next symbol on; what is being sent goes on in it.
    void setMode(int word);
    void setAmplitude(double amplitude) noexcept { amplitude_ = amplitude; } // default 0.707: full scale 1
    void setCarrierStep(double radians) noexcept { carrierStep_ = radians; } // a sample; default 1500 Hz
    // Where characters come from instead of the ring: returns one, 0 to 255, or one of the answers above.
    void setSource(std::function<int()> source) { source_ = std::move(source); }
    // Sent in Morse code behind the next transmissions; empty for none.
    void setIdentification(std::string_view text);

    // Puts characters into the ring; returns how many found room.
    std::size_t queue(std::string_view text) noexcept;

    // Begins a transmission with its preamble, or with a steady carrier or the identification if the mode
    // word says so.
    void start() noexcept;
    // Ends it once the source is idle: postamble, identification if there is one, carrier off.
    void requestStop() noexcept { stopRequested_ = true; }

    // Writes `count` samples as (re, im) in turn. A signal above the centre has a negative frequency, as
    // everywhere in the transmit chain.
    void generate(double* out, int count);

    State txState() const noexcept { return state_; }
    // Whether anything is being sent, be it the fall of the last symbol.
    bool sending() const noexcept { return state_ != State::Off || phase_ != kPhaseOff || falling_; }
    int mode() const noexcept { return word_; }
    int samplesPerSymbol() const noexcept { return samplesPerSymbol_; }
    // Symbols from here to silence if the stop were requested now and the source idle.
    int symbolsToEnd() const noexcept;

private:
    static constexpr int kPhaseOff = 4;
    static constexpr int kShapeLength = 1537;
    using Shape = std::array<double, kShapeLength>;
    enum ShapeName { Zero, PlusOne, MinusOne, CosPlus, CosMinus, Rise, FallPlus, FallMinus, Shapes };
    struct Transition {
        std::uint8_t i, q, next;
    };
    enum Symbol { NoChange, Plus90, Reversal, Minus90, Off, On };

    static const Transition kTransitions[6][5];

    void applyMode();
    void nextSymbol();
    int symbolOfScheme();
    int nextTextSymbol();
    int symbolOfBit(int bit);
    int nextTuneSymbol();
    int nextMorseSymbol();
    int nextCharacter();
    int fetch();
    void endPostamble();
    void beginIdentification();
    void endIdentification();
    int morseSymbols() const noexcept;

    int word_ = 0, wantedWord_ = 0, wordBeforeMorse_ = 0;
    PskScheme scheme_ = PskScheme::Bpsk;
    double baud_ = kPskBaud, symbolTime_ = 1 / kPskBaud;
    int samplesPerSymbol_ = 1536;
    int cwUnit_ = 2; // symbols of a Morse dot
    std::array<Shape, Shapes> shapes_{};

    double amplitude_ = 0.707;
    double carrierStep_ = 0, carrierPhase_ = 0;
    double time_ = 0; // in the symbol
    int index_ = 0;   // of the next sample in the symbol
    int phase_ = kPhaseOff;
    bool falling_ = false; // the carrier goes off in this symbol
    const Shape *shapeI_ = nullptr, *shapeQ_ = nullptr;

    State state_ = State::Off;
    std::size_t place_ = 0; // in the preamble or postamble
    bool stopRequested_ = false;
    std::array<int, kEnvelope> preamble_, postamble_;

    // The character in progress.
    std::uint16_t code_ = 0;
    bool codeEnded_ = false;    // the gap behind it is due
    int gapBits_ = 2;           // zero bits since its last bit, up to 2
    int waiting_ = 0;           // a carrier on or off that waits for the second of them; 0 for none
    std::uint8_t register_ = 0; // the last five bits of QPSK

    std::function<int()> source_;
    std::array<unsigned char, kRing> ring_{};
    std::size_t ringHead_ = 0, ringCount_ = 0;

    // Morse identification.
    std::string identification_;
    std::size_t letter_ = 0;
    std::uint16_t elements_ = 0;
    int onLeft_ = 0, offLeft_ = 0;
};

} // namespace ferrow
