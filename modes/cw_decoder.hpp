// Morse from the envelope of a signal: a threshold that follows it, a speed that follows the keying.
#pragma once

#include "modes/morse.hpp"

#include <algorithm>
#include <cmath>

namespace ferrow {

// One thread. Times are counted in envelope samples, 1500 a second.
class CwDecoder {
public:
    static constexpr int kDecimation = 32; // of 48000 samples a second

    // One sample of the envelope; what is no level counts as 0. `out(char)` is called for each character
    // that it ends, and for the space behind a word.
    template <class Out>
    void push(double envelope, Out&& out) {
        const bool state = threshold(envelope);
        trackSpeed(state);
        const int d = static_cast<int>(dot_);
        const bool changes = state != confirmed_ && sinceChange_ > d / 2;
        if (!changes && (state || sinceChange_ <= 5 * d)) {
            if (sinceChange_ < kLongest)
                ++sinceChange_;
            return;
        }
        if (confirmed_) {
            if (sinceChange_ >= d / 2) {
                // More elements than any code has stay too many.
                code_ = code_ << 1 | (sinceChange_ >= 2 * d ? 1u : 0u);
                count_ = std::min(count_ + 1, 1000u);
            }
        } else if (sinceChange_ >= 2 * d) {
            const char character = morseCharacter(count_, code_);
            spaceSent_ = character == ' ';
            if (!spaceSent_)
                out(character);
            code_ = count_ = 0;
            if (!spaceSent_ && sinceChange_ > 5 * d) {
                out(' ');
                spaceSent_ = true;
            }
        }
        sinceChange_ = 0;
        confirmed_ = state;
    }

    // Words a minute, in whole numbers.
    int wpm() const noexcept { return 57600 / std::max(static_cast<int>(dot_), 1) / kDecimation; }

    double dot() const noexcept { return dot_; } // samples
    bool spaceSent() const noexcept { return spaceSent_; }

private:
    bool threshold(double envelope) noexcept {
        if (!std::isfinite(envelope) || envelope < 0)
            envelope = 0;
        envMin_ *= 1.001;
        envMax_ *= 0.999;
        if (envelope > envMax_)
            envMax_ += 0.2 * (envelope - envMax_);
        if (envelope < envMin_)
            envMin_ = envelope;
        const double span = envMax_ - envMin_;
        return envelope > (marking_ ? envMax_ - span * 0.5 : envMax_ - span / 3);
    }

    // A mark with the space before it is taken for four dots when one of them looks three times the other.
    void trackSpeed(bool state) noexcept {
        if (state == marking_) {
            if (runLength_ < kLongest)
                ++runLength_;
            return;
        }
        if (!state) {
            const int on = runLength_, off = lastRun_;
            const double ratio = static_cast<double>(on) / std::max(off, 1);
            if (on > 22 && off > 22 && ((ratio > 0.15 && ratio < 0.45) || (ratio >= 2 && ratio < 4)))
                dot_ = 0.95 * dot_ + 0.05 * ((on + off) / 4);
        }
        marking_ = state;
        lastRun_ = runLength_;
        runLength_ = 0;
    }

    static constexpr int kLongest = 1 << 28; // two days

    double envMax_ = 0, envMin_ = 1e10;
    double dot_ = 40;
    bool marking_ = false;
    int runLength_ = 0, lastRun_ = 0;
    bool confirmed_ = false; // the state after very short marks and spaces are left out
    int sinceChange_ = 0;
    unsigned code_ = 0, count_ = 0;
    bool spaceSent_ = false;
};

} // namespace ferrow
