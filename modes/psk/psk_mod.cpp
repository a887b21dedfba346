#include "modes/psk/psk_mod.hpp"

#include "modes/psk/morse_table.hpp"
#include "modes/psk/qpsk_code.hpp"
#include "modes/psk/varicode.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ferrow {

namespace {

constexpr double kPi = std::numbers::pi;
constexpr double kStepTime = 1.0 / CPSKMod::kRate;
constexpr int kMorseUnit = 2; // symbols at 31.25 baud
constexpr int kMorseDash = 3; // units

} // namespace

// By symbol and phase: shapes of I and Q, next phase. Phases 0 to 3 are the quadrants, 4 is off.
const CPSKMod::Transition CPSKMod::kTransitions[6][5] = {
    {{PlusOne, PlusOne, 0},
     {MinusOne, PlusOne, 1},
     {MinusOne, MinusOne, 2},
     {PlusOne, MinusOne, 3},
     {Zero, Zero, 4}},
    {{CosPlus, PlusOne, 1},
     {MinusOne, CosPlus, 2},
     {CosMinus, MinusOne, 3},
     {PlusOne, CosMinus, 0},
     {Rise, Rise, 0}},
    {{CosPlus, CosPlus, 2},
     {CosMinus, CosPlus, 3},
     {CosMinus, CosMinus, 0},
     {CosPlus, CosMinus, 1},
     {Rise, Rise, 0}},
    {{PlusOne, CosPlus, 3},
     {CosMinus, PlusOne, 0},
     {MinusOne, CosMinus, 1},
     {CosPlus, MinusOne, 2},
     {Rise, Rise, 0}},
    {{FallPlus, FallPlus, 4},
     {FallMinus, FallPlus, 4},
     {FallMinus, FallMinus, 4},
     {FallPlus, FallMinus, 4},
     {Zero, Zero, 4}},
    {{PlusOne, PlusOne, 0},
     {CosMinus, PlusOne, 0},
     {CosMinus, CosMinus, 0},
     {PlusOne, CosMinus, 0},
     {Rise, Rise, 0}},
};

CPSKMod::CPSKMod(int modeWord) {
    preamble_.fill(kIdle);
    postamble_.fill(kCarrierOn);
    setCarrierStep(2 * kPi * 1500 / kRate);
    wantedWord_ = knownPskWord(modeWord);
    applyMode();
    shapeI_ = shapeQ_ = &shapes_[Zero];
}

void CPSKMod::setMode(int word) {
    wantedWord_ = knownPskWord(word);
    if (!sending() && wantedWord_ != word_)
        applyMode();
}

void CPSKMod::applyMode() {
    word_ = wantedWord_;
    scheme_ = pskScheme(word_);
    baud_ = kPskBaud * pskSpeed(word_);
    samplesPerSymbol_ = static_cast<int>(kRate / baud_);
    symbolTime_ = 1 / baud_;
    cwUnit_ = kMorseUnit * pskSpeed(word_);
    const int n = samplesPerSymbol_;
    for (int i = 0; i < kShapeLength; ++i) {
        const auto k = static_cast<std::size_t>(i);
        const double c = std::cos(kPi * i / n);
        const bool firstHalf = 2 * i < n;
        shapes_[Zero][k] = 0;
        shapes_[PlusOne][k] = 1;
        shapes_[MinusOne][k] = -1;
        shapes_[CosPlus][k] = c;
        shapes_[CosMinus][k] = -c;
        shapes_[Rise][k] = firstHalf ? 0 : -c;
        shapes_[FallPlus][k] = firstHalf ? c : 0;
        shapes_[FallMinus][k] = firstHalf ? -c : 0;
    }
}

void CPSKMod::setIdentification(std::string_view text) {
    identification_ = text;
    letter_ = 0;
}

std::size_t CPSKMod::queue(std::string_view text) noexcept {
    const std::size_t n = std::min(text.size(), ring_.size() - ringCount_);
    for (std::size_t k = 0; k < n; ++k)
        ring_[(ringHead_ + ringCount_ + k) % ring_.size()] = static_cast<unsigned char>(text[k]);
    ringCount_ += n;
    return n;
}

