#include "modes/hellschreiber_mod_demod.hpp"

#include "modes/end_transmission.hpp"

namespace ferrow {

int hellschreiberModDemod::nextCharacter() {
    const int byte = text_.next(sentChars);
    if (byte != '~')
        return byte == TextSender::kNone ? ' ' : byte;
    endTransmission(*this);
    return ' ';
}

void hellschreiberModDemod::modulate(buff<std::complex<float>>, buff<std::complex<float>> out) {
    painter_.process(out.span(), frequencyStep.value(), [this] { return nextCharacter(); });
}

} // namespace ferrow
