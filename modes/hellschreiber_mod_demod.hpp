// Hellschreiber: text for the eye that looks at a spectrogram. It sends; the reader receives.
#pragma once

#include "core/async/async_event.hpp"
#include "modes/hell_painter.hpp"
#include "modes/text_sender.hpp"
#include "trx/mod_demod.hpp"

#include <string>

namespace ferrow {

class hellschreiberModDemod : public modDemod {
public:
    using modDemod::modDemod;

    asyncProperty<double> frequencyStep{30.0}; // Hz between rows, and rows a second
    asyncEvent<std::string> sentChars;         // each character as it begins

    // On the mode's context. "~" takes the transmitter off.
    void QueueText(const std::string& text, int) { text_.queue(text); }

    buff<float> demodulate(buff<std::complex<float>> block) override { return realPart(block); }
    void modulate(buff<std::complex<float>> in, buff<std::complex<float>> out) override;

private:
    int nextCharacter();

    TextSender text_{4096, "hellschreiberModDemod"};
    HellPainter painter_;
};

} // namespace ferrow
