#include "modes/client_mod_demod.hpp"

namespace ferrow {

buff<float> clientModDemod::demodulate(buff<std::complex<float>> block) {
    const auto number = static_cast<int>(sequence_++);
    if (rxChunk.bound()) {
        const buff<std::complex<float>> copy(block.size());
        block.copy(copy);
        rxChunk.send(copy, number);
    }
    return realPart(block);
}

} // namespace ferrow
