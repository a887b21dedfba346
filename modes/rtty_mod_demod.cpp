#include "modes/rtty_mod_demod.hpp"

#include "modes/baudot.hpp"
#include "modes/end_transmission.hpp"

#include <cstdio>

namespace ferrow {

namespace {

constexpr int kTerminator = '~';

} // namespace

buff<float> RTTYModDemod::demodulate(buff<std::complex<float>> block) {
    const std::string_view text = decoder_.process(block.span(), rxFreq.value());
    if (!text.empty()) {
        std::fwrite(text.data(), 1, text.size(), stdout);
        std::fflush(stdout); // whoever reads it reads live text
    }
    if (const buff<float> values = decoder_.takeDebug(); !values.empty())
        newDebug.send(values, 0, 0, 0);
    return realPart(block);
}

int RTTYModDemod::nextByte() {
    const int byte = text_.next(sentChars);
    if (byte == kTerminator) {
        endTransmission(*this);
        return kLettersShift;
    }
    return byte == TextSender::kNone ? RttyTransmitter::kIdle : byte;
}

void RTTYModDemod::modulate(buff<std::complex<float>>, buff<std::complex<float>> out) {
    transmitter_.process(out.span(), [this] { return nextByte(); });
}

} // namespace ferrow