void CPSKMod::start() noexcept {
    stopRequested_ = false;
    place_ = 0;
    if (state_ == State::Identification)
        endIdentification();
    switch (pskScheme(wantedWord_)) {
    case PskScheme::Tune:
    case PskScheme::TuneWithEnd:
        state_ = State::Tune;
        break;
    case PskScheme::Morse:
        beginIdentification();
        break;
    default:
        state_ = State::Preamble;
    }
}

void CPSKMod::generate(double* out, int count) {
    for (int n = 0; n < count; ++n) {
        carrierPhase_ += carrierStep_;
        const double c = amplitude_ * std::cos(carrierPhase_), s = amplitude_ * std::sin(carrierPhase_);
        const auto k = static_cast<std::size_t>(index_);
        const double i = (*shapeI_)[k], q = (*shapeQ_)[k];
        *out++ = c * q + s * i;
        *out++ = c * i - s * q;
        index_ = std::min(index_ + 1, kShapeLength - 1);
        time_ += kStepTime;
        if (time_ >= symbolTime_) {
            time_ -= symbolTime_;
            index_ = 0;
            carrierPhase_ = std::fmod(carrierPhase_, 2 * kPi);
            nextSymbol();
        }
    }
}

void CPSKMod::nextSymbol() {
    // Identification has a word of its own until its end.
    if (state_ != State::Identification && wantedWord_ != word_)
        applyMode();
    const int symbol = symbolOfScheme();
    const Transition& step = kTransitions[symbol][phase_];
    falling_ = step.next == kPhaseOff && phase_ != kPhaseOff;
    shapeI_ = &shapes_[step.i];
    shapeQ_ = &shapes_[step.q];
    phase_ = step.next;
}

int CPSKMod::symbolOfScheme() {
    if (state_ == State::Identification)
        return nextMorseSymbol();
    if (scheme_ == PskScheme::Tune || scheme_ == PskScheme::TuneWithEnd)
        return nextTuneSymbol();
    return nextTextSymbol();
}

int CPSKMod::nextTextSymbol() {
    if (code_ != 0) {
        const int bit = code_ >> 15;
        code_ = static_cast<std::uint16_t>(code_ << 1);
        codeEnded_ = code_ == 0;
        gapBits_ = 0;
        return symbolOfBit(bit);
    }
    if (codeEnded_) {
        codeEnded_ = false;
        gapBits_ = 1;
        return symbolOfBit(0);
    }
    const int next = waiting_ != 0 ? waiting_ : nextCharacter();
    waiting_ = 0;
    if (next != kCarrierOn && next != kCarrierOff) {
        if (next >= 0)
            code_ = kVaricode[static_cast<std::size_t>(next & 0xff)];
        gapBits_ = 2;
        return symbolOfBit(0);
    }
    // A carrier right behind a character would join its end.
    if (gapBits_ < 2) {
        gapBits_ = 2;
        waiting_ = next;
        return symbolOfBit(0);
    }
    if (next == kCarrierOff) {
        register_ = 0;
        return Off;
    }
    // In QPSK the register has to run on, or the receiver loses the last characters: ones lead it to a steady
    // carrier within five symbols.
    return isQpsk(scheme_) && phase_ != kPhaseOff ? symbolOfBit(1) : static_cast<int>(On);
}

int CPSKMod::symbolOfBit(int bit) {
    if (!isQpsk(scheme_))
        return bit != 0 ? NoChange : Reversal;
    register_ = static_cast<std::uint8_t>((register_ << 1 | bit) & (kQpskBranches - 1));
    const int symbol = kQpskSymbols[register_];
    if (scheme_ == PskScheme::QpskLower && (symbol == Plus90 || symbol == Minus90))
        return symbol == Plus90 ? Minus90 : Plus90;
    return symbol;
}

int CPSKMod::nextTuneSymbol() {
    return nextCharacter() == kCarrierOn ? On : Off;
}

