// Radioteletype: 45.45 baud, 170 Hz shift, five-unit code.
#pragma once

#include "core/async/async_event.hpp"
#include "modes/rtty_decoder.hpp"
#include "modes/rtty_transmitter.hpp"
#include "modes/text_sender.hpp"
#include "trx/mod_demod.hpp"

#include <string>

namespace ferrow {

// On receive mark is the tone at `rxFreq`, space lies 170 Hz above it. On transmit mark is the upper tone,
// 2170 Hz, and space 2000 Hz, whatever `txFreq` says. The two are thus reversed to each other: a station of
// the one kind is read in a mirrored spectrum only.
class RTTYModDemod : public modDemod {
public:
    using modDemod::modDemod;

    asyncProperty<float> dbg1{0}, dbg2{0}; // carried for the host
    asyncEvent<std::string> newChars;      // nothing sends it: received text goes to the standard output
    asyncEvent<std::string> sentChars;     // each character as it begins
    asyncEvent<buff<float>, double, double, int> newDebug; // 1024 differences of the two tones, and zeroes

    // On the mode's context. "~" takes the transmitter off.
    void QueueText(const std::string& text, int) { text_.queue(text); }

    buff<float> demodulate(buff<std::complex<float>> block) override;
    void modulate(buff<std::complex<float>> in, buff<std::complex<float>> out) override;

private:
    int nextByte();

    TextSender text_{1024, "RTTYModDemod"};
    RttyDecoder decoder_;
    RttyTransmitter transmitter_;
};

} // namespace ferrow