int CPSKMod::nextCharacter() {
    switch (state_) {
    case State::Preamble: {
        const int entry = preamble_[place_];
        if (++place_ == preamble_.size())
            state_ = State::Text;
        return entry;
    }
    case State::Text: {
        const int next = fetch();
        if (next == kIdle && stopRequested_) {
            state_ = State::Postamble;
            place_ = 0;
        }
        return next;
    }
    case State::Postamble: {
        const int entry = postamble_[place_];
        if (++place_ == postamble_.size())
            endPostamble();
        return entry;
    }
    case State::Tune:
        if (!stopRequested_)
            return kCarrierOn;
        if (scheme_ == PskScheme::TuneWithEnd) {
            state_ = State::Postamble;
            place_ = 0;
            return kCarrierOn;
        }
        state_ = State::Off;
        return kCarrierOff;
    default:
        return kCarrierOff;
    }
}

int CPSKMod::fetch() {
    if (source_)
        return source_();
    if (ringCount_ == 0)
        return kIdle;
    const int next = ring_[ringHead_];
    ringHead_ = (ringHead_ + 1) % ring_.size();
    --ringCount_;
    return next;
}

void CPSKMod::endPostamble() {
    stopRequested_ = false;
    if (identification_.empty())
        state_ = State::Off;
    else
        beginIdentification();
}

void CPSKMod::beginIdentification() {
    state_ = State::Identification;
    wordBeforeMorse_ = wantedWord_;
    word_ = (word_ & ~kPskSchemeBits) | static_cast<int>(PskScheme::Morse);
    scheme_ = PskScheme::Morse;
    letter_ = 0;
    elements_ = 0;
    onLeft_ = 0;
    offLeft_ = 2 * cwUnit_; // apart from the carrier before
}

void CPSKMod::endIdentification() {
    state_ = State::Off;
    if (wantedWord_ == wordBeforeMorse_) {
        word_ = wantedWord_;
        scheme_ = pskScheme(word_);
    }
    register_ = 0;
}

// Every branch that takes something new sends the first symbol of it at once.
int CPSKMod::nextMorseSymbol() {
    if (onLeft_ > 0) {
        if (--onLeft_ == 0)
            offLeft_ = cwUnit_;
        return On;
    }
    if (offLeft_ > 0) {
        --offLeft_;
        return Off;
    }
    while (elements_ == 0) {
        if (letter_ == identification_.size()) {
            endIdentification();
            return Off;
        }
        elements_ = morseWord(identification_[letter_++]);
    }
    const int element = elements_ >> 14;
    elements_ = static_cast<std::uint16_t>(elements_ << 2);
    if (element == 3) {
        offLeft_ = 2 * cwUnit_ - 1;
        return Off;
    }
    onLeft_ = (element == 2 ? kMorseDash : 1) * cwUnit_;
    if (--onLeft_ == 0)
        offLeft_ = cwUnit_;
    return On;
}

int CPSKMod::morseSymbols() const noexcept {
    if (identification_.empty())
        return 0;
    int units = 2;
    for (const char character : identification_)
        for (std::uint16_t word = morseWord(character); word != 0;
             word = static_cast<std::uint16_t>(word << 2)) {
            const int element = word >> 14;
            units += element == 1 ? 2 : element == 2 ? kMorseDash + 1 : 2;
        }
    return units * cwUnit_;
}

int CPSKMod::symbolsToEnd() const noexcept {
    constexpr int kGap = 4, kFall = 2; // an idle answer and the gap behind a character; the symbol under way
    const int end = kEnvelope + morseSymbols() + kFall;
    switch (state_) {
    case State::Preamble:
        return kEnvelope - static_cast<int>(place_) + kGap + end;
    case State::Text: {
        int bits = kGap;
        for (std::uint16_t code = code_; code != 0; code = static_cast<std::uint16_t>(code << 1))
            ++bits;
        return bits + end;
    }
    case State::Postamble:
        return end - static_cast<int>(place_);
    case State::Identification:
        return morseSymbols() + kFall;
    case State::Tune:
        return end;
    case State::Off:
        break;
    }
    return sending() ? kFall : 0;
}

} // namespace ferrow
